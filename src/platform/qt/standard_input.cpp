#include "platform/qt/standard_input.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QPointer>
#include <QTimer>
#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

namespace kvx::platform {

using namespace std::chrono_literals;

StandardInput::StandardInput(int descriptor) : descriptor_(descriptor), read_([this] { ReadSome(); }) {}

void StandardInput::Start() {
  struct stat facts {};
  pollable_ = ::fstat(descriptor_, &facts) == 0 && !S_ISREG(facts.st_mode);
  terminal_ = ::isatty(descriptor_) == 1;
  if (pollable_) {
    readable_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(readable_.get(), &QSocketNotifier::activated, &context_, [this] {
      readable_->setEnabled(false);
      read_.Request();
    });
  } else {
    read_.Request();
  }
}

void StandardInput::Wait() {
  if (pollable_) {
    readable_->setEnabled(true);
  } else {
    read_.Request();
  }
}

void StandardInput::ReadSome() {
  const pid_t foreground = terminal_ ? ::tcgetpgrp(descriptor_) : 0;  // negative: a terminal without job control
  if (foreground > 0 && foreground != ::getpgrp()) {
    // In the background of a shell what is typed is not for us, and reading it would stop the program.
    QTimer::singleShot(1s, &context_, [this] { Wait(); });
    return;
  }
  pollfd state{descriptor_, POLLIN, 0};
  if (pollable_ && ::poll(&state, 1, 0) == 0) return Wait();
  std::array<char, 4096> piece;
  const ssize_t size = ::read(descriptor_, piece.data(), piece.size());
  if (size > 0) {
    if (Take({piece.data(), static_cast<std::size_t>(size)})) Wait();
  } else if (size < 0 && (errno == EINTR || errno == EAGAIN)) {
    Wait();
  } else {
    End();
  }
}

/// Returns whether this object still exists.
bool StandardInput::Take(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    if (!overlong_) line_ += bytes.substr(0, end);
    if (line_.size() > kLongestLine) {
      overlong_ = true;
      line_.clear();
    }
    if (end == std::string_view::npos) return true;
    bytes.remove_prefix(end + 1);
    if (!Deliver()) return false;
  }
  return true;
}

bool StandardInput::Deliver() {
  const QPointer<QObject> alive(&context_);
  std::string line = std::exchange(line_, {});
  if (std::exchange(overlong_, false)) {
    if (const auto handler = on_overlong) handler();
  } else {
    if (line.ends_with('\r')) line.pop_back();
    if (const auto handler = on_line) handler(line);
  }
  return !alive.isNull();
}

void StandardInput::End() {
  readable_.reset();
  if ((!line_.empty() || overlong_) && !Deliver()) return;
  if (const auto handler = on_end) handler();
}

}  // namespace kvx::platform
