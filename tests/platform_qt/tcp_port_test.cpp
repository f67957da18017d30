#include "platform/qt/tcp_port.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <QTcpServer>

#include "event_loop.h"
#include "far_end.h"
#include "platform/posix/release_guard.h"

namespace kvx {
namespace {

using platform::PosixReleaseGuard;
using platform::TcpPort;

/// A serial server with one client, and a port that counts its events.
struct Bench {
  explicit Bench(const std::string& host = "127.0.0.1", QHostAddress address = QHostAddress::LocalHost) {
    listening = server.listen(address);
    port = std::make_unique<TcpPort>(host + ":" + std::to_string(server.serverPort()));
    port->on_opened = [this] { ++opened; };
    port->on_data = [this] { received += port->Read(); };
    port->on_lost = [this](const std::string& why) { reasons.push_back(why); };
  }
  QTcpSocket* Connect() {
    EXPECT_TRUE(port->Open({}).ok());
    EXPECT_TRUE(WaitFor([&] { return opened == 1 && server.hasPendingConnections(); }));
    return server.nextPendingConnection();
  }
  QTcpServer server;
  bool listening = false;
  std::unique_ptr<TcpPort> port;
  int opened = 0;
  std::string received;
  std::vector<std::string> reasons;
};

TEST(TcpPort, CarriesBytesOnceItIsOpen) {
  const std::pair<std::string, QHostAddress> hosts[] = {{"127.0.0.1", QHostAddress::LocalHost},
                                                        {"localhost", QHostAddress::LocalHost},
                                                        {"[::1]", QHostAddress::LocalHostIPv6}};
  for (const auto& [host, address] : hosts) {
    Bench bench(host, address);
    if (!bench.listening && host == "[::1]") continue;  // a machine without IPv6
    ASSERT_TRUE(bench.port->Open({}).ok());
    EXPECT_FALSE(bench.port->is_open());
    bench.port->Write("too early");
    ASSERT_TRUE(WaitFor([&] { return bench.opened == 1 && bench.server.hasPendingConnections(); })) << host;
    EXPECT_TRUE(bench.port->is_open());
    QTcpSocket* const client = bench.server.nextPendingConnection();
    bench.port->Write(AllBytes());
    client->write(AllBytes().data(), static_cast<qint64>(AllBytes().size()));
    std::string at_server;
    EXPECT_TRUE(WaitFor([&] {
      at_server += client->readAll().toStdString();
      return at_server.size() >= AllBytes().size() && bench.received.size() >= AllBytes().size();
    }));
    EXPECT_EQ(at_server, AllBytes());
    EXPECT_EQ(bench.received, AllBytes());
    EXPECT_TRUE(bench.reasons.empty());
  }
}

TEST(TcpPort, TheLastBytesComeBeforeTheLossWhichIsToldOnce) {
  Bench bench;
  QTcpSocket* const client = bench.Connect();
  client->write("IF;");
  client->disconnectFromHost();
  ASSERT_TRUE(WaitFor([&] { return !bench.reasons.empty(); }));
  EXPECT_EQ(bench.received, "IF;");
  EXPECT_FALSE(bench.port->is_open());
  WakeUpsIn(std::chrono::milliseconds(50));
  EXPECT_EQ(bench.reasons.size(), 1U);

  bench.opened = 0;
  EXPECT_NE(bench.Connect(), nullptr) << "did not open again";
  bench.port->Close();
  WakeUpsIn(std::chrono::milliseconds(50));
  EXPECT_EQ(bench.reasons.size(), 1U) << "closing is no loss";
}

TEST(TcpPort, AnAttemptThatFailsIsALossAndABadAddressAnError) {
  Bench bench;
  bench.server.close();
  ASSERT_TRUE(bench.port->Open({}).ok());
  ASSERT_TRUE(WaitFor([&] { return bench.reasons.size() == 1; }));
  EXPECT_TRUE(bench.reasons[0].starts_with("127.0.0.1:")) << bench.reasons[0];
  EXPECT_EQ(bench.opened, 0);

  for (const char* address :
       {"", "host", "host:", ":4001", "host:0", "host:65536", "host:4001x", "::1:4001", "[]:4001"}) {
    const Status refused = TcpPort(address).Open({});
    ASSERT_FALSE(refused.ok()) << address;
    EXPECT_EQ(refused.error().code, ErrorCode::kInvalid);
  }
}

TEST(TcpPort, TheGuardWritesToItsConnectionAndABrokenOneRaisesNoSignal) {
  Bench bench;
  PosixReleaseGuard outside([&] { return bench.port->descriptor(); });
  outside.Arm("nothing to write to");
  QTcpSocket* const client = bench.Connect();
  {
    PosixReleaseGuard guard([&] { return bench.port->descriptor(); });
    guard.Arm(";RX;");
  }
  EXPECT_TRUE(WaitFor([&] { return client->bytesAvailable() == 4; }));
  EXPECT_EQ(client->readAll(), ";RX;");
  ASSERT_EQ(::shutdown(bench.port->descriptor(), SHUT_WR), 0);
  PosixReleaseGuard late([&] { return bench.port->descriptor(); });
  late.Arm(";RX;");  // writes when it is destroyed
}

TEST(TcpPort, AHandlerMayDestroyThePort) {
  Bench bench;
  QTcpSocket* const client = bench.Connect();
  bench.port->on_data = [&] { bench.port.reset(); };
  client->write("x");
  EXPECT_TRUE(WaitFor([&] { return bench.port == nullptr; }));
}

}  // namespace
}  // namespace kvx
