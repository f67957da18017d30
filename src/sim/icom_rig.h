#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/front_panel.h"
#include "sim/icom_models.h"
#include "sim/simulated_device.h"

namespace kvx::sim {

/// A CI-V rig on its bus: an IC-7300, of which the other models differ by their row of the table.
///
///     FE FE to from command [sub command] [data] FD
///
/// An order answers FB (done) or FA (refused), a query answers with its command and the data. Frames to other addresses
/// and bytes outside a frame are left alone; a jammer code (FC) spoils its frame. Facts: IC-7300 full manual, control
/// command.
class IcomRig final : public SimulatedDevice {
 public:
  IcomRig(Loop& loop, const IcomModel& model);
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  struct Handler;
  /// Answered means that the answer has gone out already.
  enum class Result { kRefused, kDone, kAnswered };

  void Take(char byte);
  void Frame(const std::string& content);
  void Order(std::string_view body);
  Result Run(std::string_view body);
  Result RunStored(std::string_view body);
  Result Answer(std::string_view body);
  void Report(PanelChange change);
  std::string FrequencyData(int vfo) const;
  std::string ModeData(int vfo) const;
  bool TakeFrequency(int vfo, std::string_view data);
  bool TakeMode(int vfo, std::string_view data);

  // One for each command that is more than a stored number; `data` is what follows the command (and its sub command).
  Result BandEdges(std::string_view data);
  Result ReadFrequency(std::string_view data);
  Result ReadMode(std::string_view data);
  Result SetFrequency(std::string_view data);
  Result SetMode(std::string_view data);
  Result SelectVfo(std::string_view data);
  Result SelectMemory(std::string_view data);
  Result WriteMemory(std::string_view data);
  Result MemoryToVfo(std::string_view data);
  Result ClearMemory(std::string_view data);
  Result Scan(std::string_view data);
  Result Split(std::string_view data);
  Result Attenuator(std::string_view data);
  Result Speak(std::string_view data);
  Result AfGain(std::string_view data);
  Result Squelch(std::string_view data);
  Result SMeter(std::string_view data);
  Result SendMorse(std::string_view data);
  Result Power(std::string_view data);
  Result Identify(std::string_view data);
  Result DataMode(std::string_view data);
  Result Transmit(std::string_view data) { return Switch(state_.transmitting, data); }
  Result Offset(std::string_view data);
  Result Rit(std::string_view data) { return Switch(state_.rit_on, data); }
  Result DeltaTx(std::string_view data) { return Switch(state_.xit_on, data); }
  Result Switch(bool& value, std::string_view data);
  Result VfoFrequency(std::string_view data);
  Result VfoMode(std::string_view data);

  int NamedVfo(int code) const;
  int LowestFilter() const;
  bool Knows(std::string_view body) const;
  std::size_t FrequencyLength(std::int64_t hz) const;

  const IcomModel& model_;
  FrontPanel panel_;
  RigState& state_;
  std::vector<std::int64_t> stored_;  ///< as the table of stored numbers has them
  std::string frame_;                 ///< from the preamble on
  std::string command_;               ///< the command being run, as it is repeated in an answer
  int controller_ = 0xE0;
  int filter_[2] = {1, 1};
  int data_mode_[2] = {0, 0};
  bool attenuator_ = false;
};

}  // namespace kvx::sim
