#include "functions/scan_list.h"

#include <algorithm>
#include <map>
#include <utility>

#include "core/text.h"

namespace kvx::functions {

std::vector<ScanStop> ScanStops(const std::vector<FunctionRecord>& rows, Frequency start, Frequency end, bool down,
                                const std::string& rig) {
  const auto [low, high] = std::minmax(start, end);
  std::map<Frequency, FunctionRecord> by_frequency;
  for (const FunctionRecord& row : rows) {
    const auto frequency = ParseKhz(row.freq);
    if (!frequency || *frequency < low || *frequency > high) continue;
    const auto [place, added] = by_frequency.emplace(*frequency, row);
    if (!added && EqualNoCase(row.rig, rig) && !EqualNoCase(place->second.rig, rig)) place->second = row;
  }
  std::vector<ScanStop> stops;
  for (auto& [frequency, row] : by_frequency) stops.push_back({frequency, std::move(row)});
  if (down) std::reverse(stops.begin(), stops.end());
  return stops;
}

}  // namespace kvx::functions
