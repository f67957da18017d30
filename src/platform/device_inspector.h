#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/running_program.h"

namespace kvx::platform {

/// A file by which a program says that it has a port.
struct PortLockFile {
  std::string path;
  RunningProgram holder;
  bool alive = false;      ///< the holder runs
  bool removable = false;  ///< this user may delete the file
};

/// What can be told of a device, or of whatever stands in its place.
struct DeviceFacts {
  bool exists = false;     ///< with links followed
  bool is_link = false;    ///< be it one that leads nowhere
  bool is_device = false;  ///< a character device
  bool hardware = true;    ///< false: a built-in port that the system lists without there being a chip
  std::string leads_to;    ///< the device file itself
  bool usable = false;     ///< this user may read and write it
  std::string owner;
  std::string group;                    ///< whose members may use it; empty: there is no such group
  bool listed = false;                  ///< this user is a member of that group
  bool granted = false;                 ///< and this session knows it
  std::vector<RunningProgram> users;    ///< that have it open, as far as this user can see
  std::optional<RunningProgram> maker;  ///< of a pseudo-terminal: who has its other end
  std::vector<PortLockFile> locks;
  std::string usb;  ///< "1a86:7523"; empty: it is no USB device
};

/// A USB serial adapter that the Braille service takes for a Braille display.
struct BrailleClaim {
  std::string usb;          ///< "1a86:7523"
  std::string description;  ///< as the device tells it
  bool has_port = false;    ///< it is a serial port at this moment
};

/// Looks at serial devices without opening one: opening raises lines that may key a transmitter. Any thread. Adapters:
/// one per system; tests have a scripted one.
class DeviceInspector {
 public:
  virtual ~DeviceInspector() = default;
  virtual DeviceFacts Inspect(const std::string& path) const = 0;
  /// Whether the programs of every user can be seen.
  virtual bool sees_all() const = 0;
  /// The adapters that are plugged in and that the rules of the Braille service name.
  virtual std::vector<BrailleClaim> BrailleClaims() const = 0;
  /// Whether the system has loaded that driver.
  virtual bool has_driver(std::string_view name) const = 0;
};

}  // namespace kvx::platform
