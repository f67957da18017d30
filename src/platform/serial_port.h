#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "core/result.h"

namespace kvx::platform {

/// The line settings of a numbered serial port: no parity, 8 data bits always.
struct PortSettings {
  int number = 0;     ///< as the settings file gives it; what is behind a number stands in ports.ini
  int speed = 9600;   ///< baud
  int stop_bits = 1;  ///< 1 or 2
  bool dtr = false;   ///< state to put the line to at once after opening
  bool rts = false;

  bool operator==(const PortSettings&) const = default;
};

/// A byte pipe to one device, opened and closed by its owner. Engine thread only. Events are never raised from inside a
/// call, and a handler may call anything, even destroy the port. Adapters: a serial device, a pseudo-terminal, a TCP
/// connection, a simulated device; tests/fakes has a scripted one.
class SerialPort {
 public:
  virtual ~SerialPort() = default;
  /// Opens the device for this program alone. The error names the device and the cause in one sentence. An open port is
  /// closed first. A port that takes time to open (TCP) returns Ok once it has begun: it is open when on_opened is
  /// called, or on_lost says why it will not be.
  virtual Status Open(const PortSettings& settings) = 0;
  /// Closes at once: what the device has not taken yet is dropped. Who wants it sent waits for bytes_unsent() to reach
  /// 0.
  virtual void Close() = 0;
  virtual bool is_open() const = 0;
  /// Queues bytes for the device; does nothing while closed.
  virtual void Write(std::string_view bytes) = 0;
  /// Takes everything that has arrived.
  virtual std::string Read() = 0;
  virtual std::size_t bytes_waiting() const = 0;
  /// Bytes queued that the device has not taken yet.
  virtual std::size_t bytes_unsent() const = 0;
  virtual void SetDtr(bool on) = 0;
  virtual void SetRts(bool on) = 0;
  /// Drops what has not been sent yet.
  virtual void DropUnsent() = 0;

  /// Called when a port that takes time to open has opened; the others, open when Open returns, never call it.
  std::function<void()> on_opened;
  /// Called when bytes have arrived.
  std::function<void()> on_data;
  /// Called once when the device has gone (unplugged, hung up, connection lost); the port is closed by then.
  std::function<void(const std::string& why)> on_lost;
};

}  // namespace kvx::platform
