#include "platform/numbered_port.h"

#include <utility>

namespace kvx::platform {

NumberedPort::NumberedPort(TableSource table, Maker maker) : table_(std::move(table)), maker_(std::move(maker)) {}

NumberedPort::~NumberedPort() = default;

Status NumberedPort::Open(const PortSettings& settings) {
  if (settings.number < 1) {
    Close();
    return Error{ErrorCode::kInvalid, "no port is chosen"};
  }
  const std::string address = table_().AddressOf(settings.number);
  if (!backend_ || address != address_) Change(address);
  if (!backend_) {
    return Error{ErrorCode::kInvalid, "COM" + std::to_string(settings.number) + ": \"" + address +
                                          "\" in the port table is no kind of port"};
  }
  return backend_->Open(settings);
}

void NumberedPort::Change(const std::string& address) {
  Close();
  retired_ = std::exchange(backend_, nullptr);
  address_ = address;
  backend_ = maker_(address);
  if (!backend_) return;
  // Handlers are copied before they run: one may end this port, and itself with it.
  const SerialPort* source = backend_.get();
  backend_->on_opened = [this, source] {
    if (const auto handler = on_opened; handler && source == backend_.get()) handler();
  };
  backend_->on_data = [this, source] {
    if (const auto handler = on_data; handler && source == backend_.get()) handler();
  };
  backend_->on_lost = [this, source](const std::string& why) {
    if (const auto handler = on_lost; handler && source == backend_.get()) handler(why);
  };
}

void NumberedPort::Close() {
  if (backend_) backend_->Close();
}

bool NumberedPort::is_open() const {
  return backend_ && backend_->is_open();
}

void NumberedPort::Write(std::string_view bytes) {
  if (backend_) backend_->Write(bytes);
}

std::string NumberedPort::Read() {
  return backend_ ? backend_->Read() : std::string();
}

std::size_t NumberedPort::bytes_waiting() const {
  return backend_ ? backend_->bytes_waiting() : 0;
}

std::size_t NumberedPort::bytes_unsent() const {
  return backend_ ? backend_->bytes_unsent() : 0;
}

void NumberedPort::SetDtr(bool on) {
  if (backend_) backend_->SetDtr(on);
}

void NumberedPort::SetRts(bool on) {
  if (backend_) backend_->SetRts(on);
}

void NumberedPort::DropUnsent() {
  if (backend_) backend_->DropUnsent();
}

}  // namespace kvx::platform
