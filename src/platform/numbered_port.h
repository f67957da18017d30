#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/ports_file.h"
#include "platform/serial_port.h"

namespace kvx::platform {

/// A serial port known by its number. At each Open it looks up what is behind the number, makes the port for that
/// address and hands everything on to it, so that an edited table counts from the next opening. The port behind is kept
/// while its address stays the same.
class NumberedPort final : public SerialPort {
 public:
  using TableSource = std::function<PortTable()>;
  /// Makes the port for an address; null for an address that it cannot serve.
  using Maker = std::function<std::unique_ptr<SerialPort>(const std::string& address)>;

  NumberedPort(TableSource table, Maker maker);
  ~NumberedPort() override;

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

  /// What was behind the number when it was last opened; empty before.
  const std::string& address() const { return address_; }
  SerialPort* backend() const { return backend_.get(); }

 private:
  void Change(const std::string& address);

  TableSource table_;
  Maker maker_;
  std::string address_;
  std::unique_ptr<SerialPort> backend_;
  std::unique_ptr<SerialPort> retired_;  ///< the one before: the change may come from one of its own events
};

}  // namespace kvx::platform
