#include "widgets/spectrum_columns.h"

#include <algorithm>
#include <cmath>

namespace kvx::widgets {
namespace {

constexpr double kSilence = -140;
constexpr float kStandsOut = 8;  // dB over the middle level around
constexpr float kLeastRange = 0.001F;
constexpr int kAround = 12;  // bins on either side of the place

float Between(std::span<const float> values, double place) {
  const double last = static_cast<double>(values.size() - 1);
  const double held = std::clamp(place, 0.0, last);
  const auto index = static_cast<std::size_t>(held);
  const auto next = std::min(index + 1, values.size() - 1);
  const auto share = static_cast<float>(held - static_cast<double>(index));
  return values[index] + (values[next] - values[index]) * share;
}

/// The bins from `from` to `to` hertz, cut to those that there are.
std::pair<std::size_t, std::size_t> BinsOf(std::size_t count, double bin_hertz, double from, double to) {
  const double last = static_cast<double>(count - 1);
  const double first = std::clamp(std::ceil(from / bin_hertz), 0.0, last);
  return {static_cast<std::size_t>(first),
          static_cast<std::size_t>(std::clamp(std::floor(to / bin_hertz), first, last))};
}

/// The top of the parabola through a peak and its neighbours, in bins from the peak.
double Summit(std::span<const float> levels, std::size_t peak) {
  if (peak == 0 || peak + 1 >= levels.size()) return 0;
  const double left = levels[peak - 1];
  const double right = levels[peak + 1];
  const double curve = left - 2 * levels[peak] + right;
  return curve < 0 ? std::clamp((left - right) / (2 * curve), -0.5, 0.5) : 0;
}

}  // namespace

void ToColumns(std::span<const float> levels, double bin_hertz, const ToneScale& scale, float nothing,
               std::vector<float>& columns) {
  columns.assign(scale.empty() ? 0 : static_cast<std::size_t>(scale.width()), nothing);
  if (levels.empty() || !(bin_hertz > 0)) return;
  const double per_column = scale.hertz_per_pixel() / bin_hertz;
  const double beyond = static_cast<double>(levels.size() - 1) + 0.5;
  for (std::size_t column = 0; column < columns.size(); ++column) {
    const double left = scale.from() / bin_hertz + static_cast<double>(column) * per_column;
    const double right = left + per_column;
    if (left > beyond || right < 0) continue;
    const double first = std::ceil(left);
    if (first >= right || first > beyond) {
      columns[column] = Between(levels, (left + right) / 2);
      continue;
    }
    const auto begin = levels.begin() + static_cast<std::ptrdiff_t>(std::max(first, 0.0));
    const auto end = levels.begin() + static_cast<std::ptrdiff_t>(std::min(std::ceil(right), beyond + 0.5));
    columns[column] = begin < end ? *std::max_element(begin, end) : Between(levels, (left + right) / 2);
  }
}

double ToneNear(std::span<const float> levels, double bin_hertz, double hertz, double reach) {
  if (levels.empty() || !(bin_hertz > 0)) return hertz;
  const auto [first, last] = BinsOf(levels.size(), bin_hertz, hertz - reach, hertz + reach);
  const auto at = [&](std::size_t index) { return levels.begin() + static_cast<std::ptrdiff_t>(index); };
  const auto peak = static_cast<std::size_t>(std::max_element(at(first), at(last) + 1) - levels.begin());
  const double found = (static_cast<double>(peak) + Summit(levels, peak)) * bin_hertz;
  if (std::abs(found - hertz) > reach) return hertz;
  const std::size_t low = first > kAround ? first - kAround : 0;
  const std::size_t high = std::min(last + kAround, levels.size() - 1);
  std::vector<float> around(at(low), at(high) + 1);
  const auto middle = around.begin() + static_cast<std::ptrdiff_t>(around.size() / 2);
  std::nth_element(around.begin(), middle, around.end());
  return levels[peak] - *middle >= kStandsOut ? found : hertz;
}

ToneLevel StrongestTone(std::span<const float> levels, double bin_hertz, double from, double to) {
  if (levels.empty() || !(bin_hertz > 0)) return {from, kSilence};
  const auto [first, last] = BinsOf(levels.size(), bin_hertz, from, to);
  std::size_t peak = first;
  for (std::size_t i = first; i <= last; ++i) {
    if (levels[i] > levels[peak]) peak = i;
  }
  return {(static_cast<double>(peak) + Summit(levels, peak)) * bin_hertz, levels[peak]};
}

std::size_t ScopeStart(std::span<const float> samples) {
  for (std::size_t i = 1; i < samples.size() / 2; ++i) {
    if (samples[i - 1] < 0 && samples[i] >= 0) return i;
  }
  return 0;
}

void ToScope(std::span<const float> samples, int columns, std::vector<std::pair<float, float>>& ranges) {
  ranges.assign(static_cast<std::size_t>(std::max(columns, 0)), {0.0F, 0.0F});
  if (samples.empty()) return;
  const double per_column = static_cast<double>(samples.size() - 1) / std::max(columns - 1, 1);
  for (std::size_t column = 0; column < ranges.size(); ++column) {
    const double place = static_cast<double>(column) * per_column;
    const float value = Between(samples, place);
    auto& [low, high] = ranges[column];
    low = high = value;
    const auto end = std::min(static_cast<std::size_t>(place + per_column) + 1, samples.size());
    for (auto i = static_cast<std::size_t>(std::ceil(place)); i < end; ++i) {
      low = std::min(low, samples[i]);
      high = std::max(high, samples[i]);
    }
  }
}

float ScopeRange(std::span<const float> samples) {
  float highest = 0;
  for (const float sample : samples) highest = std::max(highest, std::abs(sample));
  float range = 1;
  for (int step = 0; range > kLeastRange; ++step) {
    const float smaller = step % 3 == 1 ? range * 0.4F : range * 0.5F;
    if (smaller < highest) break;
    range = smaller;
  }
  return range;
}

}  // namespace kvx::widgets
