#pragma once

#include <cstddef>
#include <string>

#include "core/result.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/device_user.h"

namespace kvx::platform {

/// The right to use a serial device alone, held by a descriptor of its own, through which its modem lines are set as
/// well. The terminal's exclusive mode does not stop a privileged program, hence the lock. Ends with the object, and
/// with the process.
class DeviceClaim {
 public:
  ~DeviceClaim();
  DeviceClaim(DeviceClaim&&) = default;
  DeviceClaim& operator=(DeviceClaim&&) = default;

  /// Claims the device at `path` (links are followed). kBusy names the program that has it, where that can be told.
  static Result<DeviceClaim> Take(const std::string& path, DeviceUser& user);

  /// Where the device really is: the path with its links followed.
  const std::string& device() const { return device_; }

  int descriptor() const { return descriptor_.get(); }

  /// Sets both lines, lowering before raising. A pseudo-terminal has none, which is no fault.
  void SetLines(bool dtr, bool rts);
  void SetDtr(bool on);
  void SetRts(bool on);

  /// Ends a pseudo-terminal's exclusive mode: it would outlive a crash for as long as the other end is held, and keep
  /// even this program out. The lock stays.
  void EndPseudoExclusive();

  /// Whether the device has gone from under its descriptor.
  bool hung_up() const;
  /// Bytes that the system holds and the device has not taken yet.
  std::size_t bytes_unsent() const;
  void DropUnsent();

 private:
  DeviceClaim(Descriptor descriptor, std::string device);

  Descriptor descriptor_;
  std::string device_;
};

}  // namespace kvx::platform
