#pragma once

#include <string>
#include <string_view>

#include "sim/five_byte_frames.h"
#include "sim/front_panel.h"
#include "sim/simulated_device.h"
#include "sim/yaesu_status_model.h"

namespace kvx::sim {

/// An older Yaesu at its CAT jack: five-byte commands, opcode last, parameters from the fourth byte towards the first,
/// so that packed decimal comes least significant pair first. Set commands are never acknowledged and what the rig does
/// not know is ignored; it answers only the update, meter and flag requests, in binary. Facts: the operating manuals'
/// CAT chapters.
class YaesuStatusRig final : public SimulatedDevice {
 public:
  YaesuStatusRig(Loop& loop, const YaesuStatusModel& model);
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  struct Handler;
  using Frame = const std::string&;

  void Execute(Frame frame);
  void Refuse(std::string_view frame);

  // One for each opcode; false refuses.
  bool Split(Frame frame);
  bool RecallMemory(Frame frame);
  bool MemoryOperation(Frame frame);
  bool Lock(Frame frame);
  bool SelectVfo(Frame frame);
  bool MemoryToVfo(Frame frame);
  bool Up(Frame frame) { return StepBy(frame, +1); }
  bool Down(Frame frame) { return StepBy(frame, -1); }
  bool StepBy(Frame frame, int direction);
  bool Clarifier(Frame frame);
  bool SetFrequency(Frame frame);
  bool SetSubFrequency(Frame frame);
  bool SetMode(Frame frame);
  bool Pacing(Frame frame);
  bool Transmit(Frame frame);
  bool Update(Frame frame);
  bool Tuner(Frame frame);
  bool StartTuner(Frame frame);
  bool RepeaterShift(Frame frame);
  bool CopyVfo(Frame frame);
  bool Bandwidth(Frame frame);
  bool FineStep(Frame frame);
  bool ToneMode(Frame frame);
  bool ReadMeter(Frame frame);
  bool DimLevel(Frame frame);
  bool RepeaterOffset(Frame frame);
  bool ReadFlags(Frame frame);

  const YaesuStatusModel& model_;
  FrontPanel panel_;
  RigState& state_;
  YaesuStatusState told_{state_};
  FiveByteFrames frames_;
};

}  // namespace kvx::sim
