#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sim/front_panel.h"
#include "sim/rig_state.h"

namespace kvx::sim {

/// What a rig with status blocks holds beside what every rig has.
struct YaesuStatusState {
  RigState& rig;
  std::array<int, 2> filters{};  ///< of the VFOs, as the bandwidth command names them
  bool tuner = false;
};

/// A code of the mode command; the filter that it brings along.
struct YaesuSetMode {
  int code;
  Mode mode;
  bool narrow = false;
  int filter = 0;
};

/// What differs between the rigs that answer with status blocks: what they tune, what they take, and how they tell it.
/// docs/protocols/yaesu.md draws the blocks.
struct YaesuStatusModel {
  std::span<const FrequencySpan> spans;
  std::span<const YaesuSetMode> modes;
  std::string_view opcodes;  ///< that it knows
  int step_100_khz = 1;      ///< what the step commands move by, in 100 kHz
  /// The answer to opcode 10: `what` is parameter 1, `channel` parameter 4, `meter` what the needle shows, 0..30.
  /// Nothing refuses.
  std::optional<std::string> (*update)(const YaesuStatusState& state, int what, int channel, int meter);
  /// The answer to opcode F7.
  std::string (*meter)(const YaesuStatusState& state, int meter) = nullptr;
  /// The answer to opcode FA, parameter 1.
  std::optional<std::string> (*flags)(const YaesuStatusState& state, int what) = nullptr;
};

extern const YaesuStatusModel kFt747;
extern const YaesuStatusModel kFt757Gx2;
extern const YaesuStatusModel kFt890;
extern const YaesuStatusModel kFt920;
extern const YaesuStatusModel kFt990;
extern const YaesuStatusModel kFt1000D;
extern const YaesuStatusModel kFt1000Mp;
extern const YaesuStatusModel kFt100;

}  // namespace kvx::sim
