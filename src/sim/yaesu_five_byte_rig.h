#pragma once

#include <span>
#include <string>
#include <string_view>

#include "sim/five_byte_frames.h"
#include "sim/front_panel.h"
#include "sim/simulated_device.h"

namespace kvx::sim {

/// What differs between the rigs with five-byte commands in this order.
struct YaesuFiveByteModel {
  std::span<const FrequencySpan> spans;
  std::string_view opcodes;         ///< that it knows
  std::string_view settable_modes;  ///< codes that a set command may name
  bool acknowledges = false;        ///< each carried out command, with one byte
  bool external_control = false;    ///< it listens only between opcode 00, on, and 80, off
  int s9 = 0;                       ///< the reading of its S-meter at S9 ...
  int top = 0;                      ///< ... and 60 dB over it
};
extern const YaesuFiveByteModel kFt857;
extern const YaesuFiveByteModel kFt847;
extern const YaesuFiveByteModel kFt736;

/// A Yaesu FT-857 or one of its kin at its CAT jack: five-byte commands, opcode last, frequencies in packed decimal,
/// most significant first, in 10 Hz. An FT-857 answers a carried out command with one byte, 00, or F0 when there was
/// nothing to change; what a rig does not know or cannot do it leaves unanswered. Facts: the operating manuals, CAT;
/// the acknowledge bytes are observations of users, not the manual's.
class YaesuFiveByteRig final : public SimulatedDevice {
 public:
  YaesuFiveByteRig(Loop& loop, const YaesuFiveByteModel& model);
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  struct Handler;
  enum class Result { kRefused, kDone, kNothingToDo, kAnswered };

  void Execute(const std::string& frame);
  void Refuse(std::string_view frame);
  bool Listens(const std::string& frame);
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
  Result Take(const std::string& /*frame*/) { return Result::kDone; }
  Result ReadTransmitter(const std::string& frame);
  Result ReadMemory(const std::string& frame);

  const YaesuFiveByteModel& model_;
  FrontPanel panel_;
  RigState& state_;
  FiveByteFrames frames_;
  bool controlled_ = false;
};

}  // namespace kvx::sim
