#pragma once

#include <string_view>

#include "core/loop.h"

namespace kvx::platform {

/// So long after its time-out the engine is taken to hang.
inline constexpr Duration kGuardGrace = std::chrono::milliseconds(400);

/// The last resort for a transmitter that is keyed by bytes, by the rig's own commands or through a WinKeyer: when the
/// program ends in any way but its own orderly one, by a signal or by a library that calls exit, the device still gets
/// the bytes that release it. One for each device.
class ReleaseGuard {
 public:
  virtual ~ReleaseGuard() = default;
  /// The device is keyed and `bytes` release it; again for other bytes.
  virtual void Arm(std::string_view bytes) = 0;
  /// It gets them in any case so long from now, also when the program hangs; until it is armed anew or disarmed.
  virtual void ReleaseAfter(Duration /*limit*/) {}
  /// The device has the release, or its port has closed.
  virtual void Disarm() = 0;
};

}  // namespace kvx::platform
