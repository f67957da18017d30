#pragma once

#include <functional>
#include <memory>

#include "platform/release_guard.h"

namespace kvx::platform {

/// Writes the release to the device from a crash signal's handler, which then lets the signal take its course, and at
/// exit. Holds the device open by a descriptor of its own while it is armed, so that the number cannot have become that
/// of another file. One object at a time.
class PosixReleaseGuard final : public ReleaseGuard {
 public:
  /// `device` gives the descriptor of the rig's device at the moment of arming, -1 when there is none.
  explicit PosixReleaseGuard(std::function<int()> device);
  ~PosixReleaseGuard() override;
  PosixReleaseGuard(const PosixReleaseGuard&) = delete;
  PosixReleaseGuard& operator=(const PosixReleaseGuard&) = delete;

  void Arm(std::string_view bytes) override;
  void Disarm() override;

 private:
  struct Stack;

  std::function<int()> device_;
  std::unique_ptr<Stack> stack_;
};

}  // namespace kvx::platform
