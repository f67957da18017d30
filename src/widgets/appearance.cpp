#include "widgets/appearance.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <algorithm>

#include "core/appearance_limits.h"

namespace kvx::widgets {
namespace {

constexpr double kUsualPoints = 10;

QPalette PaletteOf(const Theme& theme) {
  QPalette palette;
  palette.setColor(QPalette::Window, theme.background);
  palette.setColor(QPalette::WindowText, theme.ink);
  palette.setColor(QPalette::Base, theme.screen);
  palette.setColor(QPalette::AlternateBase, theme.panel);
  palette.setColor(QPalette::Text, theme.digits);
  palette.setColor(QPalette::PlaceholderText, theme.quiet_ink);
  palette.setColor(QPalette::Button, theme.button);
  palette.setColor(QPalette::ButtonText, theme.ink);
  palette.setColor(QPalette::ToolTipBase, theme.panel);
  palette.setColor(QPalette::ToolTipText, theme.ink);
  palette.setColor(QPalette::Highlight, theme.accent);
  palette.setColor(QPalette::HighlightedText, theme.accent_ink);
  palette.setColor(QPalette::Link, theme.blue);
  return palette;
}

}  // namespace

Appearance::Appearance(QObject* parent) : QObject(parent), points_(QApplication::font().pointSizeF()) {
  if (points_ <= 0) points_ = kUsualPoints;
}

void Appearance::Use(const Theme& theme, int text_percent) {
  text_percent = std::clamp(text_percent, kSmallestText, kLargestText);
  if (theme == theme_ && text_percent == text_percent_) return;
  if (text_percent != text_percent_) {
    QFont font = QApplication::font();
    if (QFontDatabase::hasFamily("Inter")) font.setFamily("Inter");
    font.setPointSizeF(points_ * text_percent / 100);
    QApplication::setFont(font);
  }
  theme_ = theme;
  text_percent_ = text_percent;
  QApplication::setPalette(PaletteOf(theme));
  qApp->setStyleSheet(StyleSheet(theme));
  Q_EMIT Changed();
}

}  // namespace kvx::widgets
