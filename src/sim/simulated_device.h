#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/loop.h"

namespace kvx::sim {

/// A device that exists only here: a rig or a keyer at the far end of a byte pipe, with a front panel that a person can
/// operate. Strict: what the real device would refuse is refused and counted. Engine thread only.
class SimulatedDevice {
 public:
  virtual ~SimulatedDevice() = default;
  /// Bytes from the line, in pieces of any size.
  virtual void Receive(std::string_view bytes) = 0;
  /// One operation at the front panel ("knob 14030.00", "mode CW", "smeter 12", "state"); answers "ok ..." or "error:
  /// ...".
  virtual std::string Operate(std::string_view command) = 0;

  /// Where its bytes go.
  std::function<void(std::string_view bytes)> send;
  /// What it refused, one line each ("refused: FA1402;").
  std::function<void(const std::string& line)> complain;
};

/// A simulated device by name ("ts2000", "winkey", ...); null for an unknown name.
std::unique_ptr<SimulatedDevice> MakeDevice(std::string_view name, Loop& loop);
/// The names that MakeDevice knows: rigs, then keyers.
const std::vector<std::string>& DeviceNames();
const std::vector<std::string>& RigNames();
bool IsKeyer(std::string_view name);

}  // namespace kvx::sim
