#pragma once

#include <span>
#include <string>
#include <string_view>

#include "sim/front_panel.h"
#include "sim/simulated_device.h"
#include "sim/text_commands.h"

namespace kvx::sim {

/// What differs between the Yaesu rigs with text commands.
struct YaesuTextModel {
  std::string_view identity;     ///< what "ID" answers
  std::size_t frequency_digits;  ///< of FA and FB
  std::span<const FrequencySpan> spans;
  std::string_view absent;                  ///< names of commands that it has not
  std::span<const StoredSetting> settings;  ///< that it has in place of the common ones of that name, or beside them
  int transmit_on_a = 2;                    ///< what "FT" is told for VFO A; for B one more
  bool names_vfo = true;                    ///< MD0 is VFO A and MD1 VFO B; else MD0 is the VFO in use
  bool two_receivers = false;               ///< one on each VFO, with an S-meter of its own
};
extern const YaesuTextModel kFtDx5000;
extern const YaesuTextModel kFtDx101;
extern const YaesuTextModel kFt991;
extern const YaesuTextModel kFt450;

/// A newer Yaesu at its CAT connector: text commands that end in ";", frequencies of eight or nine digits, most
/// commands with a digit for the receiver (0 main, 1 sub). A command that it does not understand answers "?;". Facts:
/// the models' CAT operation reference books.
class YaesuTextRig final : public SimulatedDevice {
 public:
  YaesuTextRig(Loop& loop, const YaesuTextModel& model);
  void Receive(std::string_view bytes) override { commands_.Receive(bytes); }
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  std::vector<TextCommands::Command> Commands();
  void Report(PanelChange change);
  std::string ModeText(int vfo) const;
  int ShownReceiver() const { return model_.two_receivers ? state_.receive_vfo : 0; }
  std::string InformationText(std::string_view name, int vfo) const;
  int SMeterReading() const;

  // One for each command that is this rig's own; `data` is what follows its two letters. False refuses.
  bool SelectVfo(std::string_view data);
  bool TransmitVfo(std::string_view data);
  bool SplitSwitch(std::string_view data);
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

  const YaesuTextModel& model_;
  std::vector<StoredSetting> stored_;
  FrontPanel panel_;
  RigState& state_;
  TextCommands commands_;
  int if_shift_hz_ = 0;
};

}  // namespace kvx::sim
