#include "widgets/painting.h"

#include <QFontInfo>
#include <QPainter>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace kvx::widgets {
namespace {

constexpr double kRing = 2;
constexpr int kSmallestText = 6;

}  // namespace

double Em(const QWidget& widget) {
  return std::max(QFontInfo(widget.font()).pixelSize(), kSmallestText);
}

QFont ScaledFont(const QWidget& widget, double factor) {
  QFont font = widget.font();
  font.setPixelSize(std::max(static_cast<int>(std::lround(Em(widget) * factor)), kSmallestText));
  return font;
}

void PaintFocusRing(QPainter& painter, const Theme& theme, const QRectF& area, double radius) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(theme.focus, kRing));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(area.adjusted(kRing / 2, kRing / 2, -kRing / 2, -kRing / 2), radius, radius);
  painter.restore();
}

}  // namespace kvx::widgets
