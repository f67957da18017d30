#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/rig_output.h"
#include "sim/rig_state.h"
#include "sim/signal_meter.h"
#include "sim/simulated_device.h"

namespace kvx::sim {

/// What a hand at the panel has changed, for rigs that report it.
enum class PanelChange { kFrequency, kMode, kVfo, kTransmit, kAf };

/// How the rig behind the panel is built.
struct RigTraits {
  std::vector<FrequencySpan> spans;  ///< what it tunes
  int step_hz = 1;                   ///< its finest step
  std::vector<Mode> modes;
  bool one_wire = false;  ///< its line is a shared wire: it can echo and can report to all
};

/// The front panel that all simulated rigs share, and the state behind it. Its operations:
///
///     knob KHZ         turns the VFO in use            mute on|off        switched off: hears and says nothing
///     mode CW          one of the rig's modes          delay MS           answers late
///     vfo A|B                                          pieces on|off      answers byte by byte
///     smeter N|live    0..30, 15 is S9                 garbage TEXT       noise goes out before the next answer
///     ptt on|off                                       echo on|off        one-wire sets: hears itself and others
///     af N             in the rig's own scale          transceive on|off  one-wire sets: reports the knob to all
///     state            everything on one line
class FrontPanel {
 public:
  /// `report` is called after a hand changed something; it sends what the rig sends on its own.
  FrontPanel(SimulatedDevice& device, Loop& loop, RigTraits traits, std::function<void(PanelChange)> report);

  std::string Operate(std::string_view command);

  RigState& state() { return state_; }
  int smeter() const { return meter_.value(); }
  /// Whether the rig tunes there (cut to its step).
  bool InRange(std::int64_t hz) const;
  /// Sends an answer or a report.
  void Send(std::string_view bytes);
  /// Counts a refused frame, given as it may be shown.
  void Refuse(std::string_view frame);
  RigOutput& output() { return output_; }
  bool listening() const { return !muted_; }
  bool echo() const { return echo_; }
  bool transceive() const { return transceive_; }

 private:
  struct Word;
  std::string Knob(std::string_view argument);
  std::string SetMode(std::string_view argument);
  std::string SetVfo(std::string_view argument);
  std::string SetMeter(std::string_view argument);
  std::string SetTransmit(std::string_view argument);
  std::string SetAf(std::string_view argument);
  std::string SetMute(std::string_view argument);
  std::string SetDelay(std::string_view argument);
  std::string SetPieces(std::string_view argument);
  std::string SetGarbage(std::string_view argument);
  std::string SetEcho(std::string_view argument);
  std::string SetTransceive(std::string_view argument);
  std::string ShowState(std::string_view argument);
  std::string Changed(PanelChange change);

  SimulatedDevice& device_;
  RigTraits traits_;
  std::function<void(PanelChange)> report_;
  RigState state_;
  SignalMeter meter_;
  RigOutput output_;
  bool muted_ = false;
  bool echo_ = false;
  bool transceive_ = true;
  std::int64_t refused_ = 0;
};

}  // namespace kvx::sim
