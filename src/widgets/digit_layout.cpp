#include "widgets/digit_layout.h"

#include <algorithm>
#include <cmath>

#include "widgets/digit_entry.h"

namespace kvx::widgets {
namespace {

// Shares of the font size.
constexpr double kGap = 0.24;             // between thousands
constexpr double kBeforeUnit = 0.16;      // between the last digit and what stands behind it
constexpr double kAbove = 0.06;           // free above the digits
constexpr double kUnderlineBelow = 0.09;  // from the base line
constexpr double kUnderline = 0.045;
constexpr double kBelow = 0.16;  // from the base line to the lower edge

/// Gaps to the left of a place, counted from the point: one for every three places of kHz to its right.
int GapsRightOf(int place) {
  return place < kDecimalPlaces ? 0 : (place - kDecimalPlaces) / 3;
}

double WidthAtOne(int places, const DigitMetrics& metrics) {
  return places * metrics.digit + metrics.point + GapsRightOf(places - 1) * kGap + kBeforeUnit + metrics.unit;
}

double HeightAtOne(const DigitMetrics& metrics) {
  return kAbove + metrics.height + kBelow;
}

}  // namespace

DigitLayout::DigitLayout(int places, const Room& room, const DigitMetrics& metrics)
    : places_(places),
      metrics_(metrics),
      font_size_(std::max(
          1.0, std::floor(std::min(room.width / WidthAtOne(places, metrics), room.height / HeightAtOne(metrics))))),
      left_(room.left),
      baseline_(room.top + (room.height - HeightAtOne(metrics) * font_size_) / 2 +
                (kAbove + metrics.height) * font_size_) {}

DigitLayout::Room DigitLayout::RoomFor(int places, double font_size, const DigitMetrics& metrics) {
  return {.width = WidthAtOne(places, metrics) * font_size, .height = HeightAtOne(metrics) * font_size};
}

double DigitLayout::unit_x() const {
  return PlaceX(0) + cell() + kBeforeUnit * font_size_;
}

double DigitLayout::underline_y() const {
  return baseline_ + kUnderlineBelow * font_size_;
}

double DigitLayout::underline_height() const {
  return kUnderline * font_size_;
}

double DigitLayout::PlaceX(int place) const {
  const double gaps = (GapsRightOf(places_ - 1) - GapsRightOf(place)) * kGap;
  const double point = place < kDecimalPlaces ? metrics_.point : 0;
  return left_ + ((places_ - 1 - place) * metrics_.digit + gaps + point) * font_size_;
}

int DigitLayout::PlaceAt(double x, double y) const {
  if (y < top() - kAbove * font_size_ || y >= baseline_ + kBelow * font_size_) return -1;
  for (int place = 0; place < places_; ++place) {
    if (x >= PlaceX(place) && x < PlaceX(place) + cell()) return place;
  }
  return -1;
}

}  // namespace kvx::widgets
