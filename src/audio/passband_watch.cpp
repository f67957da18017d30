#include "audio/passband_watch.h"

#include <algorithm>
#include <cmath>

namespace kvx::audio {
namespace {

constexpr std::size_t kLength = 1024;
constexpr std::size_t kHop = 512;
constexpr double kMemory = 4;          // seconds
constexpr int kFewest = 8;             // hops, before anything is told
constexpr double kOutstanding = 2.5;   // times the noise
constexpr std::size_t kOwnBins = 4;    // on either side
constexpr std::size_t kSideBins = 16;  // beyond them
constexpr std::size_t kMargin = kOwnBins + kSideBins;
constexpr double kOvertone = 0.25;  // power of the strongest that is taken for one

/// How much of a signal's power its keying may put into a bin so many Hz away: edges as hard as there are.
double Splatter(double hertz) {
  const double square = hertz * hertz;
  return std::max(25 / square + 4e4 / (square * square), 3e-5);
}

/// The same about its overtones, if the receiver or the sound card is overdriven.
double Overtone(double hertz, double of) {
  const double nearest = std::min(std::abs(hertz - 2 * of), std::abs(hertz - 3 * of));
  return kOvertone * std::min(1.0, Splatter(std::max(nearest, 1.0)));
}

}  // namespace

PassbandWatch::PassbandWatch(double samples_per_second)
    : rate_(samples_per_second),
      fourier_(kLength),
      window_(HannWindow(kLength)),
      values_(kLength),
      powers_(kLength / 2) {}

void PassbandWatch::Feed(std::span<const float> samples) {
  kept_.insert(kept_.end(), samples.begin(), samples.end());
  std::size_t at = 0;
  for (; at + kLength <= kept_.size(); at += kHop) {
    for (std::size_t i = 0; i < kLength; ++i) values_[i] = window_[i] * kept_[at + i];
    Measure();
  }
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(at));
}

void PassbandWatch::Measure() {
  fourier_.Transform(values_);
  const double memory = kMemory * rate_ / kHop;
  const auto share = static_cast<float>(1 / std::min<double>(++count_, memory));
  for (std::size_t i = 0; i < powers_.size(); ++i) powers_[i] += share * (std::norm(values_[i]) - powers_[i]);
}

// Beside an edge of the receiver's passband one side is silent: the louder side counts.
double PassbandWatch::Floor(std::size_t bin) const {
  const auto median = [&](std::size_t first) {
    std::vector<float> side(powers_.begin() + static_cast<std::ptrdiff_t>(first),
                            powers_.begin() + static_cast<std::ptrdiff_t>(first + kSideBins));
    std::nth_element(side.begin(), side.begin() + kSideBins / 2, side.end());
    return side[kSideBins / 2];
  };
  return std::max(median(bin - kMargin), median(bin + kOwnBins + 1)) + 1e-12;
}

std::vector<Peak> PassbandWatch::Peaks() const {
  std::vector<Peak> all;
  if (count_ < kFewest) return all;
  const double step = rate_ / kLength;
  const auto first = std::max(kMargin, static_cast<std::size_t>(kLowest / step));
  const auto last = std::min(powers_.size() - kMargin - 1, static_cast<std::size_t>(kHighest / step) + 1);
  for (std::size_t i = first; i < last; ++i) {
    const double low = powers_[i - 1], middle = powers_[i], high = powers_[i + 1];
    if (middle < low || middle <= high || middle < kOutstanding * Floor(i)) continue;
    const double bend = low - 2 * middle + high;
    const double off = bend < 0 ? 0.5 * (low - high) / bend : 0;
    all.push_back({(static_cast<double>(i) + off) * step, middle});
  }
  std::sort(all.begin(), all.end(), [](const Peak& a, const Peak& b) { return a.power > b.power; });
  std::vector<Peak> peaks;
  for (const Peak& peak : all) {
    const bool hidden = std::any_of(peaks.begin(), peaks.end(), [&](const Peak& stronger) {
      const double share = std::max(Splatter(peak.hertz - stronger.hertz), Overtone(peak.hertz, stronger.hertz));
      return peak.power < share * stronger.power;
    });
    if (!hidden) peaks.push_back(peak);
  }
  return peaks;
}

}  // namespace kvx::audio
