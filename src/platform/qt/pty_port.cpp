#include "platform/qt/pty_port.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostWaiting = 1 << 20;
constexpr std::size_t kMostUnsent = 64 << 10;

/// Whether a link is one of ours that was left behind: it leads to a terminal or nowhere.
bool LeftBehind(const std::string& link) {
  std::error_code error;
  const fs::path target = fs::read_symlink(link, error);
  return !error && (target.string().starts_with("/dev/pts/") || !fs::exists(link, error));
}

}  // namespace

PtyPort::PtyPort(std::string link)
    : link_(std::move(link)),
      data_([this] {
        if (const auto handler = on_data; handler && bytes_waiting() > 0) handler();
      }),
      visit_end_([this] {
        if (const auto handler = on_visit_ended) handler();
      }) {}

PtyPort::~PtyPort() {
  Close();
}

Status PtyPort::Open(const PortSettings& /*settings*/) {
  if (is_open()) {
    input_.clear();
    DropUnsent();
    readable_->setEnabled(true);
    return Ok();
  }
  Status made = MakePair();
  if (made) made = MakeLink();
  if (!made) {
    Close();
    return made;
  }
  readable_ = std::make_unique<QSocketNotifier>(master_.get(), QSocketNotifier::Read);
  writable_ = std::make_unique<QSocketNotifier>(master_.get(), QSocketNotifier::Write);
  writable_->setEnabled(false);
  WatchVisits();
  QObject::connect(readable_.get(), &QSocketNotifier::activated, readable_.get(), [this] { Receive(); });
  QObject::connect(writable_.get(), &QSocketNotifier::activated, writable_.get(), [this] { Send(); });
  return Ok();
}

Status PtyPort::MakePair() {
  constexpr int kFlags = O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;
  const auto failure = [] {
    return Error{ErrorCode::kIo, std::string("a virtual port cannot be made: ") + std::strerror(errno)};
  };
  master_ = Descriptor(::posix_openpt(kFlags));
  if (!master_.valid() || ::grantpt(master_.get()) != 0 || ::unlockpt(master_.get()) != 0) return failure();
  std::array<char, 128> name{};
  if (::ptsname_r(master_.get(), name.data(), name.size()) != 0) return failure();
  slave_ = Descriptor(::open(name.data(), kFlags));
  termios modes{};
  if (!slave_.valid() || ::tcgetattr(slave_.get(), &modes) != 0) return failure();
  ::cfmakeraw(&modes);
  if (::tcsetattr(slave_.get(), TCSANOW, &modes) != 0) return failure();
  slave_path_ = name.data();
  return Ok();
}

Status PtyPort::MakeLink() {
  if (link_.empty()) return Ok();
  std::error_code error;
  if (fs::is_symlink(link_, error) && LeftBehind(link_)) fs::remove(link_, error);
  if (fs::exists(fs::symlink_status(link_, error))) {
    return Error{ErrorCode::kBusy, link_ + ": something else stands where the virtual port's link should be"};
  }
  fs::create_symlink(slave_path_, link_, error);
  if (!error) return Ok();
  return Error{ErrorCode::kIo, link_ + ": the virtual port's link cannot be made: " + error.message()};
}

void PtyPort::WatchVisits() {
  visits_ = Descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!visits_.valid() || ::inotify_add_watch(visits_.get(), slave_path_.c_str(), IN_CLOSE) < 0) return;
  visit_ended_ = std::make_unique<QSocketNotifier>(visits_.get(), QSocketNotifier::Read);
  QObject::connect(visit_ended_.get(), &QSocketNotifier::activated, visit_ended_.get(), [this] { VisitEnded(); });
}

void PtyPort::VisitEnded() {
  std::array<char, 4096> events;
  while (::read(visits_.get(), events.data(), events.size()) > 0) continue;
  while (Receive()) continue;
  // A program that took the far end for itself and crashed would lock out its own restart.
  ::ioctl(slave_.get(), TIOCNXCL);
  visit_end_.Cancel();  // it comes behind what has been read now
  visit_end_.Request();
}

void PtyPort::RemoveLink() {
  if (link_.empty() || slave_path_.empty()) return;
  std::error_code error;
  if (fs::read_symlink(link_, error) == slave_path_) fs::remove(link_, error);
}

void PtyPort::Close() {
  data_.Cancel();
  visit_end_.Cancel();
  RemoveLink();
  readable_.reset();
  writable_.reset();
  visit_ended_.reset();
  visits_.Reset();
  slave_.Reset();
  master_.Reset();
  slave_path_.clear();
  input_.clear();
  output_.clear();
}

bool PtyPort::is_open() const {
  return readable_ != nullptr;
}

/// False when there was nothing, or no room for it.
bool PtyPort::Receive() {
  std::array<char, 4096> piece;
  if (input_.size() >= kMostWaiting) return false;
  const ssize_t size = ::read(master_.get(), piece.data(), piece.size());
  if (size <= 0) return false;
  input_.append(piece.data(), static_cast<std::size_t>(size));
  if (input_.size() >= kMostWaiting) readable_->setEnabled(false);
  data_.Request();
  return true;
}

std::string PtyPort::Read() {
  if (readable_) readable_->setEnabled(true);
  return std::exchange(input_, {});
}

void PtyPort::Write(std::string_view bytes) {
  if (!is_open() || output_.size() + bytes.size() > kMostUnsent) return;
  output_ += bytes;
  if (!writable_->isEnabled()) Send();
}

void PtyPort::Send() {
  while (!output_.empty()) {
    const ssize_t size = ::write(master_.get(), output_.data(), output_.size());
    if (size <= 0) break;
    output_.erase(0, static_cast<std::size_t>(size));
  }
  writable_->setEnabled(!output_.empty());
}

std::size_t PtyPort::bytes_waiting() const {
  return input_.size();
}

std::size_t PtyPort::bytes_unsent() const {
  return output_.size();
}

void PtyPort::DropUnsent() {
  output_.clear();
  if (writable_) writable_->setEnabled(false);
}

// A pseudo-terminal has no modem lines.
void PtyPort::SetDtr(bool /*on*/) {}
void PtyPort::SetRts(bool /*on*/) {}

}  // namespace kvx::platform
