#include "console/frequency_view.h"

#include <QPainter>

namespace kvx::console {
namespace {

constexpr int kDigitsBeforePoint = 6;
constexpr double kUnitScale = 0.32;  // of the digits' height

/// "014025.00": as many digits as the display has places.
QString Places(Frequency frequency) {
  const QString text = QString::fromStdString(KhzText(frequency));
  return text.rightJustified(kDigitsBeforePoint + 3, '0');
}

int LeadingZeros(const QString& places) {
  int count = 0;
  while (count < places.size() - 4 && places[count] == '0') ++count;
  return count;
}

}  // namespace

FrequencyView::FrequencyView(const Theme& theme, QWidget* parent) : QWidget(parent), theme_(theme) {
  setAccessibleName(tr("Frequency"));
  setMinimumSize(360, 70);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void FrequencyView::SetFrequency(Frequency frequency) {
  if (frequency == frequency_) return;
  frequency_ = frequency;
  setAccessibleDescription(QString::fromStdString(KhzText(frequency)) + " kHz");
  update();
}

QSize FrequencyView::sizeHint() const {
  return {640, 120};
}

void FrequencyView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::TextAntialiasing);
  const QString places = Places(frequency_);
  const int zeros = LeadingZeros(places);
  QFont font = this->font();
  font.setWeight(QFont::DemiBold);
  // As large as height and width allow: a digit is about 0.64 em wide, a gap stands before the last three places of the
  // kHz.
  const double places_wide = places.size() + 2.6;
  font.setPixelSize(std::max(20, static_cast<int>(std::min(height() * 0.95, width() / (places_wide * 0.62)))));
  painter.setFont(font);
  const QFontMetricsF metrics(font);
  const double digit = metrics.horizontalAdvance('0');
  const double baseline = (height() + metrics.capHeight()) / 2;
  double x = 0;
  for (int i = 0; i < places.size(); ++i) {
    const bool point = places[i] == '.';
    const double width = point ? digit * 0.45 : digit;
    if (i == kDigitsBeforePoint - 3) x += digit * 0.28;
    painter.setPen(i < zeros ? theme_.leading_zeros : theme_.digits);
    painter.drawText(QPointF(x + (width - metrics.horizontalAdvance(places[i])) / 2, baseline), QString(places[i]));
    x += width;
  }
  font.setPixelSize(std::max(12, static_cast<int>(font.pixelSize() * kUnitScale)));
  font.setWeight(QFont::Normal);
  painter.setFont(font);
  painter.setPen(theme_.quiet_ink);
  painter.drawText(QPointF(x + digit * 0.25, baseline), tr("kHz"));
}

}  // namespace kvx::console
