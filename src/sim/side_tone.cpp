#include "sim/side_tone.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kvx::sim {
namespace {

constexpr double kSlopeSeconds = 0.005;
constexpr double kLoudest = 16'000;

}  // namespace

SideTone::SideTone(int samples_per_second, int hertz, TimePoint start)
    : rate_(samples_per_second),
      step_(2 * std::numbers::pi * hertz / samples_per_second),
      slope_(1 / (kSlopeSeconds * samples_per_second)),
      start_(start) {}

std::int64_t SideTone::SampleAt(TimePoint when) const {
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(when - start_).count();
  return microseconds * rate_ / 1'000'000;
}

void SideTone::Key(bool down, TimePoint when) {
  if (edges_.size() < kMostEdges) edges_.push_back({SampleAt(when), down});
}

std::vector<std::int16_t> SideTone::Render(TimePoint until) {
  std::vector<std::int16_t> samples;
  for (const std::int64_t end = SampleAt(until); next_ < end; ++next_) {
    for (; !edges_.empty() && edges_.front().sample <= next_; edges_.pop_front()) down_ = edges_.front().down;
    level_ = std::clamp(level_ + (down_ ? slope_ : -slope_), 0.0, 1.0);
    const double loudness = kLoudest * (1 - std::cos(std::numbers::pi * level_)) / 2;
    samples.push_back(static_cast<std::int16_t>(std::lround(loudness * std::sin(step_ * static_cast<double>(next_)))));
  }
  return samples;
}

}  // namespace kvx::sim
