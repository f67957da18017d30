#include "platform/qt/standard_output.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

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
StandardOutput::~StandardOutput() { Flush(); }

void StandardOutput::WriteLine(const std::string& line) {
  if (gone_ || waiting_.size() + line.size() > kMostWaiting) return;
  waiting_ += line;
  waiting_ += '\n';
  Send();
}

void StandardOutput::Send() {
  while (!waiting_.empty() && !gone_ && Ready(descriptor_, 0)) {
    const ssize_t size = ::write(descriptor_, waiting_.data(), std::min(waiting_.size(), kPiece));
    if (size > 0) {
      waiting_.erase(0, static_cast<std::size_t>(size));
    } else if (errno != EINTR && errno != EAGAIN) {
      gone_ = true;
      waiting_.clear();
    }
  }
  if (!waiting_.empty() && !writable_) {
    writable_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Write);
    QObject::connect(writable_.get(), &QSocketNotifier::activated, writable_.get(), [this] { Send(); });
  }
  if (writable_) writable_->setEnabled(!waiting_.empty());
}

void StandardOutput::Flush() {
  for (int waited = 0; waited < kFlushMilliseconds && !waiting_.empty() && !gone_; waited += 10) {
    Send();
    if (!waiting_.empty() && !Ready(descriptor_, 10)) continue;
  }
}

}  // namespace kvx::platform
