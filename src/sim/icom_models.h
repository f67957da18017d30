#pragma once

#include <string_view>
#include <vector>

#include "sim/rig_state.h"

namespace kvx::sim {

/// What sets one CI-V rig apart from another.
struct IcomModel {
  /// The byte behind the mode, which may be left out: 01 to 03; 00 to 02; crystal filters 02 to 05; or the set knows no
  /// filter and refuses one.
  enum class Filter { kFromOne, kFromZero, kCrystal, kNone };

  std::string_view name;
  int address;
  int frequency_bytes;        ///< below 10 GHz; from there on one more
  std::string_view commands;  ///< the first bytes of those it knows; empty: all
  std::string_view lacks;     ///< first two bytes of what it does not know of a command, two by two
  std::string_view vfos;      ///< what of command 07 chooses the first and the second VFO
  Filter filter;
  int highest_mode;  ///< code
  std::vector<FrequencySpan> spans;
  bool keyed_by_16 = false;  ///< 16 01 and 16 02 instead of 1C 00
};

/// The models that are simulated, one for each dialect; the first is the IC-7300.
const std::vector<IcomModel>& IcomModels();
const IcomModel& FindIcomModel(std::string_view name);

}  // namespace kvx::sim
