#include "platform/qt/qt_serial_device.h"

#include <QSerialPort>
#include <utility>

namespace kvx::platform {
namespace {

constexpr qint64 kMostWaiting = 1 << 20;
constexpr std::size_t kMostUnsent = 64 << 10;
/// So many faults in a row without a byte, and the device is given up even though the system still shows it.
constexpr int kMostFaults = 20;

}  // namespace

QtSerialDevice::QtSerialDevice(std::string path)
    : path_(std::move(path)),
      data_([this] {
        if (const auto handler = on_data; handler && bytes_waiting() > 0) handler();
      }),
      trouble_([this] { Examine(); }) {}

QtSerialDevice::~QtSerialDevice() {
  Close();
}

Status QtSerialDevice::Open(const PortSettings& settings) {
  Close();
  Result<DeviceClaim> claim = DeviceClaim::Take(path_, user_);
  if (!claim) return claim.error();
  claim_ = std::move(*claim);
  // The system raises both lines at every opening: they go back at once, here and after the second opening below.
  claim_->SetLines(settings.dtr, settings.rts);
  const Status configured = Configure(settings);
  if (!configured) {
    Close();
    return configured.error();
  }
  return Ok();
}

Status QtSerialDevice::Configure(const PortSettings& settings) {
  port_ = std::make_unique<QSerialPort>(QString::fromLocal8Bit(claim_->device().c_str()));
  port_->setBaudRate(settings.speed);
  port_->setStopBits(settings.stop_bits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop);
  port_->setReadBufferSize(kMostWaiting);
  const bool opened = port_->open(QIODevice::ReadWrite);
  claim_->SetLines(settings.dtr, settings.rts);
  if (!opened) {
    // The device itself could be opened: what is refused now is the lock file that older programs look for.
    if (port_->error() == QSerialPort::PermissionError) {
      return Error{ErrorCode::kBusy, path_ + ": " + user_.InUseBy(claim_->device())};
    }
    return Error{ErrorCode::kIo, path_ + ": " + port_->errorString().toStdString()};
  }
  claim_->EndPseudoExclusive();
  faults_ = 0;
  QObject::connect(port_.get(), &QSerialPort::readyRead, port_.get(), [this] {
    faults_ = 0;
    data_.Request();
  });
  // A device that has gone raises this without end. The port cannot be closed from inside its own signal.
  QObject::connect(port_.get(), &QSerialPort::errorOccurred, port_.get(), [this](QSerialPort::SerialPortError error) {
    if (error == QSerialPort::NoError) return;
    ++faults_;
    trouble_.Request();
  });
  return Ok();
}

void QtSerialDevice::Examine() {
  // Faults that pass: another reader took the bytes first, or the device has no such line.
  if (!port_ || (!claim_->hung_up() && faults_ < kMostFaults)) return;
  Close();
  if (const auto handler = on_lost) handler(path_ + ": the device has gone (unplugged or switched off)");
}

void QtSerialDevice::Close() {
  data_.Cancel();
  trouble_.Cancel();
  if (port_) {
    port_->disconnect();
    if (port_->isOpen()) port_->clear();  // the last close of a device waits for its output, half a minute if need be
    port_->close();
    port_.reset();
  }
  if (claim_) claim_->DropUnsent();
  if (claim_) claim_->SetLines(false, false);
  claim_.reset();
}

bool QtSerialDevice::is_open() const {
  return port_ != nullptr;
}

void QtSerialDevice::Write(std::string_view bytes) {
  if (!port_ || static_cast<std::size_t>(port_->bytesToWrite()) + bytes.size() > kMostUnsent) return;
  port_->write(bytes.data(), static_cast<qint64>(bytes.size()));
}

std::string QtSerialDevice::Read() {
  return port_ ? port_->readAll().toStdString() : std::string();
}

std::size_t QtSerialDevice::bytes_waiting() const {
  return port_ ? static_cast<std::size_t>(port_->bytesAvailable()) : 0;
}

std::size_t QtSerialDevice::bytes_unsent() const {
  return port_ ? static_cast<std::size_t>(port_->bytesToWrite()) + claim_->bytes_unsent() : 0;
}

void QtSerialDevice::SetDtr(bool on) {
  if (claim_) claim_->SetDtr(on);
}

void QtSerialDevice::SetRts(bool on) {
  if (claim_) claim_->SetRts(on);
}

int QtSerialDevice::descriptor() const {
  return port_ ? port_->handle() : -1;
}

void QtSerialDevice::DropUnsent() {
  if (port_) port_->clear(QSerialPort::Output);
}

}  // namespace kvx::platform
