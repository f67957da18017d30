#include "platform/qt/watch_peer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <QTcpSocket>
#include <algorithm>

namespace kvx::platform {
namespace {

constexpr int kProbes = 3;
constexpr int kMilliseconds = 1000;
constexpr int kEarly = 500;  // the system looks once a second, and would let another second pass

}  // namespace

void WatchPeer(QTcpSocket& socket, int seconds) {
  socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
  socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
  const int descriptor = static_cast<int>(socket.socketDescriptor());
  const auto set = [descriptor](int option, int value) {
    ::setsockopt(descriptor, IPPROTO_TCP, option, &value, sizeof value);
  };
  const int interval = std::max(1, seconds / (kProbes + 1));
  set(TCP_KEEPIDLE, interval);
  set(TCP_KEEPINTVL, interval);
  set(TCP_KEEPCNT, kProbes);
  set(TCP_USER_TIMEOUT, seconds * kMilliseconds - kEarly);
}

}  // namespace kvx::platform
