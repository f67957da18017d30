#pragma once

#include <string>
#include <string_view>

#include "sim/five_byte_frames.h"
#include "sim/front_panel.h"
#include "sim/simulated_device.h"

namespace kvx::sim {

/// A Yaesu FT-857 at its CAT/LINEAR jack: five-byte commands, opcode last, frequencies in packed decimal, most
/// significant first, in 10 Hz. A carried out command answers one byte, 00, or F0 when there was nothing to change;
/// what the rig does not know or cannot do it leaves unanswered. Facts: FT-857 operating manual, CAT; the acknowledge
/// bytes are observations of users, not the manual's.
class YaesuFiveByteRig final : public SimulatedDevice {
 public:
  explicit YaesuFiveByteRig(Loop& loop);
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  struct Handler;
  enum class Result { kRefused, kDone, kNothingToDo, kAnswered };

  void Execute(const std::string& frame);
  void Refuse(std::string_view frame);
  static Result Switch(bool& value, bool on);

  // One for each group of opcodes; `frame` is the whole command.
  Result SetFrequency(const std::string& frame);
  Result SetMode(const std::string& frame);
  Result Lock(const std::string& frame);
  Result Transmit(const std::string& frame);
  Result Clarifier(const std::string& frame);
  Result ClarifierOffset(const std::string& frame);
  Result ToggleVfo(const std::string& frame);
  Result Split(const std::string& frame);
  Result RepeaterShift(const std::string& frame);
  Result RepeaterOffset(const std::string& frame);
  Result ToneMode(const std::string& frame);
  Result ToneFrequency(const std::string& frame);
  Result Power(const std::string& frame);
  Result ReadFrequency(const std::string& frame);
  Result ReadReceiver(const std::string& frame);
  Result ReadTransmitter(const std::string& frame);
  Result ReadMemory(const std::string& frame);

  FrontPanel panel_;
  RigState& state_;
  FiveByteFrames frames_;
};

}  // namespace kvx::sim
