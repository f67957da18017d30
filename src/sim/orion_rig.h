#pragma once

#include <string>
#include <string_view>

#include "sim/front_panel.h"
#include "sim/simulated_device.h"
#include "sim/stored_settings.h"

namespace kvx::sim {

/// A Ten-Tec Orion (565) at its serial port: text commands that end in a carriage return. "*" sets and is not answered,
/// "?" asks and is answered with "@"; numbers have as many digits as they need. What the rig does not know answers
/// "Z!". VFO frequencies have a binary form too, four bytes, high byte first: *Axxxx. Facts: Orion programmer's
/// reference guide.
class OrionRig final : public SimulatedDevice {
 public:
  explicit OrionRig(Loop& loop);
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  struct Handler;

  void Take(char byte);
  void Execute(const std::string& command);
  bool Set(const std::string& command);
  bool Ask(const std::string& query);
  void Answer(std::string_view text);

  // One for each set command that is more than a stored number; `data` is what follows its name. False refuses.
  bool FrequencyA(std::string_view data) { return SetFrequency(0, data); }
  bool FrequencyB(std::string_view data) { return SetFrequency(1, data); }
  bool SetFrequency(int vfo, std::string_view data);
  bool BinaryFrequency(int vfo, std::string_view data);
  bool StepA(std::string_view data) { return Step(0, data); }
  bool StepB(std::string_view data) { return Step(1, data); }
  bool Step(int vfo, std::string_view data);
  bool Lock(std::string_view data);
  bool Unlock(std::string_view data);
  bool SetMode(std::string_view data);
  bool Agc(std::string_view data);
  bool AssignVfos(std::string_view data);
  bool AssignAntennas(std::string_view data);
  bool FocusMain(std::string_view data);
  bool FocusSub(std::string_view data);
  bool RecallMemory(std::string_view data);
  bool WriteMemory(std::string_view data);
  bool Rit(std::string_view data);
  bool Xit(std::string_view data);
  bool Offset(std::string_view data, bool& on);
  bool AfGain(std::string_view data);
  bool Transmit(std::string_view data);
  bool ReceiveAgain(std::string_view data);
  bool StartTuner(std::string_view data);

  FrontPanel panel_;
  RigState& state_;
  StoredSettings settings_;
  std::string line_;
  bool overrun_ = false;
  char agc_ = 'M';
  std::string antennas_ = "BNN";
  char sub_vfo_ = 'N';
};

}  // namespace kvx::sim
