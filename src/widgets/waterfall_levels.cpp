#include "widgets/waterfall_levels.h"

#include <algorithm>
#include <cmath>

namespace kvx::widgets {
namespace {

constexpr double kBelow = 4;         // dB between the dark end and the noise
constexpr double kLeastSpan = 36;    // dB from the noise to the bright end
constexpr double kMostSpan = 80;     //
constexpr double kSlow = 0.03;       // of the difference, a line
constexpr double kQuick = 0.3;       // when the noise has jumped
constexpr double kJump = 10;         // dB
constexpr double kRise = 0.3;        // of the loudest
constexpr double kFall = 0.004;      //
constexpr double kHeadroom = 3;      // dB
constexpr std::size_t kMany = 4096;  // levels of a line that are looked at

}  // namespace

void WaterfallLevels::Follow(std::span<const float> line) {
  if (line.empty()) return;
  sorted_.clear();
  const std::size_t step = line.size() / kMany + 1;
  for (std::size_t i = 0; i < line.size(); i += step) sorted_.push_back(line[i]);
  const auto middle = sorted_.begin() + static_cast<std::ptrdiff_t>(sorted_.size() / 2);
  std::nth_element(sorted_.begin(), middle, sorted_.end());
  const double loudest = *std::max_element(line.begin(), line.end());
  ++lines_;
  const double usual = std::max(1.0 / lines_, kSlow);
  const double share = std::abs(*middle - middle_) > kJump ? std::max(usual, kQuick) : usual;
  middle_ += (*middle - middle_) * share;
  const double toward = lines_ == 1 ? 1 : loudest > loudest_ ? kRise : kFall;
  loudest_ += (loudest - loudest_) * toward;
}

double WaterfallLevels::dark() const {
  return middle_ - kBelow;
}

double WaterfallLevels::bright() const {
  return std::clamp(loudest_ + kHeadroom, middle_ + kLeastSpan, middle_ + kMostSpan);
}

void WaterfallLevels::Shade(std::span<const float> line, std::uint8_t* shades) const {
  const auto low = static_cast<float>(dark());
  const auto scale = static_cast<float>(255 / (bright() - dark()));
  for (std::size_t i = 0; i < line.size(); ++i)
    shades[i] = static_cast<std::uint8_t>(std::min(std::max((line[i] - low) * scale, 0.0F), 255.0F));
}

}  // namespace kvx::widgets
