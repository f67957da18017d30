#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cat/engine.h"
#include "config/settings.h"
#include "core/console.h"
#include "core/loop.h"
#include "core/retry_timer.h"
#include "links/link_activity.h"
#include "links/rigctl_rig.h"
#include "links/rigctl_session.h"
#include "platform/tcp_server.h"

namespace kvx::links {

/// The NET rigctl server's lines of rig.ini.
struct NetSettings {
  bool on = false;                    ///< "NETSERVER="
  int port = 4532;                    ///< "NETPORT="
  std::string address = "127.0.0.1";  ///< "NETADDRESS="
  bool write = false;  ///< "NETWRITE=": clients may change things although others than this machine can come

  static NetSettings From(const config::Settings& settings);
  bool operator==(const NetSettings&) const = default;
};

/// The NET rigctl server: any number of clients, up to a bound, each with a session of its own. A client that does not
/// take its answers is not read from and, after a while, dropped; one that sends without end gets a turn at a time; an
/// idle one costs nothing.
class NetServer {
 public:
  NetServer(Loop& loop, Console& console, cat::Engine& engine, platform::TcpServer& server);
  ~NetServer();
  NetServer(const NetServer&) = delete;
  NetServer& operator=(const NetServer&) = delete;

  /// Follows the settings. What is wrong with them is said once, in one line. A place that is taken is tried again.
  void Use(const NetSettings& settings);
  /// Tries again at once to listen where that was not possible.
  void Retry();
  /// Ends all connections and listens no more, until Use.
  void Close();

  bool is_listening() const { return server_.is_listening(); }
  std::size_t clients() const { return clients_.size(); }
  const NetSettings& settings() const { return settings_; }
  /// One line: "off", "on 127.0.0.1:4532, 2 clients", or why it is not on.
  std::string state() const;
  /// Of all clients together.
  const LinkActivity& activity() const { return activity_; }

  RigctlRig rig;
  std::function<void(const std::string& line)> on_notice;

 private:
  struct Client {
    Client(int client_id, Loop& loop, Console& console, cat::Engine& engine, RigctlRig& rig,
           std::unique_ptr<platform::TcpConnection> tcp)
        : connection(std::move(tcp)), session(loop, console, engine, rig), id(client_id) {}
    std::unique_ptr<platform::TcpConnection> connection;
    RigctlSession session;
    int id;
    Loop::TimerId patience = 0;  ///< runs while its answers wait
    Loop::TimerId turn = 0;      ///< runs while its lines wait
    bool served = false;         ///< it has its turn
  };

  void Listen();
  void Welcome(std::unique_ptr<platform::TcpConnection> connection);
  void Serve(Client& client);
  bool ServeForATurn(Client& client);
  void Drop(int id);
  void Follow(Field field);

  Loop& loop_;
  Console& console_;
  cat::Engine& engine_;
  platform::TcpServer& server_;
  NetSettings settings_;
  std::string failure_;
  LinkActivity activity_;
  RetryTimer again_;
  std::vector<std::unique_ptr<Client>> clients_;
  int last_id_ = 0;
  Console::Subscription subscription_;
};

}  // namespace kvx::links
