#include "audio/level_track.h"

#include <algorithm>
#include <cmath>

namespace kvx::audio {
namespace {

constexpr double kLevelHop = 0.05;    // seconds
constexpr float kLeastShare = 0.01F;  // of the strongest power: less is no mark
constexpr float kLeastRatio = 20;     // of the tone to the noise in 1 Hz

}  // namespace

LevelTrack::LevelTrack(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
                       double reach_seconds)
    : from_(from), hop_(2 * std::lround(rate * kLevelHop / 2)) {
  std::vector<float> powers;
  const auto square = static_cast<float>(hop_ * hop_);
  for (ToneSignal::Time time = from; time + hop_ <= to; time += hop_ / 2) {
    powers.push_back(std::norm(tone.Integral(time, time + hop_)) / square - 1.5F * noise / static_cast<float>(hop_));
  }
  const auto strong = [&](std::size_t first, std::size_t last, int percent) {
    std::vector<float> some(powers.begin() + static_cast<std::ptrdiff_t>(first),
                            powers.begin() + static_cast<std::ptrdiff_t>(last));
    if (some.empty()) return 0.0F;
    const auto place =
        some.begin() + static_cast<std::ptrdiff_t>(some.size() * static_cast<std::size_t>(percent) / 100);
    std::nth_element(some.begin(), place, some.end());
    return *place;
  };
  const float least =
      std::max(kLeastShare * strong(0, powers.size(), 90), kLeastRatio * noise / static_cast<float>(rate));
  const auto reach = static_cast<std::size_t>(reach_seconds / kLevelHop * 2);
  for (std::size_t i = 0; i == 0 || i < powers.size(); i += 2) {
    const std::size_t first = i > reach ? i - reach : 0;
    const float power = std::max(least, strong(first, std::min(powers.size(), i + reach), 85));
    levels_.push_back({power, noise});
  }
}

ToneLevel LevelTrack::At(ToneSignal::Time time) const {
  const auto place = static_cast<std::size_t>(std::max<ToneSignal::Time>(0, (time - from_) / hop_));
  return levels_[std::min(place, levels_.size() - 1)];
}

void LevelTrack::Soften(float least_noise) {
  for (ToneLevel& level : levels_) level.noise = std::max(level.noise, level.power * least_noise);
}

void LevelTrack::Scale(float power) {
  for (ToneLevel& level : levels_) level.power *= power;
}

}  // namespace kvx::audio
