#include "console/meter_view.h"

#include <QPainter>
#include <algorithm>
#include <array>

namespace kvx::console {
namespace {

struct Mark {
  const char* caption;
  double share;  ///< of the scale's length
};
// S9 stands at half the scale on the rigs that report a meter.
constexpr std::array kMarks{Mark{"1", 0.06}, Mark{"3", 0.17},   Mark{"5", 0.28},   Mark{"7", 0.39},
                            Mark{"9", 0.5},  Mark{"+20", 0.67}, Mark{"+40", 0.83}, Mark{"+60", 1.0}};
constexpr double kLimit = 0.5;

}  // namespace

MeterView::MeterView(const Theme& theme, QWidget* parent) : QWidget(parent), theme_(theme) {
  setAccessibleName(tr("S-meter"));
  setMinimumSize(220, 56);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void MeterView::SetValue(int value, int full_scale) {
  const double share = std::clamp(static_cast<double>(value) / std::max(full_scale, 1), 0.0, 1.0);
  if (share == share_) return;
  share_ = share;
  setAccessibleDescription(QString::number(value));
  update();
}

void MeterView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QFont font = this->font();
  font.setPixelSize(std::max(11, height() / 5));
  painter.setFont(font);
  const QFontMetrics metrics(font);
  const double left = metrics.horizontalAdvance("1");
  const double length = width() - left - metrics.horizontalAdvance("+60") / 2.0 - 2;
  const double top = metrics.height() + 6;
  const QRectF bar(left, top, length, height() - top - 8);
  for (const Mark& mark : kMarks) {
    const double x = left + mark.share * length;
    painter.setPen(mark.share > kLimit ? theme_.red : theme_.quiet_ink);
    painter.drawText(QRectF(x - 30, 0, 60, metrics.height()), Qt::AlignCenter, mark.caption);
    painter.drawLine(QPointF(x, metrics.height() + 1), QPointF(x, top - 1));
  }
  painter.setPen(Qt::NoPen);
  painter.setBrush(theme_.button);
  painter.drawRoundedRect(bar, 3, 3);
  const auto draw = [&](double from, double to, const QColor& color) {
    if (to <= from) return;
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(bar.left() + from * length, bar.top(), (to - from) * length, bar.height()), 3, 3);
  };
  draw(0, std::min(share_, kLimit), theme_.accent);
  draw(kLimit, share_, theme_.red);
}

}  // namespace kvx::console
