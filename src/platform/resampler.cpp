#include "platform/resampler.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kvx::platform {
namespace {

constexpr int kPhases = 256;  // between two of them a straight line is 100 dB good
constexpr double kBeta = 7.86;
constexpr double kCrossings = 32;  // of zero, on either side
constexpr double kSlope = 0.078;   // as a share of the lower rate: what that window makes of that length

double Window(double share) {
  return std::cyl_bessel_i(0, kBeta * std::sqrt(std::max(0.0, 1 - share * share))) / std::cyl_bessel_i(0, kBeta);
}

}  // namespace

Resampler::Resampler(int from, int to) : from_(from), to_(to) {
  if (from == to) return;
  const double scale = std::min(1.0, static_cast<double>(to) / from);
  reach_ = static_cast<std::int64_t>(std::ceil(kCrossings / scale));
  const double cutoff = scale * (1 - kSlope);  // of half the rate that comes in
  kernel_.resize(static_cast<std::size_t>(reach_ * kPhases + 2));
  for (std::size_t i = 0; i < kernel_.size(); ++i) {
    const double distance = static_cast<double>(i) / kPhases;
    const double angle = std::numbers::pi * cutoff * distance;
    const double sinc = i == 0 ? 1 : std::sin(angle) / angle;
    kernel_[i] = static_cast<float>(cutoff * sinc * Window(distance / static_cast<double>(reach_)));
  }
  kept_.assign(static_cast<std::size_t>(reach_), 0.0F);  // silence before
  kept_begin_ = -reach_;
}

void Resampler::Feed(std::span<const float> samples, std::vector<float>& result) {
  fed_ += static_cast<std::int64_t>(samples.size());
  if (from_ == to_) {
    result.insert(result.end(), samples.begin(), samples.end());
    return;
  }
  kept_.insert(kept_.end(), samples.begin(), samples.end());
  Produce(fed_, result);
}

void Resampler::Finish(std::vector<float>& result) {
  if (from_ == to_) return;
  kept_.insert(kept_.end(), static_cast<std::size_t>(reach_ + 1), 0.0F);
  Produce(fed_ + reach_ + 1, result);
}

/// Makes samples as far as those before `known` tell.
void Resampler::Produce(std::int64_t known, std::vector<float>& result) {
  for (;; ++made_) {
    const std::int64_t at = made_ * from_ / to_;
    if (at + reach_ >= known || at >= fed_) break;
    const double part = static_cast<double>(made_ * from_ % to_) / static_cast<double>(to_) * kPhases;
    const auto phase = static_cast<std::int64_t>(part);
    const auto between = static_cast<float>(part - static_cast<double>(phase));
    float left = 0;  // sums with the kernel at the phase, and one phase on
    float left_next = 0;
    const float* sample = kept_.data() + (at - kept_begin_);
    const float* before = kernel_.data() + phase;
    for (std::int64_t i = 0; i < reach_; ++i) {
      left += sample[-i] * before[i * kPhases];
      left_next += sample[-i] * before[i * kPhases + 1];
    }
    float right = 0;
    float right_next = 0;
    const float* after = kernel_.data() + (kPhases - phase);
    for (std::int64_t i = 0; i < reach_; ++i) {
      right += sample[i + 1] * after[i * kPhases];
      right_next += sample[i + 1] * after[i * kPhases - 1];
    }
    result.push_back((left + right) * (1 - between) + (left_next + right_next) * between);
  }
  const std::int64_t needed = made_ * from_ / to_ - reach_;
  if (needed > kept_begin_ + 4 * reach_) {
    kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(needed - kept_begin_));
    kept_begin_ = needed;
  }
}

}  // namespace kvx::platform
