#include "audio/tone_search.h"

#include <algorithm>
#include <cmath>

namespace kvx::audio {
namespace {

constexpr std::size_t kSize = 512;
constexpr std::size_t kHop = 256;
constexpr std::size_t kStretch = 320;  // pieces: ten seconds
constexpr std::size_t kLeast = 40;
constexpr double kOften = 0.8;   // of the pieces are weaker
constexpr double kRarely = 0.2;  // the same
constexpr float kDeep = 4;       // times the weaker: a carrier's power does not fall as low
constexpr float kMuch = 2.5F;    // times what noise makes

float Quantile(std::vector<float>& values, double share) {
  const auto place = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), place, values.end());
  return *place;
}

}  // namespace

ToneSearch::ToneSearch(double samples_per_second)
    : reducer_(samples_per_second),
      fourier_(kSize),
      window_(HannWindow(kSize)),
      values_(kSize),
      first_bin_(static_cast<std::size_t>(std::ceil(kLowest / reducer_.rate() * kSize))),
      bins_(static_cast<std::size_t>(kHighest / reducer_.rate() * kSize) - first_bin_ + 1),
      powers_(bins_),
      keyed_(bins_) {}

double ToneSearch::HertzOf(double bin) const {
  return (bin + static_cast<double>(first_bin_)) * reducer_.rate() / kSize;
}

void ToneSearch::Feed(std::span<const float> samples) {
  reducer_.Feed(samples, kept_);
  std::size_t at = 0;
  for (; at + kSize <= kept_.size(); at += kHop) {
    for (std::size_t i = 0; i < kSize; ++i) values_[i] = window_[i] * kept_[at + i];
    Measure();
  }
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(at));
}

void ToneSearch::Measure() {
  fourier_.Transform(values_);
  for (std::size_t bin = 0; bin < bins_; ++bin) powers_[bin].push_back(std::norm(values_[bin + first_bin_]));
  if (powers_[0].size() == kStretch) Judge();
}

void ToneSearch::Judge() {
  std::vector<float> keyed;
  for (std::vector<float>& powers : powers_) {
    const float strong = Quantile(powers, kOften), weak = Quantile(powers, kRarely);
    keyed.push_back(strong > kDeep * weak ? strong - weak : 0);
    powers.clear();
  }
  std::vector<float> sorted = keyed;
  const float usual = Quantile(sorted, 0.5);
  for (std::size_t bin = 0; bin < bins_; ++bin) {
    if (keyed[bin] > kMuch * usual) keyed_[bin] += keyed[bin];
  }
}

std::optional<double> ToneSearch::Strongest() {
  if (powers_[0].size() >= kLeast) Judge();
  const auto best = std::max_element(keyed_.begin(), keyed_.end());
  if (*best == 0) return std::nullopt;
  const float low = best == keyed_.begin() ? 0 : *(best - 1);
  const float high = best + 1 == keyed_.end() ? 0 : *(best + 1);
  return HertzOf(static_cast<double>(best - keyed_.begin()) + (high - low) / (low + *best + high));
}

}  // namespace kvx::audio
