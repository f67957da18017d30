#pragma once

#include <string>
#include <string_view>

#include "sim/front_panel.h"
#include "sim/simulated_device.h"
#include "sim/stored_settings.h"
#include "sim/text_line.h"

namespace kvx::sim {

/// A Yaesu FT-DX5000 at its CAT connector: text commands that end in ";", frequencies of eight digits, most commands
/// with a digit for the receiver (0 main, 1 sub). A command that it does not understand answers "?;". Facts: FT-DX5000
/// series CAT operation reference book.
class YaesuTextRig final : public SimulatedDevice {
 public:
  explicit YaesuTextRig(Loop& loop);
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  struct Handler;
  enum class Result { kRefused, kDone };

  void Execute(const std::string& command);
  void Answer(std::string_view text);
  void Report(PanelChange change);
  std::string FrequencyText(int vfo) const;
  std::string ModeText(int vfo) const;
  std::string InformationText(std::string_view name, int vfo) const;
  int SMeterReading() const;

  // One for each command that is more than a stored number; `data` is what follows its two letters.
  Result FrequencyA(std::string_view data) { return SetFrequency(0, data); }
  Result FrequencyB(std::string_view data) { return SetFrequency(1, data); }
  Result SetFrequency(int vfo, std::string_view data);
  Result SelectVfo(std::string_view data);
  Result TransmitVfo(std::string_view data);
  Result SetMode(std::string_view data);
  Result Information(std::string_view data);
  Result OtherInformation(std::string_view data);
  Result SMeter(std::string_view data);
  Result ReadMeter(std::string_view data);
  Result Transmit(std::string_view data);
  Result Rit(std::string_view data) { return Switch("RT", state_.rit_on, data); }
  Result Xit(std::string_view data) { return Switch("XT", state_.xit_on, data); }
  Result Switch(std::string_view name, bool& value, std::string_view data);
  Result ClearOffset(std::string_view data);
  Result OffsetUp(std::string_view data) { return MoveOffset(data, +1); }
  Result OffsetDown(std::string_view data) { return MoveOffset(data, -1); }
  Result MoveOffset(std::string_view data, int direction);
  Result AfGain(std::string_view data);
  Result IfShift(std::string_view data);
  Result Identify(std::string_view data);
  Result Power(std::string_view data);
  Result SelectBand(std::string_view data);
  Result CopyAToB(std::string_view data);
  Result SwapVfos(std::string_view data);
  Result MemoryChannel(std::string_view data);
  Result MemoryToVfo(std::string_view data);
  Result VfoToMemory(std::string_view data);

  FrontPanel panel_;
  RigState& state_;
  StoredSettings settings_;
  TextLine line_{';'};
  int if_shift_hz_ = 0;
};

}  // namespace kvx::sim
