#include "soak/outside_programs.h"

#include <algorithm>
#include <utility>

namespace kvx {
namespace {

using namespace std::string_literals;

constexpr std::array kAsked{"f\n", "f\n", "m\n", "t\n", "l STRENGTH\n", "v\n", "+f\n", "\\chk_vfo\n"};
constexpr std::array kOrdered{
    "F 14025000\n",   "F 7010500\n",   "M CW 500\n", "M USB 0\n",    "T 1\n",          "T 0\n", "b TEST DE K1ABC\n",
    "\\stop_morse\n", "L KEYSPD 25\n", "V VFOB\n",   "F nonsense\n", "\\dump_state\n", "q\n",   "\xFF\xFE;;;\n"};
constexpr std::array kLoggerAsks{"IF;", "FA;", "FB;", "MD;", "ID;", "TX;", "RX;", "FA00014033000;", "MD3;", "nonsense"};

}  // namespace

void OutsidePrograms::Act() {
  ActLogger();
  if (dice_.OneIn(8)) ActLoggerKeyer();
  for (FakeTcpClient& client : clients_) ActClient(client);
  ActDde();
}

void OutsidePrograms::ActLogger() {
  FakeSerialPort& port = soak_.logger;
  if (!port.absent && dice_.OneIn(3000)) {
    port.absent = true;
    port.Lose();
  } else if (port.absent && dice_.OneIn(60)) {
    port.absent = false;
  }
  port.Arrive(dice_.OneIn(20) ? dice_.Pick(kLoggerAsks) : "IF;");
}

void OutsidePrograms::ActLoggerKeyer() {
  static const std::array kBytes{"\x00\x02"s, "\x00\x03"s, "\x02\x19"s, "PARIS"s,       "\x0A"s,
                                 "\x15"s,     "\x0B\x01"s, "\x0B\x00"s, "\xFF\x16\x03"s};
  soak_.logger_keyer.Arrive(dice_.Pick(kBytes));
}

void OutsidePrograms::ActClient(FakeTcpClient& client) {
  if (client.ready == nullptr) {
    client.waiting.clear();
    client.unsent.clear();
    client.listens = true;
    client.ending = false;
    if (soak_.tcp.is_listening() && dice_.OneIn(4)) soak_.tcp.Connect(client);
    return;
  }
  if (dice_.OneIn(2)) return;
  if (client.ending || dice_.OneIn(1000)) return client.Leave();
  if (dice_.OneIn(500)) client.listens = !client.listens;
  if (client.listens && !client.unsent.empty()) client.TakeAll();
  if (client.ready != nullptr) client.Send(dice_.OneIn(40) ? dice_.Pick(kOrdered) : dice_.Pick(kAsked));
  answers += static_cast<int>(std::count(client.received.begin(), client.received.end(), '\n'));
  client.received.clear();
}

void OutsidePrograms::ActDde() {
  if (!soak_.dde_clients.on_call || !dice_.OneIn(4)) return;
  using platform::DdeType;
  static const std::array kCalls{platform::DdeCall{.type = DdeType::kRequest, .item = "HRD_HERTZ"},
                                 platform::DdeCall{.type = DdeType::kRequest, .item = "HRD_MODE"},
                                 platform::DdeCall{.type = DdeType::kRequest, .item = "nothing"},
                                 platform::DdeCall{.type = DdeType::kConnect},
                                 platform::DdeCall{.type = DdeType::kDisconnect}};
  static const platform::DdeCall kOrder{.type = DdeType::kExecute, .data = "SET FREQUENCY TO 14047"};
  soak_.dde_clients.on_call(dice_.OneIn(40) ? kOrder : dice_.Pick(kCalls));
}

std::string OutsidePrograms::Check() {
  for (FakeTcpClient& client : clients_) {
    if (client.ready != nullptr) client.Leave();
    soak_.loop.RunFor(std::chrono::seconds(1));
    client.waiting.clear();
    client.unsent.clear();
    client.received.clear();
    client.listens = true;
    client.ending = false;
    soak_.tcp.Connect(client);
    client.Send("f\n");
    const std::string wanted = std::to_string(soak_.station.console.FreqDisp->decihertz / 10) + "\n";
    if (client.received != wanted) return "a NET client got " + client.received + " instead of " + wanted;
  }
  if (soak_.station.net->clients() != clients_.size()) return "NET clients have stayed behind";
  soak_.logger.absent = false;
  soak_.loop.RunFor(std::chrono::seconds(2));
  soak_.logger.Arrive(";");
  soak_.loop.RunFor(std::chrono::seconds(1));
  soak_.logger.written.clear();
  soak_.logger.Arrive("FA;");
  const std::string& got = soak_.logger.written;
  return got.size() == 14 && got.starts_with("FA00") ? "" : "the logger got " + got;
}

}  // namespace kvx
