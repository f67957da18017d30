#pragma once

#include "platform/device_inspector.h"
#include "platform/files.h"
#include "platform/posix/running_programs.h"

namespace kvx::platform {

/// Serial devices of a Linux system, told by their files, by /proc and by /sys.
class PosixDeviceInspector final : public DeviceInspector {
 public:
  /// `root`: where the system's folders are.
  explicit PosixDeviceInspector(Path root = "/") : root_(std::move(root)), programs_(root_ / "proc") {}

  DeviceFacts Inspect(const std::string& path) const override;
  bool sees_all() const override { return programs_.sees_all(); }
  std::vector<BrailleClaim> BrailleClaims() const override;
  bool has_driver(std::string_view name) const override;

 private:
  void TakePermission(DeviceFacts& facts) const;
  void TakeUsers(DeviceFacts& facts) const;
  void TakeLocks(DeviceFacts& facts) const;
  Path UsbDeviceOf(const std::string& terminal) const;

  Path root_;
  RunningPrograms programs_;
};

}  // namespace kvx::platform
