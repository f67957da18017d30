#pragma once

#include <string>
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

/// The stops of a scan between two frequencies, whichever is the higher, both included: in the order of their
/// frequencies, downwards when `down`. Of several rows with one frequency it is that of `rig`, else the first; a row
/// whose frequency cannot be read is no stop.
std::vector<ScanStop> ScanStops(std::vector<FunctionRecord> rows, Frequency start, Frequency end, bool down,
                                const std::string& rig);

/// The memory channels that hold something and are not skipped, in their order.
std::vector<ScanStop> ChannelStops(const MemoryChannels& memories);

}  // namespace kvx::functions
