#include "links/net_server.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::links {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMostClients = 64;
constexpr std::size_t kBite = 4096;            // read from a client at a time
constexpr std::size_t kMostUnsent = 64 << 10;  // a client with more than this unsent is not read from
constexpr std::size_t kPiece = 2048;           // answered at a time
constexpr Duration kTurn = 1ms;                // then others have theirs
constexpr Duration kPatience = 10s;
constexpr int kHighestPort = 65'535;
constexpr int kDefaultPort = 4532;

std::string ValueOf(const config::Settings& settings, std::string_view key) {
  return std::string(Trim(settings.text(key)));
}

}  // namespace

NetSettings NetSettings::From(const config::Settings& settings) {
  NetSettings net;
  net.on = settings.flag("NETSERVER=");
  net.write = settings.flag("NETWRITE=");
  net.port = static_cast<int>(ParseNumber(ValueOf(settings, "NETPORT="), 1, kHighestPort).value_or(kDefaultPort));
  const std::string address = Lower(ValueOf(settings, "NETADDRESS="));
  if (!address.empty()) net.address = address == "localhost" ? "127.0.0.1" : address;
  return net;
}

NetServer::NetServer(Loop& loop, Console& console, cat::Engine& engine, platform::TcpServer& server)
    : rig(console, engine),
      loop_(loop),
      console_(console),
      engine_(engine),
      server_(server),
      again_(loop, [this] { Listen(); }),
      subscription_(console.Subscribe([this](Field field) { Follow(field); })) {
  server_.on_connection = [this](std::unique_ptr<platform::TcpConnection> connection) {
    Welcome(std::move(connection));
  };
}

NetServer::~NetServer() {
  Close();
  server_.on_connection = nullptr;
}

void NetServer::Use(const NetSettings& settings) {
  if (settings == settings_) return;
  const bool same_place =
      settings.on && is_listening() && settings.port == settings_.port && settings.address == settings_.address;
  settings_ = settings;
  const bool could_write = std::exchange(rig.writable, settings.write || platform::IsLoopback(settings.address));
  if (could_write && !rig.writable) {
    for (const auto& client : clients_) client->session.StopTransmitting();
  }
  if (same_place) return;
  Close();
  if (settings.on) Listen();
}

void NetServer::Retry() {
  failure_.clear();  // whoever asks for it wants to hear what comes of it
  if (settings_.on && !is_listening()) Listen();
}

void NetServer::Listen() {
  const std::string before = std::exchange(failure_, {});
  const std::string place = settings_.address + ":" + std::to_string(settings_.port);
  const Status listening = server_.Listen(settings_.address, settings_.port);
  if (listening) {
    again_.Stop();
    if (!before.empty() && on_notice) on_notice("NET rigctl server: listening on " + place);
    return;
  }
  again_.Again();
  failure_ = listening.error().code == ErrorCode::kBusy
                 ? "NET rigctl server: port " + std::to_string(settings_.port) + " on " + settings_.address +
                       " is taken by another program"
                 : "NET rigctl server: cannot listen on " + place + ": " + listening.error().message;
  if (failure_ != before && on_notice) on_notice(failure_);
}

void NetServer::Close() {
  failure_.clear();
  again_.Stop();
  server_.Close();
  while (!clients_.empty()) Drop(clients_.back()->id);
}

std::string NetServer::state() const {
  if (!failure_.empty()) return failure_;
  if (!is_listening()) return "off";
  return "on " + settings_.address + ":" + std::to_string(settings_.port) + ", " + std::to_string(clients_.size()) +
         (clients_.size() == 1 ? " client" : " clients") + (rig.writable ? "" : ", reading only");
}

void NetServer::Welcome(std::unique_ptr<platform::TcpConnection> connection) {
  if (clients_.size() >= kMostClients) {
    if (on_notice)
      on_notice("NET rigctl server: " + std::to_string(kMostClients) + " clients are there, no further one is let in");
    return;
  }
  const int id = ++last_id_;
  clients_.push_back(std::make_unique<Client>(id, loop_, console_, engine_, rig, std::move(connection)));
  Client& client = *clients_.back();
  client.connection->on_ready = [this, &client] { Serve(client); };
  client.connection->on_lost = [this, id] { Drop(id); };
}

/// True when there was more than a turn's worth.
bool NetServer::ServeForATurn(Client& client) {
  const TimePoint end = loop_.Now() + kTurn;
  while (client.connection->bytes_unsent() < kMostUnsent && !client.session.ended()) {
    if (!client.session.has_line()) {
      const std::string bytes = client.connection->Read(kBite);
      if (bytes.empty()) return false;
      client.session.Take(bytes);
      activity_.Asked(bytes, static_cast<std::size_t>(std::ranges::count(bytes, '\n')));
    }
    if (const std::string answer = client.session.Answer(kPiece); !answer.empty()) {
      activity_.Answered(answer);
      if (answer.find("RPRT -") != std::string::npos) activity_.Refused(activity_.last());
      client.connection->Write(answer);
    }
    if (loop_.Now() >= end) return true;
  }
  return false;
}

void NetServer::Serve(Client& client) {
  if (client.session.ended() || client.served) return;
  client.served = true;  // writing may tell at once that something has been written
  loop_.StopTimer(std::exchange(client.turn, 0));
  const bool more = ServeForATurn(client);
  client.served = false;
  if (client.session.ended()) client.connection->Close();
  if (more) {
    client.turn = loop_.StartTimer(loop_.Now(), [this, &client] {
      client.turn = 0;
      Serve(client);
    });
  }
  // Every time it takes something, its time begins anew.
  loop_.StopTimer(std::exchange(client.patience, 0));
  if (client.connection->bytes_unsent() == 0) return;
  client.patience = loop_.StartTimer(loop_.Now() + kPatience, [this, id = client.id] { Drop(id); });
}

void NetServer::Drop(int id) {
  const auto place =
      std::find_if(clients_.begin(), clients_.end(), [id](const auto& client) { return client->id == id; });
  if (place == clients_.end()) return;
  const std::unique_ptr<Client> client = std::move(*place);
  clients_.erase(place);
  loop_.StopTimer(client->patience);
  loop_.StopTimer(client->turn);
}

void NetServer::Follow(Field field) {
  if (field != Field::kRigRow && field != Field::kPort) return;
  for (const auto& client : clients_) client->session.Forget();
}

}  // namespace kvx::links
