#include <gtest/gtest.h>
#include <sys/socket.h>

#include <QTcpSocket>
#include <vector>

#include "event_loop.h"
#include "far_end.h"
#include "platform/qt/qt_tcp_server.h"

namespace kvx {
namespace {

using platform::QtTcpServer;
using platform::TcpConnection;

/// A server that keeps what its clients send and answers each with the same.
struct Bench {
  Bench() {
    server.on_connection = [this](std::unique_ptr<TcpConnection> connection) {
      TcpConnection* const client = connection.get();
      client->on_ready = [this, client] {
        const std::string bytes = client->Read(100);
        received += bytes;
        if (echo && !bytes.empty()) client->Write(bytes);
        if (!client->Read(0).empty()) ADD_FAILURE();
      };
      client->on_lost = [this, client] {
        ++lost;
        std::erase_if(connections, [&](const auto& one) { return one.get() == client; });
      };
      connections.push_back(std::move(connection));
    };
    listening = server.Listen("127.0.0.1", 0).ok();
  }
  void Connect(QTcpSocket& socket) {
    socket.connectToHost(QHostAddress::LocalHost, static_cast<quint16>(server.port()));
    const std::size_t before = connections.size();
    EXPECT_TRUE(
        WaitFor([&] { return connections.size() > before && socket.state() == QAbstractSocket::ConnectedState; }));
  }
  QtTcpServer server;
  bool listening = false;
  bool echo = true;
  std::vector<std::unique_ptr<TcpConnection>> connections;
  std::string received;
  int lost = 0;
};

TEST(TcpServer, CarriesBytesBothWaysAndTellsTheEndOnce) {
  Bench bench;
  ASSERT_TRUE(bench.listening);
  QTcpSocket socket;
  bench.Connect(socket);
  EXPECT_EQ(bench.connections[0]->peer(), "127.0.0.1");
  std::string answered;
  for (int round = 0; round < 5; ++round) {  // one that is idle in between
    socket.write(AllBytes().data() + 51 * round, 51);
    EXPECT_TRUE(WaitFor([&] {
      answered += socket.readAll().toStdString();
      return answered.size() == 51U * static_cast<unsigned>(round + 1);
    }));
  }
  EXPECT_EQ(answered, AllBytes().substr(0, 255));
  EXPECT_LT(WakeUpsIn(std::chrono::milliseconds(200)), kFewWakeUps);
  socket.abort();
  EXPECT_TRUE(WaitFor([&] { return bench.lost == 1 && bench.connections.empty(); }));
  WakeUpsIn(std::chrono::milliseconds(50));
  EXPECT_EQ(bench.lost, 1);
}

TEST(TcpServer, ClientThatEndsWithItsCommandGetsItsAnswer) {
  Bench bench;
  QTcpSocket socket;
  bench.Connect(socket);
  socket.write("f\n");
  socket.flush();
  ::shutdown(static_cast<int>(socket.socketDescriptor()), SHUT_WR);
  EXPECT_TRUE(WaitFor([&] { return bench.lost == 1 && socket.bytesAvailable() > 0; }));
  EXPECT_EQ(socket.readAll().toStdString(), "f\n");
}

TEST(TcpServer, CloseLetsTheLastBytesOut) {
  Bench bench;
  bench.echo = false;
  QTcpSocket socket;
  bench.Connect(socket);
  const std::string much(3'000'000, 'x');
  bench.connections[0]->Write(much);
  bench.connections[0]->Close();
  std::size_t arrived = 0;
  EXPECT_TRUE(WaitFor([&] {
    arrived += static_cast<std::size_t>(socket.readAll().size());
    return bench.lost == 1 && arrived == much.size();
  })) << arrived;
}

TEST(TcpServer, ClientThatDoesNotReadIsKnownAndOneThatIsNotReadFromWaits) {
  Bench bench;
  bench.echo = false;
  QTcpSocket socket;
  socket.setReadBufferSize(1000);
  bench.Connect(socket);
  TcpConnection& connection = *bench.connections[0];
  for (int i = 0; i < 200; ++i) connection.Write(std::string(64'000, 'x'));
  WakeUpsIn(std::chrono::milliseconds(100));
  EXPECT_GT(connection.bytes_unsent(), 1'000'000U);

  connection.on_ready = nullptr;
  const std::string much(8'000'000, 'y');
  socket.write(much.data(), static_cast<qint64>(much.size()));
  WakeUpsIn(std::chrono::milliseconds(200));
  EXPECT_GT(socket.bytesToWrite(), 0) << "everything was taken into memory";
  bench.connections.clear();  // from outside: no loss is told
  EXPECT_TRUE(WaitFor([&] { return socket.state() == QAbstractSocket::UnconnectedState; }));
  EXPECT_EQ(bench.lost, 0);
}

TEST(TcpServer, ATakenPortAndABadAddressAreErrors) {
  Bench bench;
  QtTcpServer second;
  const Status taken = second.Listen("127.0.0.1", bench.server.port());
  ASSERT_FALSE(taken.ok());
  EXPECT_EQ(taken.error().code, ErrorCode::kBusy);
  EXPECT_FALSE(second.is_listening());
  const Status wrong = second.Listen("the.shack", 4532);
  ASSERT_FALSE(wrong.ok());
  EXPECT_EQ(wrong.error().code, ErrorCode::kInvalid);
  const int port = bench.server.port();
  bench.server.Close();
  EXPECT_TRUE(second.Listen("127.0.0.1", port).ok());
}

}  // namespace
}  // namespace kvx
