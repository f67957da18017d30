#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "sim/front_panel.h"
#include "sim/simulated_device.h"

namespace kvx::sim {

/// What sets one of Ten-Tec's binary rigs apart from another.
struct TentecModel {
  enum class Strength { kNone, kHexadecimal, kDecibels };

  std::string_view name;
  std::string_view version;
  bool acknowledges;  ///< every command with G, or Z
  bool selects_vfo;   ///< *EVA, *EVB
  Strength strength;
  std::string_view key;  ///< what keys it
  std::string_view release;
  std::string_view split;  ///< the command's name
  std::vector<FrequencySpan> spans;
};
const TentecModel& FindTentecModel(std::string_view name);

/// A Ten-Tec rig that is told its data as bytes:
///
///     *A f f f f CR    frequency of VFO A in Hz, most significant byte first      ?A CR    asks for it: A f f f f CR
///
/// Data bytes may read as a carriage return, so a command goes by its length. Facts: programmers' references of Jupiter
/// (538), Argonaut V (516) and Omni VII (588).
class TentecBinaryRig final : public SimulatedDevice {
 public:
  TentecBinaryRig(Loop& loop, const TentecModel& model);
  void Receive(std::string_view bytes) override;
  std::string Operate(std::string_view command) override { return panel_.Operate(command); }

 private:
  std::size_t LengthOf(std::string_view command) const;
  void Execute(std::string_view command);
  bool Set(std::string_view name, std::string_view data);
  bool SetFrequency(int vfo, std::string_view data);
  bool SetModes(std::string_view data);
  bool Ask(char what);
  std::string Strength();
  void Answer(const std::string& text) { panel_.Send(text + "\r"); }

  const TentecModel& model_;
  FrontPanel panel_;
  RigState& state_;
  std::map<char, std::string> stored_;  ///< data of the commands that only put a value away, by their letter
  std::string line_;
};

}  // namespace kvx::sim
