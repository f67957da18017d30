#include "functions/scan_list.h"

#include <algorithm>
#include <utility>

#include "core/text.h"
#include "functions/memory_channels.h"

namespace kvx::functions {

std::vector<ScanStop> ScanStops(std::vector<FunctionRecord> rows, Frequency start, Frequency end, bool down,
                                const std::string& rig) {
  const auto [low, high] = std::minmax(start, end);
  std::vector<ScanStop> stops;
  for (FunctionRecord& row : rows) {
    const auto frequency = ParseKhz(row.freq);
    if (frequency && *frequency >= low && *frequency <= high)
      stops.push_back({.frequency = *frequency, .row = std::move(row)});
  }
  // Of one frequency the wanted row first, which is the one that stays.
  std::stable_sort(stops.begin(), stops.end(), [&rig](const ScanStop& a, const ScanStop& b) {
    if (a.frequency != b.frequency) return a.frequency < b.frequency;
    return EqualNoCase(a.row.rig, rig) && !EqualNoCase(b.row.rig, rig);
  });
  const auto same = [](const ScanStop& a, const ScanStop& b) { return a.frequency == b.frequency; };
  stops.erase(std::unique(stops.begin(), stops.end(), same), stops.end());
  if (down) std::reverse(stops.begin(), stops.end());
  return stops;
}

std::vector<ScanStop> ChannelStops(const MemoryChannels& memories) {
  std::vector<ScanStop> stops;
  for (int number = 1; number <= kChannels; ++number) {
    const MemoryChannel& channel = memories.channel(number);
    if (channel.empty() || channel.skip) continue;
    const std::string name = "memory " + std::to_string(number) + " " + channel.name;
    stops.push_back({.frequency = channel.frequency,
                     .row = {.mode = channel.mode, .description = std::string(Trim(name))},
                     .channel = number});
  }
  return stops;
}

}  // namespace kvx::functions
