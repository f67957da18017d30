#pragma once

class QTcpSocket;

namespace kvx::platform {

/// A peer that vanishes without a word is noticed after so many seconds, and small messages go out at once. The system
/// does that: an idle connection costs this program nothing.
void WatchPeer(QTcpSocket& socket, int seconds);

}  // namespace kvx::platform
