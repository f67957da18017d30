#pragma once

#include <functional>

#include "platform/posix/crash_release.h"
#include "platform/release_guard.h"

namespace kvx::platform {

/// Writes the release to a device or a connection when the program ends, when it is due, and when it is destroyed while
/// it is armed.
class PosixReleaseGuard final : public ReleaseGuard {
 public:
  /// `device` gives the descriptor of the device at the moment of arming, -1 when there is none.
  explicit PosixReleaseGuard(std::function<int()> device);

  void Arm(std::string_view bytes) override;
  void ReleaseAfter(Duration limit) override;
  void Disarm() override;

 private:
  std::function<int()> device_;
  CrashRelease release_;
};

}  // namespace kvx::platform
