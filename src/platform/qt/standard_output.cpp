#include "platform/qt/standard_output.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace kvx::platform {
namespace {

constexpr std::size_t kPiece = 4096;  // what a pipe that is ready takes without waiting
constexpr int kFlushMilliseconds = 500;

bool Ready(int descriptor, int milliseconds) {
  pollfd state{descriptor, POLLOUT, 0};
  return ::poll(&state, 1, milliseconds) > 0;
}

}  // namespace

StandardOutput::StandardOutput(int descriptor) : descriptor_(descriptor) {}
StandardOutput::~StandardOutput() {
  Flush();
}

void StandardOutput::Add(const std::string& line, std::size_t most) {
  if (gone_ || bytes_waiting() + line.size() > most) return;
  if (sent_ > kMostWaiting / 2) waiting_.erase(0, std::exchange(sent_, 0));
  waiting_ += line;
  waiting_ += '\n';
  Send();
}

void StandardOutput::Send() {
  while (bytes_waiting() > 0 && !gone_ && Ready(descriptor_, 0)) {
    const ssize_t size = ::write(descriptor_, waiting_.data() + sent_, std::min(bytes_waiting(), kPiece));
    if (size > 0) {
      sent_ += static_cast<std::size_t>(size);
    } else if (errno != EINTR && errno != EAGAIN) {
      gone_ = true;
    }
  }
  if (gone_ || bytes_waiting() == 0) {
    waiting_.clear();
    sent_ = 0;
  }
  const bool wanted = bytes_waiting() > 0;
  if (wanted && !writable_) {
    writable_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Write);
    QObject::connect(writable_.get(), &QSocketNotifier::activated, writable_.get(), [this] { Send(); });
  }
  if (writable_) writable_->setEnabled(wanted);
}

void StandardOutput::Flush() {
  for (int waited = 0; waited < kFlushMilliseconds && bytes_waiting() > 0; waited += 10) {
    Send();
    if (bytes_waiting() > 0) Ready(descriptor_, 10);
  }
}

}  // namespace kvx::platform
