#pragma once

#include <string>
#include <string_view>

#include "sim/front_panel.h"
#include "sim/simulated_device.h"
#include "sim/text_commands.h"

namespace kvx::sim {

/// A Yaesu FT-DX5000 at its CAT connector: text commands that end in ";", frequencies of eight digits, most commands
/// with a digit for the receiver (0 main, 1 sub). A command that it does not understand answers "?;". Facts: FT-DX5000
/// series CAT operation reference book.
class YaesuTextRig final : public SimulatedDevice {
 public:
  explicit YaesuTextRig(Loop& loop);
  void Receive(std::string_view bytes) override { commands_.Receive(bytes); }
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  std::vector<TextCommands::Command> Commands();
  void Report(PanelChange change);
  std::string ModeText(int vfo) const;
  std::string InformationText(std::string_view name, int vfo) const;
  int SMeterReading() const;

  // One for each command that is this rig's own; `data` is what follows its two letters. False refuses.
  bool SelectVfo(std::string_view data);
  bool TransmitVfo(std::string_view data);
  bool SetMode(std::string_view data);
  bool Information(std::string_view data);
  bool OtherInformation(std::string_view data);
  bool SMeter(std::string_view data);
  bool ReadMeter(std::string_view data);
  bool Transmit(std::string_view data);
  bool IfShift(std::string_view data);
  bool SelectBand(std::string_view data);
  bool CopyAToB(std::string_view data);
  bool SwapVfos(std::string_view data);
  bool MemoryChannel(std::string_view data);
  bool MemoryToVfo(std::string_view data);
  bool VfoToMemory(std::string_view data);

  FrontPanel panel_;
  RigState& state_;
  TextCommands commands_;
  int if_shift_hz_ = 0;
};

}  // namespace kvx::sim
