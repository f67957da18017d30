#pragma once

#include <string>
#include <string_view>

#include "sim/front_panel.h"
#include "sim/simulated_device.h"
#include "sim/stored_settings.h"
#include "sim/text_line.h"

namespace kvx::sim {

/// A Kenwood TS-2000 at its COM connector: text commands that end in ";". A command with a wrong name, length or value
/// answers "?;", one that overruns the input buffer "E;". Facts: TS-2000 instruction manual, computer control commands.
class KenwoodRig final : public SimulatedDevice {
 public:
  explicit KenwoodRig(Loop& loop);
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  struct Handler;
  enum class Result { kRefused, kDone };

  void Execute(const std::string& command);
  void Answer(std::string_view text);
  void Report(PanelChange change);
  std::string FrequencyText(int vfo) const;
  std::string ModeText() const;
  std::string InformationText() const;
  int Meter() const;

  // One for each command that is more than a stored number; `data` is what follows its two letters.
  Result FrequencyA(std::string_view data) { return SetFrequency(0, data); }
  Result FrequencyB(std::string_view data) { return SetFrequency(1, data); }
  Result SetFrequency(int vfo, std::string_view data);
  Result ReceiveVfo(std::string_view data);
  Result TransmitVfo(std::string_view data);
  Result SetMode(std::string_view data);
  Result Information(std::string_view data);
  Result SMeter(std::string_view data);
  Result SelectMeter(std::string_view data);
  Result Transmit(std::string_view data);
  Result ReceiveAgain(std::string_view data);
  Result Rit(std::string_view data) { return Switch("RT", state_.rit_on, data); }
  Result Xit(std::string_view data) { return Switch("XT", state_.xit_on, data); }
  Result Switch(std::string_view name, bool& value, std::string_view data);
  Result ClearOffset(std::string_view data);
  Result OffsetUp(std::string_view data) { return MoveOffset(data, +1); }
  Result OffsetDown(std::string_view data) { return MoveOffset(data, -1); }
  Result MoveOffset(std::string_view data, int direction);
  Result AfGain(std::string_view data);
  Result FilterWidth(std::string_view data);
  Result Identify(std::string_view data);
  Result Power(std::string_view data);
  Result MicUp(std::string_view data) { return Step(data, +1); }
  Result MicDown(std::string_view data) { return Step(data, -1); }
  Result Step(std::string_view data, int direction);
  Result MemoryChannel(std::string_view data);
  Result MemoryRead(std::string_view data);
  Result MemoryWrite(std::string_view data);
  Result MemoryToVfo(std::string_view data);
  Result SendMorse(std::string_view data);

  FrontPanel panel_;
  RigState& state_;
  StoredSettings settings_;
  TextLine line_{';'};
  int meter_ = 0;    ///< 0 none, 1 SWR, 2 COMP, 3 ALC
  int width_ = 500;  ///< CW and FSK filter, Hz
};

}  // namespace kvx::sim
