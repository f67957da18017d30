#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sim/front_panel.h"
#include "sim/simulated_device.h"
#include "sim/text_commands.h"

namespace kvx::sim {

/// What makes one Kenwood-speaking rig differ from the next.
struct KenwoodModel {
  enum class Status { kUsual, kShort };
  TextCommands::Manner manner;
  std::span<const StoredSetting> settings;
  std::span<const ModeCode> modes;
  std::string_view own;  ///< which of the commands below it has
  Status status = Status::kUsual;
  std::span<const ModeCode> status_modes = {};  ///< the codes in "IF" where they are not those of the mode command
  std::string_view meter;                       ///< its S-meter query, with which the answer begins; empty: none
  int meter_digits = 4;
  int meter_full_scale = 30;
  std::span<const FrequencySpan> spans;
};

extern const KenwoodModel kTs440, kTs480, kTs890, kK3, kPowerSdr;

/// A rig that speaks the language of the Kenwood rigs, as its model does: with those of the commands that it has, and
/// "?;" for the others. Facts: the makers' command lists, named beside the models.
class KenwoodKin final : public SimulatedDevice {
 public:
  KenwoodKin(Loop& loop, const KenwoodModel& model);
  void Receive(std::string_view bytes) override { commands_.Receive(bytes); }
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  std::vector<TextCommands::Command> Commands();
  std::string InformationText() const;

  // One for each command; `data` is what follows its name. False refuses.
  bool Function(std::string_view data);
  bool ReceiveVfo(std::string_view data);
  bool TransmitVfo(std::string_view data);
  bool Split(std::string_view name, std::string_view data);
  bool SetMode(std::string_view name, std::size_t digits, std::string_view data);
  bool Information(std::string_view data);
  bool Meter(std::string_view data);
  bool Key(std::string_view data, bool on);
  bool KeyBySwitch(std::string_view data);
  bool TransmitMeters(std::string_view data);
  bool Step(std::string_view data, int direction);
  bool CopyVfo(std::string_view data);
  bool SwapVfos(std::string_view data);
  bool WideFrequency(int vfo, std::string_view data);
  bool SendMorse(std::string_view data);

  const KenwoodModel& model_;
  std::vector<ModeCode> modes_;
  std::vector<ModeCode> status_modes_;
  FrontPanel panel_;
  RigState& state_;
  TextCommands commands_;
};

}  // namespace kvx::sim
