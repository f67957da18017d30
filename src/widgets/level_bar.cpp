#include "widgets/level_bar.h"

#include <QPainter>
#include <algorithm>

#include "widgets/accessible_number.h"
#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

constexpr double kPercent = 100;
constexpr int kWidth = 8;  // in heights of text
constexpr double kGroove = 0.5;

}  // namespace

LevelBar::LevelBar(const Appearance& appearance, const QString& name, QWidget* parent)
    : QWidget(parent), appearance_(appearance) {
  setAccessibleName(name);
  setToolTip(name);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  accessible_ = new AccessibleNumber(*this, {.role = QAccessible::Dial,
                                             .maximum = kPercent,
                                             .value = [this] { return level_ * kPercent; },
                                             .text = [this] { return tr("%1 %").arg(qRound(level_ * kPercent)); }});
  connect(&appearance_, &Appearance::Changed, this, [this] { update(); });
}

void LevelBar::SetLevel(double level) {
  level = std::clamp(level, 0.0, 1.0);
  if (level == level_) return;
  level_ = level;
  accessible_->Announce();
  update();
}

void LevelBar::SetMark(double mark) {
  mark_ = std::clamp(mark, 0.0, 1.0);
  update();
}

QSize LevelBar::sizeHint() const {
  const int line = fontMetrics().height();
  return {kWidth * line, line};
}

void LevelBar::paintEvent(QPaintEvent*) {
  const Theme& theme = appearance_.theme();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const double height = this->height() * kGroove;
  const double radius = height / 2;
  const QRectF groove(0, (this->height() - height) / 2, width(), height);
  painter.setPen(Qt::NoPen);
  painter.setBrush(Mixed(theme.panel, theme.ink, 0.15));
  painter.drawRoundedRect(groove, radius, radius);
  painter.setBrush(level_ > mark_ ? theme.accent : theme.green);
  painter.drawRoundedRect(QRectF(groove.topLeft(), QSizeF(level_ * groove.width(), height)), radius, radius);
  painter.setBrush(theme.ink);
  const double thick = std::max(2.0, Em(*this) / 6);
  painter.drawRect(QRectF(mark_ * (width() - thick), 0, thick, this->height()));
}

}  // namespace kvx::widgets
