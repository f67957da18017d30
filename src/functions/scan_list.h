#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "core/frequency.h"
#include "functions/function_record.h"

namespace kvx::functions {

class MemoryChannels;

/// One stop of a scan: a stored row, or a memory channel, whose name then is the row's description.
struct ScanStop {
  Frequency frequency;
  FunctionRecord row;
  int channel = 0;  ///< 0: it is a row
};

/// Gathers the stops of a scan between two frequencies, whichever is the higher, both included. Of several rows with
/// one frequency it is that of `rig`, else the first; a row whose frequency cannot be read is no stop.
class ScanList final {
 public:
  ScanList(Frequency start, Frequency end, std::string rig)
      : low_(std::min(start, end)), high_(std::max(start, end)), rig_(std::move(rig)) {}

  void Take(FunctionRecord row);
  /// In the order of their frequencies, downwards when `down`.
  std::vector<ScanStop> Stops(bool down) &&;

 private:
  Frequency low_;
  Frequency high_;
  std::string rig_;
  std::map<Frequency, FunctionRecord> rows_;
};

/// The memory channels that hold something and are not skipped, in their order.
std::vector<ScanStop> ChannelStops(const MemoryChannels& memories);

}  // namespace kvx::functions
