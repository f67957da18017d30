#include "audio/tone_watch.h"

#include <algorithm>
#include <cmath>

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

ToneWatch::ToneWatch(double rate)
    : rate_(rate), window_(HannWindow(kLength)), fourier_(kLength), values_(kLength), powers_(2 * kBins + 1) {}

double ToneWatch::HertzOf(std::size_t bin) const {
  return (static_cast<double>(bin) - kBins) * rate_ / kLength;
}

void ToneWatch::Feed(std::span<const std::complex<float>> samples) {
  kept_.insert(kept_.end(), samples.begin(), samples.end());
  std::size_t at = 0;
  for (; at + kLength <= kept_.size(); at += kHop) {
    for (std::size_t i = 0; i < kLength; ++i) values_[i] = window_[i] * kept_[at + i];
    Measure();
  }
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(at));
}

void ToneWatch::Measure() {
  fourier_.Transform(values_);
  const float share = 1.0F / static_cast<float>(std::min(++count_, kMemory));
  for (std::size_t bin = 0; bin < powers_.size(); ++bin) {
    powers_[bin] += share * (std::norm(values_[(bin + kLength - kBins) % kLength]) - powers_[bin]);
  }
}

double ToneWatch::Strongest(double reach) const {
  std::size_t best = 0;
  for (std::size_t bin = 1; bin + 1 < powers_.size(); ++bin) {
    if (std::abs(HertzOf(bin)) <= reach && (best == 0 || powers_[bin] > powers_[best])) best = bin;
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
