#pragma once

#include <string>
#include <string_view>

#include "sim/front_panel.h"
#include "sim/simulated_device.h"
#include "sim/text_commands.h"

namespace kvx::sim {

/// A Kenwood TS-2000 at its COM connector: text commands that end in ";". A command with a wrong name, length or value
/// answers "?;", one that overruns the input buffer "E;". Facts: TS-2000 instruction manual, computer control commands.
class KenwoodRig final : public SimulatedDevice {
 public:
  explicit KenwoodRig(Loop& loop);
  void Receive(std::string_view bytes) override { commands_.Receive(bytes); }
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  std::vector<TextCommands::Command> Commands();
  void Report(PanelChange change);
  std::string ModeText() const;
  std::string InformationText() const;
  int Meter() const;

  // One for each command that is this rig's own; `data` is what follows its two letters. False refuses.
  bool ReceiveVfo(std::string_view data);
  bool TransmitVfo(std::string_view data);
  bool SetMode(std::string_view data);
  bool Information(std::string_view data);
  bool SMeter(std::string_view data);
  bool SelectMeter(std::string_view data);
  bool Transmit(std::string_view data);
  bool ReceiveAgain(std::string_view data);
  bool FilterWidth(std::string_view data);
  bool MicUp(std::string_view data) { return Step(data, +1); }
  bool MicDown(std::string_view data) { return Step(data, -1); }
  bool Step(std::string_view data, int direction);
  bool MemoryChannel(std::string_view data);
  bool MemoryRead(std::string_view data);
  bool MemoryWrite(std::string_view data);
  bool MemoryToVfo(std::string_view data);
  bool SendMorse(std::string_view data);

  FrontPanel panel_;
  RigState& state_;
  TextCommands commands_;
  int meter_ = 0;    ///< 0 none, 1 SWR, 2 COMP, 3 ALC
  int width_ = 500;  ///< CW and FSK filter, Hz
};

}  // namespace kvx::sim
