#pragma once

#include <QTcpSocket>
#include <QTimer>
#include <memory>
#include <string>

#include "platform/qt/later_call.h"
#include "platform/serial_port.h"

namespace kvx::platform {

/// A serial device behind a network server in raw mode. Open returns while the connection is being made: it is open
/// when on_opened is called, and on_lost tells of an attempt that failed as well as of a connection that ended. The
/// line's settings are the server's business.
class TcpPort final : public SerialPort {
 public:
  /// "HOST:PORT"; an IPv6 address stands in brackets, "[::1]:4001".
  explicit TcpPort(std::string address);
  ~TcpPort() override;

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
  /// The system's number for the connection, -1 while there is none.
  int descriptor() const;

 private:
  void Connected();
  void Lose();
  void Fail(const std::string& why);

  std::string address_;
  std::unique_ptr<QTcpSocket> socket_;  ///< null while closed
  QTimer limit_;                        ///< ends an attempt that nobody answers
  std::string why_;
  LaterCall opened_;
  LaterCall data_;
  LaterCall lost_;
};

}  // namespace kvx::platform
