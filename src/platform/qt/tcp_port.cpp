#include "platform/qt/tcp_port.h"

#include <QNetworkProxy>
#include <chrono>
#include <optional>
#include <utility>

#include "core/text.h"
#include "platform/qt/watch_peer.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr qint64 kMostWaiting = 1 << 20;
constexpr std::size_t kMostUnsent = 64 << 10;
constexpr std::chrono::milliseconds kConnectLimit = 10s;
constexpr int kSilence = 24;  // seconds

struct Server {
  std::string host;
  quint16 port = 0;
};

std::optional<Server> ParseServer(std::string_view address) {
  const std::size_t colon = address.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  std::string_view host = Trim(address.substr(0, colon));
  const auto port = ParseNumber(address.substr(colon + 1), 1, 65535);
  if (host.starts_with('[') && host.ends_with(']')) {
    host = host.substr(1, host.size() - 2);
  } else if (host.find(':') != std::string_view::npos) {
    return std::nullopt;
  }
  if (host.empty() || !port) return std::nullopt;
  return Server{std::string(host), static_cast<quint16>(*port)};
}

}  // namespace

TcpPort::TcpPort(std::string address)
    : address_(std::move(address)),
      opened_([this] {
        if (const auto handler = on_opened; handler && is_open()) handler();
      }),
      data_([this] {
        if (const auto handler = on_data; handler && bytes_waiting() > 0) handler();
      }),
      lost_([this] { Lose(); }) {
  limit_.setSingleShot(true);
  limit_.setInterval(kConnectLimit);
  QObject::connect(&limit_, &QTimer::timeout, &limit_, [this] { Fail("no answer"); });
}

TcpPort::~TcpPort() {
  Close();
}

Status TcpPort::Open(const PortSettings& /*settings*/) {
  Close();
  const std::optional<Server> server = ParseServer(address_);
  if (!server) return Error{ErrorCode::kInvalid, "\"" + address_ + "\" is no network address (HOST:PORT)"};
  socket_ = std::make_unique<QTcpSocket>();
  socket_->setProxy(QNetworkProxy::NoProxy);
  socket_->setReadBufferSize(kMostWaiting);
  QTcpSocket* const socket = socket_.get();
  QObject::connect(socket, &QTcpSocket::connected, socket, [this] { Connected(); });
  QObject::connect(socket, &QTcpSocket::readyRead, socket, [this] { data_.Request(); });
  QObject::connect(socket, &QTcpSocket::errorOccurred, socket, [this, socket] {
    Fail(socket->error() == QAbstractSocket::RemoteHostClosedError ? "the server ended the connection"
                                                                   : socket->errorString().toStdString());
  });
  limit_.start();
  socket->connectToHost(QString::fromStdString(server->host), server->port);
  return Ok();
}

void TcpPort::Connected() {
  limit_.stop();
  WatchPeer(*socket_, kSilence);
  opened_.Request();
}

void TcpPort::Fail(const std::string& why) {
  why_ = why;
  lost_.Request();
}

void TcpPort::Lose() {
  Close();
  if (const auto handler = on_lost) handler(address_ + ": " + why_);
}

void TcpPort::Close() {
  limit_.stop();
  opened_.Cancel();
  data_.Cancel();
  lost_.Cancel();
  if (!socket_) return;
  socket_->disconnect();
  socket_->abort();
  socket_.reset();
}

bool TcpPort::is_open() const {
  return socket_ && socket_->state() == QAbstractSocket::ConnectedState;
}

void TcpPort::Write(std::string_view bytes) {
  if (!is_open() || bytes_unsent() + bytes.size() > kMostUnsent) return;
  socket_->write(bytes.data(), static_cast<qint64>(bytes.size()));
}

std::string TcpPort::Read() {
  return socket_ ? socket_->readAll().toStdString() : std::string();
}

std::size_t TcpPort::bytes_waiting() const {
  return socket_ ? static_cast<std::size_t>(socket_->bytesAvailable()) : 0;
}

std::size_t TcpPort::bytes_unsent() const {
  return socket_ ? static_cast<std::size_t>(socket_->bytesToWrite()) : 0;
}

int TcpPort::descriptor() const {
  return is_open() ? static_cast<int>(socket_->socketDescriptor()) : -1;
}

// Raw mode carries bytes alone: the lines stay with the server, and so does what has been handed to the connection.
void TcpPort::SetDtr(bool /*on*/) {}
void TcpPort::SetRts(bool /*on*/) {}
void TcpPort::DropUnsent() {}

}  // namespace kvx::platform
