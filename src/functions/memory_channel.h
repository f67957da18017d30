#pragma once

#include <string>

#include "core/frequency.h"

namespace kvx::functions {

inline constexpr int kChannels = 100;

/// What one memory channel holds; a channel without a frequency is empty.
struct MemoryChannel {
  std::string name;
  Frequency frequency;
  std::string mode;  ///< "CW", "USB", ...; empty: the mode is left as it is
  bool narrow = false;
  char vfo = 0;       ///< 'A' or 'B'; 0: the one in use
  bool skip = false;  ///< left out of scans
  std::string comment;

  bool empty() const { return frequency.decihertz <= 0; }
  bool operator==(const MemoryChannel&) const = default;
};

}  // namespace kvx::functions
