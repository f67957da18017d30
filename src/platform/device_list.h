#pragma once

#include <string>
#include <vector>

namespace kvx::platform {

/// A serial device that this computer has.
struct Device {
  std::string address;      ///< its most stable name: what stands in ports.ini
  std::string leads_to;     ///< the device file behind that name at this moment
  std::string description;  ///< maker and product as the device tells them, or what kind of port it is
  bool operator==(const Device&) const = default;
};

/// The serial devices that are there now. Adapters: one per system; tests have a scripted one.
class DeviceList {
 public:
  virtual ~DeviceList() = default;
  /// Devices with a name of their own first, each device once, sorted by name.
  virtual std::vector<Device> List() const = 0;
};

}  // namespace kvx::platform
