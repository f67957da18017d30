#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

namespace kvx::sim {

enum class Mode { kLsb, kUsb, kCw, kCwr, kAm, kFm, kRtty, kRttyr, kData };

/// "LSB", "CWR", "DATA": the words of the front panel.
std::string_view ModeName(Mode mode);
std::optional<Mode> ModeByName(std::string_view name);

/// What one VFO, or one memory channel, holds.
struct VfoState {
  std::int64_t hz = 14'025'000;
  Mode mode = Mode::kCw;
  bool narrow = false;
};

/// One span of frequencies that a rig tunes, both ends included.
struct FrequencySpan {
  std::int64_t low_hz;
  std::int64_t high_hz;
};

/// How a maker's code stands for a mode.
struct ModeCode {
  int code;
  Mode mode;
  bool narrow = false;
};

/// What every simulated rig has, whatever its command set.
struct RigState {
  std::array<VfoState, 2> vfos{VfoState{14'025'000, Mode::kCw}, VfoState{14'030'000, Mode::kCw}};
  int receive_vfo = 0;  ///< 0 A, 1 B
  int transmit_vfo = 0;
  bool transmitting = false;
  bool powered = true;
  bool locked = false;
  bool rit_on = false;
  bool xit_on = false;
  int offset_hz = 0;  ///< of RIT and XIT
  int af = 100;       ///< in the rig's own scale
  bool memory_mode = false;
  int memory_channel = 0;
  std::map<int, VfoState> memories;

  VfoState& current() { return vfos[receive_vfo]; }
  const VfoState& current() const { return vfos[receive_vfo]; }
  bool split() const { return receive_vfo != transmit_vfo; }
  /// Receives and transmits on one VFO.
  void SelectVfo(int vfo) { receive_vfo = transmit_vfo = vfo; }
  void SetSplit(bool on) { transmit_vfo = on ? 1 - receive_vfo : receive_vfo; }
};

/// The first code of the table for what the VFO holds, one for the mode alone when the width has none; 0 for none at
/// all.
int CodeForMode(const std::vector<ModeCode>& codes, const VfoState& vfo);
/// Puts the mode that the code stands for into the VFO; false for an unknown code.
bool SetModeByCode(const std::vector<ModeCode>& codes, int code, VfoState& vfo);

}  // namespace kvx::sim
