#include "audio/tone_filter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "audio/low_pass.h"

namespace kvx::audio {
namespace {

constexpr int kSpan = 8;           // outputs that an input sample has a part in
constexpr double kCutoff = 220;    // Hz
constexpr std::size_t kLanes = 8;  // sums that run beside each other

}  // namespace

ToneFilter::ToneFilter(double samples_per_second, double hertz)
    : samples_per_second_(samples_per_second),
      decimation_(std::max(1, static_cast<int>(std::lround(samples_per_second / kToneRate)))),
      rate_(samples_per_second / decimation_) {
  SetTone(hertz, 1);
  kept_.assign(real_taps_.size() / 2, 0);  // so that outputs stand at their inputs' times
}

void ToneFilter::SetTone(double hertz, std::complex<double> turn) {
  const double step = 2 * std::numbers::pi * hertz / samples_per_second_;
  real_taps_.clear();
  imaginary_taps_.clear();
  const std::vector<double> taps =
      LowPass(static_cast<std::size_t>(decimation_) * kSpan, kCutoff / samples_per_second_);
  for (std::size_t i = 0; i < taps.size(); ++i) {
    const std::complex<double> tap = std::polar(2 * taps[i], -step * static_cast<double>(i));
    real_taps_.push_back(static_cast<float>(tap.real()));
    imaginary_taps_.push_back(static_cast<float>(tap.imag()));
  }
  turn_step_ = std::polar(1.0, -step * decimation_);
  turn_ *= turn;
}

std::complex<float> ToneFilter::Output() const {
  std::array<float, kLanes> real{};
  std::array<float, kLanes> imaginary{};
  const float* samples = kept_.data() + at_;
  for (std::size_t i = 0; i + kLanes <= real_taps_.size(); i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      real[lane] += samples[i + lane] * real_taps_[i + lane];
      imaginary[lane] += samples[i + lane] * imaginary_taps_[i + lane];
    }
  }
  std::complex<float> sum;
  for (std::size_t lane = 0; lane < kLanes; ++lane) sum += std::complex<float>(real[lane], imaginary[lane]);
  return sum;
}

void ToneFilter::Feed(std::span<const float> samples, std::vector<std::complex<float>>& result) {
  kept_.insert(kept_.end(), samples.begin(), samples.end());
  for (; at_ + real_taps_.size() <= kept_.size(); at_ += static_cast<std::size_t>(decimation_)) {
    result.push_back(Output() * std::complex<float>(turn_));
    turn_ *= turn_step_;
  }
  turn_ /= std::abs(turn_);
  const std::size_t gone = std::min(at_, kept_.size());
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(gone));
  at_ -= gone;
}

}  // namespace kvx::audio
