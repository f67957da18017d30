#pragma once

#include "platform/device_list.h"
#include "platform/files.h"

namespace kvx::platform {

/// The serial devices of a Linux system: those with a name under /dev/serial/by-id, which stays when they change
/// places; USB adapters that have none; and the built-in ports behind which the kernel has found hardware.
class PosixDeviceList final : public DeviceList {
 public:
  explicit PosixDeviceList(Path dev = "/dev", Path sys = "/sys") : dev_(std::move(dev)), sys_(std::move(sys)) {}
  std::vector<Device> List() const override;

 private:
  std::vector<Path> NamedDevices() const;
  std::string Describe(const std::string& name) const;
  bool HasHardware(const std::string& name) const;

  Path dev_;
  Path sys_;
};

}  // namespace kvx::platform
