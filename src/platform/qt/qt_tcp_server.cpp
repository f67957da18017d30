#include "platform/qt/qt_tcp_server.h"

#include <QNetworkProxy>
#include <algorithm>

#include "platform/qt/watch_peer.h"

namespace kvx::platform {
namespace {

constexpr qint64 kMostWaiting = 16 << 10;  // the rest waits in the system and then with the sender
constexpr int kSilence = 3;                // seconds; a client that has keyed the transmitter may have lost its network

}  // namespace

QtTcpConnection::QtTcpConnection(QTcpSocket* socket)
    : socket_(socket), begun_([this] { Ready(); }), lost_([this] {
        if (const auto handler = on_lost) handler();
      }) {
  socket_->setParent(nullptr);
  socket_->setReadBufferSize(kMostWaiting);
  WatchPeer(*socket_, kSilence);
  // At once, not from the event loop: a client that has sent its command and its end together gets its answer.
  QObject::connect(socket_, &QTcpSocket::readyRead, socket_, [this] { Ready(); });
  QObject::connect(socket_, &QTcpSocket::bytesWritten, socket_, [this] { Ready(); });
  QObject::connect(socket_, &QTcpSocket::disconnected, socket_, [this] { lost_.Request(); });
  if (socket_->bytesAvailable() > 0) begun_.Request();
  if (socket_->state() != QAbstractSocket::ConnectedState) lost_.Request();
}

QtTcpConnection::~QtTcpConnection() {
  socket_->disconnect();
  socket_->abort();
  socket_->deleteLater();
}

void QtTcpConnection::Ready() {
  if (on_ready) on_ready();
}

std::string QtTcpConnection::Read(std::size_t at_most) {
  const qint64 size = std::min(socket_->bytesAvailable(), static_cast<qint64>(at_most));
  if (size <= 0) return {};
  std::string bytes(static_cast<std::size_t>(size), '\0');
  const qint64 read = socket_->read(bytes.data(), size);
  bytes.resize(static_cast<std::size_t>(std::max<qint64>(read, 0)));
  return bytes;
}

void QtTcpConnection::Write(std::string_view bytes) {
  if (socket_->state() != QAbstractSocket::ConnectedState) return;
  socket_->write(bytes.data(), static_cast<qint64>(bytes.size()));
  socket_->flush();
}

std::size_t QtTcpConnection::bytes_unsent() const {
  return static_cast<std::size_t>(socket_->bytesToWrite());
}

void QtTcpConnection::Close() {
  socket_->disconnectFromHost();
}

std::string QtTcpConnection::peer() const {
  return socket_->peerAddress().toString().toStdString();
}

QtTcpServer::QtTcpServer() {
  server_.setProxy(QNetworkProxy::NoProxy);
  QObject::connect(&server_, &QTcpServer::newConnection, &server_, [this] {
    while (QTcpSocket* const socket = server_.nextPendingConnection()) {
      auto connection = std::make_unique<QtTcpConnection>(socket);
      if (on_connection) on_connection(std::move(connection));
    }
  });
}

Status QtTcpServer::Listen(const std::string& address, int port) {
  Close();
  const QHostAddress host(QString::fromStdString(address));
  if (host.isNull()) return Error{ErrorCode::kInvalid, "\"" + address + "\" is no network address"};
  if (server_.listen(host, static_cast<quint16>(port))) return Ok();
  const bool taken = server_.serverError() == QAbstractSocket::AddressInUseError;
  return Error{taken ? ErrorCode::kBusy : ErrorCode::kIo, server_.errorString().toStdString()};
}

void QtTcpServer::Close() {
  server_.close();
}

}  // namespace kvx::platform
