#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "platform/tcp_server.h"

namespace kvx {

/// What a client has in its hands: it sends with Send and finds the answers in `received`.
struct FakeTcpClient {
  void Send(std::string_view bytes) {
    waiting += bytes;
    if (ready && *ready) (*ready)();
  }
  std::string Ask(std::string_view bytes) {
    Send(bytes);
    return std::exchange(received, {});
  }
  /// Takes what it had left lying.
  void TakeAll() {
    received += std::exchange(unsent, {});
    if (ready && *ready) (*ready)();
  }
  void Leave() {
    if (lost) (*lost)();
  }
  std::string waiting;  ///< sent, not read by the server
  std::string received;
  std::string unsent;     ///< written by the server while the client does not listen
  bool listens = true;    ///< takes what it is sent at once
  bool connected = true;  ///< the server keeps the connection
  bool ending = false;    ///< the server ends it when all has gone out
  std::function<void()>* ready = nullptr;
  std::function<void()>* lost = nullptr;
};

/// A TCP server in memory.
class FakeTcpServer final : public platform::TcpServer {
 public:
  Status Listen(const std::string& address, int port) override {
    listening_ = false;
    if (port == taken_port) return Error{ErrorCode::kBusy, "taken"};
    place = address + ":" + std::to_string(port);
    listening_ = true;
    return Ok();
  }
  void Close() override { listening_ = false; }
  bool is_listening() const override { return listening_; }

  /// `client` must outlive its connection.
  void Connect(FakeTcpClient& client) {
    if (on_connection) on_connection(std::make_unique<Connection>(client));
  }

  std::string place;
  int taken_port = 0;

 private:
  class Connection final : public platform::TcpConnection {
   public:
    explicit Connection(FakeTcpClient& client) : client_(client) {
      client_.connected = true;
      client_.ready = &on_ready;
      client_.lost = &on_lost;
    }
    ~Connection() override {
      client_.connected = false;
      client_.ready = nullptr;
      client_.lost = nullptr;
    }
    std::string Read(std::size_t at_most) override {
      std::string bytes = client_.waiting.substr(0, at_most);
      client_.waiting.erase(0, bytes.size());
      return bytes;
    }
    void Write(std::string_view bytes) override { (client_.listens ? client_.received : client_.unsent) += bytes; }
    std::size_t bytes_unsent() const override { return client_.unsent.size(); }
    void Close() override { client_.ending = true; }
    std::string peer() const override { return "127.0.0.1"; }

   private:
    FakeTcpClient& client_;
  };

  bool listening_ = false;
};

}  // namespace kvx
