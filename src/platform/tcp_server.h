#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "core/result.h"

namespace kvx::platform {

/// The connection of one client of a TcpServer. Destroying it ends the connection at once. Engine thread only.
class TcpConnection {
 public:
  virtual ~TcpConnection() = default;
  /// Takes what has arrived, `at_most` bytes of it. What is not taken stays with the sender before long.
  virtual std::string Read(std::size_t at_most) = 0;
  /// Hands bytes over; they go out as the client takes them.
  virtual void Write(std::string_view bytes) = 0;
  /// Bytes that the client has not taken yet.
  virtual std::size_t bytes_unsent() const = 0;
  /// Ends the connection when everything written has gone out; on_lost follows.
  virtual void Close() = 0;
  /// Where the client is, in words: "127.0.0.1".
  virtual std::string peer() const = 0;

  /// Something has arrived, or something written has gone out. Must not destroy the connection.
  std::function<void()> on_ready;
  /// The connection has ended, from either side. May destroy the connection.
  std::function<void()> on_lost;
};

/// Listens for clients on one address. Engine thread only.
class TcpServer {
 public:
  virtual ~TcpServer() = default;
  /// Listens, on another address than before perhaps. `address`: a numeric one, "127.0.0.1", "::1", "0.0.0.0". kBusy
  /// when the port is taken, kInvalid for what is no address, else kIo.
  virtual Status Listen(const std::string& address, int port) = 0;
  /// Listens no more; connections that have been handed out stay.
  virtual void Close() = 0;
  virtual bool is_listening() const = 0;

  /// A client has come; whoever takes the connection keeps it.
  std::function<void(std::unique_ptr<TcpConnection> connection)> on_connection;
};

/// Whether nobody but programs on this machine can reach an address.
bool IsLoopback(std::string_view address);

}  // namespace kvx::platform
