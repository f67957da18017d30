#pragma once

#include <string_view>

namespace kvx::platform {

/// The last resort for a keyed transmitter: when the program ends in any way but its own orderly one, by a crash or by
/// a library that calls exit, the rig still gets the bytes that release it.
class ReleaseGuard {
 public:
  virtual ~ReleaseGuard() = default;
  /// The rig at the open rig port is keyed and `bytes` release it; again for other bytes.
  virtual void Arm(std::string_view bytes) = 0;
  /// It is released, or its port has closed.
  virtual void Disarm() = 0;
};

}  // namespace kvx::platform
