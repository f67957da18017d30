#pragma once

#include <QTcpServer>
#include <QTcpSocket>
#include <memory>
#include <string>

#include "platform/qt/later_call.h"
#include "platform/tcp_server.h"

namespace kvx::platform {

/// A client's connection on Qt's event loop.
class QtTcpConnection final : public TcpConnection {
 public:
  explicit QtTcpConnection(QTcpSocket* socket);
  ~QtTcpConnection() override;

  std::string Read(std::size_t at_most) override;
  void Write(std::string_view bytes) override;
  std::size_t bytes_unsent() const override;
  void Close() override;
  std::string peer() const override;

 private:
  void Ready();

  QTcpSocket* socket_;  ///< deleted from the event loop: the end may come from inside one of its signals
  LaterCall begun_;     ///< what had arrived before anybody listened
  LaterCall lost_;
};

/// TcpServer on Qt's event loop.
class QtTcpServer final : public TcpServer {
 public:
  QtTcpServer();
  Status Listen(const std::string& address, int port) override;
  void Close() override;
  bool is_listening() const override { return server_.isListening(); }
  /// The port in use, which the system has chosen when 0 was asked for.
  int port() const { return server_.serverPort(); }

 private:
  QTcpServer server_;
};

}  // namespace kvx::platform
