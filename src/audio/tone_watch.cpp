#include "audio/tone_watch.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "audio/tone_filter.h"

namespace kvx::audio {
namespace {

constexpr std::size_t kLength = 256;
constexpr std::size_t kHop = 64;
constexpr int kBins = 54;            // on either side of the middle
constexpr int kMemory = 45;          // hops
constexpr double kOwnBand = 18;      // Hz about the tone that are its own
constexpr double kNoiseShare = 0.4;  // of the bins are sure to be without other signals

}  // namespace

ToneWatch::ToneWatch(double rate) : rate_(rate), powers_(2 * kBins + 1) {
  for (std::size_t i = 0; i < kLength; ++i) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(i) / kLength;
    window_.push_back(static_cast<float>((1 - std::cos(angle)) / 2 / std::sqrt(0.375 * kLength)));
    turns_.push_back(std::complex<float>(std::polar(1.0, -angle)));
  }
}

double ToneWatch::HertzOf(std::size_t bin) const {
  return (static_cast<double>(bin) - kBins) * rate_ / kLength;
}

void ToneWatch::Feed(std::span<const std::complex<float>> samples) {
  kept_.insert(kept_.end(), samples.begin(), samples.end());
  for (; kept_.size() >= kLength; kept_.erase(kept_.begin(), kept_.begin() + kHop)) Measure();
}

void ToneWatch::Measure() {
  const float share = 1.0F / static_cast<float>(std::min(++count_, kMemory));
  for (std::size_t bin = 0; bin < powers_.size(); ++bin) {
    const std::size_t turn = (bin + kLength - kBins) % kLength;
    std::complex<float> sum;
    for (std::size_t i = 0; i < kLength; ++i) sum += window_[i] * kept_[i] * turns_[i * turn % kLength];
    powers_[bin] += share * (std::norm(sum) - powers_[bin]);
  }
}

double ToneWatch::Strongest() const {
  std::size_t best = 0;
  for (std::size_t bin = 1; bin + 1 < powers_.size(); ++bin) {
    if (std::abs(HertzOf(bin)) <= kReach && (best == 0 || powers_[bin] > powers_[best])) best = bin;
  }
  const double low = powers_[best - 1], middle = powers_[best], high = powers_[best + 1];
  const double bend = low - 2 * middle + high;
  return HertzOf(best) + (bend < 0 ? 0.5 * (low - high) / bend : 0) * rate_ / kLength;
}

float ToneWatch::Noise(double tone) const {
  std::vector<float> others;
  for (std::size_t bin = 0; bin < powers_.size(); ++bin) {
    if (std::abs(HertzOf(bin) - tone) > kOwnBand) others.push_back(powers_[bin]);
  }
  const auto place = others.begin() + static_cast<std::ptrdiff_t>(kNoiseShare * static_cast<double>(others.size()));
  std::nth_element(others.begin(), place, others.end());
  return *place + 1e-12F;
}

}  // namespace kvx::audio
