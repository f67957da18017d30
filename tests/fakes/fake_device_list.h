#pragma once

#include <vector>

#include "platform/device_list.h"

namespace kvx {

/// The devices that a test says there are.
class FakeDeviceList final : public platform::DeviceList {
 public:
  std::vector<platform::Device> List() const override { return devices; }

  std::vector<platform::Device> devices;
};

}  // namespace kvx
