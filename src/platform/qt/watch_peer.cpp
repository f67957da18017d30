#include "platform/qt/watch_peer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <QTcpSocket>

namespace kvx::platform {

void WatchPeer(QTcpSocket& socket) {
  socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
  socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
  const int descriptor = static_cast<int>(socket.socketDescriptor());
  const auto set = [descriptor](int option, int value) {
    ::setsockopt(descriptor, IPPROTO_TCP, option, &value, sizeof value);
  };
  set(TCP_KEEPIDLE, 10);
  set(TCP_KEEPINTVL, 5);
  set(TCP_KEEPCNT, 3);
  set(TCP_USER_TIMEOUT, 25'000);
}

}  // namespace kvx::platform
