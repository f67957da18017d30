#include "functions/scan_list.h"

#include <algorithm>
#include <utility>

#include "core/text.h"
#include "functions/memory_channels.h"

namespace kvx::functions {

void ScanList::Take(FunctionRecord row) {
  const auto frequency = ParseKhz(row.freq);
  if (!frequency || *frequency < low_ || *frequency > high_) return;
  const auto [there, added] = rows_.try_emplace(*frequency);
  const bool wanted = !added && EqualNoCase(row.rig, rig_) && !EqualNoCase(there->second.rig, rig_);
  if (added || wanted) there->second = std::move(row);
}

std::vector<ScanStop> ScanList::Stops(bool down) && {
  std::vector<ScanStop> stops;
  stops.reserve(rows_.size());
  for (auto& [frequency, row] : rows_) stops.push_back({.frequency = frequency, .row = std::move(row)});
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
