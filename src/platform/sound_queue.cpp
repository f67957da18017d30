#include "platform/sound_queue.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kvx::platform {
namespace {

constexpr int kFadeMilliseconds = 5;
constexpr std::size_t kMostSeconds = 60;

}  // namespace

bool SoundQueue::Append(std::span<const std::int16_t> samples, int samples_per_second) {
  if (samples_.size() > kMostSeconds * static_cast<std::size_t>(samples_per_second)) return false;
  samples_.insert(samples_.end(), samples.begin(), samples.end());
  return true;
}

void SoundQueue::Fade(int samples_per_second) {
  const auto fade = static_cast<std::size_t>(samples_per_second * kFadeMilliseconds / 1000);
  if (samples_.size() > fade) samples_.resize(fade);
  for (std::size_t i = 0; i < samples_.size(); ++i) {
    const double level = (1 + std::cos(std::numbers::pi * static_cast<double>(i) / static_cast<double>(fade))) / 2;
    samples_[i] = static_cast<std::int16_t>(std::lround(samples_[i] * level));
  }
}

std::vector<std::int16_t> SoundQueue::Take(std::size_t most) {
  const auto end = samples_.begin() + static_cast<std::ptrdiff_t>(std::min(most, samples_.size()));
  std::vector<std::int16_t> taken(samples_.begin(), end);
  samples_.erase(samples_.begin(), end);
  return taken;
}

Duration SoundQueue::Length(int samples_per_second) const {
  return Duration(static_cast<std::int64_t>(samples_.size()) * 1'000'000'000 / samples_per_second);
}

}  // namespace kvx::platform
