#include "audio/spectrum_trace.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kvx::audio {

void SpectrumTrace::Update(std::span<const float> levels, TraceMode mode, int average) {
  if (values_.size() != levels.size() || mode == TraceMode::kNormal) {
    values_.assign(levels.begin(), levels.end());
    return;
  }
  const float share = 1 / static_cast<float>(std::max(average, 1));
  for (std::size_t k = 0; k < values_.size(); ++k) {
    if (mode == TraceMode::kAverage) {
      values_[k] = share == 1 ? levels[k] : values_[k] + (levels[k] - values_[k]) * share;
    } else {
      values_[k] = std::max(values_[k], levels[k]);
    }
  }
}

std::vector<float> ShiftedTrace(std::span<const float> trace, float offset) {
  std::vector<float> shifted(trace.begin(), trace.end());
  for (float& level : shifted) level += offset;
  return shifted;
}

std::vector<float> TraceDifference(std::span<const float> trace1, std::span<const float> trace2) {
  std::vector<float> difference(std::min(trace1.size(), trace2.size()));
  for (std::size_t k = 0; k < difference.size(); ++k) difference[k] = trace1[k] - trace2[k];
  return difference;
}

std::vector<float> DisplayWindow(int size) {
  std::vector<float> window;
  for (int i = 0; i < size; ++i) {
    const double turn = 2 * std::numbers::pi * (i + 0.5) / size;
    window.push_back(static_cast<float>(2 * (1 - std::cos(turn)) / size));
  }
  return window;
}

int ToneLoudness(std::span<const float> levels, int samples_per_second, double low, double high) {
  if (levels.size() < 2 || samples_per_second <= 0) return 0;
  const double bins_a_hertz = 2.0 * static_cast<double>(levels.size() - 1) / samples_per_second;
  const auto last = static_cast<double>(levels.size() - 1);
  const auto from = static_cast<std::size_t>(std::clamp(std::round(low * bins_a_hertz), 0.0, last));
  const auto to = static_cast<std::size_t>(std::clamp(std::round(high * bins_a_hertz), 0.0, last));
  const auto band = levels.subspan(from, std::max(from, to) - from + 1);
  const float strongest = *std::max_element(band.begin(), band.end());
  return static_cast<int>(std::lround(std::clamp(strongest + kFullLoudness, 0.F, 1.F * kFullLoudness)));
}

}  // namespace kvx::audio
