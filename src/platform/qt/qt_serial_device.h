#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/posix/device_claim.h"
#include "platform/qt/later_call.h"
#include "platform/serial_port.h"

class QSerialPort;

namespace kvx::platform {

/// A serial device, used by this program alone. Eight bits pass clean, without flow control. DTR and RTS, which often
/// key a transmitter, stand as the settings say from the first moment, and are low when the device is closed.
class QtSerialDevice final : public SerialPort {
 public:
  /// `path` may be a link, such as the stable names in /dev/serial/by-id.
  explicit QtSerialDevice(std::string path);
  ~QtSerialDevice() override;

  Status Open(const PortSettings& settings) override;
  void Close() override;
  bool is_open() const override;
  void Write(std::string_view bytes) override;
  std::string Read() override;
  std::size_t bytes_waiting() const override;
  std::size_t bytes_unsent() const override;
  void SetDtr(bool on) override;
  void SetRts(bool on) override;
  void DropUnsent() override;
  /// The system's number for the open device, -1 while it is closed.
  int descriptor() const;

 private:
  Status Configure(const PortSettings& settings);
  void Examine();

  std::string path_;
  DeviceUser user_;
  std::optional<DeviceClaim> claim_;
  std::unique_ptr<QSerialPort> port_;  ///< null while closed
  LaterCall data_;
  LaterCall trouble_;
  int faults_ = 0;  ///< since bytes last arrived
};

}  // namespace kvx::platform
