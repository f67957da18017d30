#include "platform/qt/stop_signals.h"

#include <fcntl.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>

#include "platform/posix/crash_release.h"

namespace kvx::platform {
namespace {

constexpr std::array kStopSignals{SIGTERM, SIGINT, SIGHUP};

// A signal handler has nothing but statics, and may touch only those that are free of locks.
std::atomic<int> g_pipe{-1};
std::atomic<std::int64_t> g_first_second{0};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

void HandleSignal(int number) {
  const int saved = errno;
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  std::int64_t first = 0;
  // 0 means none yet, hence the 1.
  if (g_first_second.compare_exchange_strong(first, now.tv_sec + 1)) {
    CrashRelease::ExpectOrderlyEnd();
  } else if (now.tv_sec + 1 - first > StopSignals::kPatienceSeconds) {
    CrashRelease::ReleaseForGood();
    ::signal(number, SIG_DFL);
    ::raise(number);
  }
  const char byte = static_cast<char>(number);
  [[maybe_unused]] const ssize_t written = ::write(g_pipe, &byte, 1);
  errno = saved;
}

}  // namespace

struct StopSignals::Previous {
  std::array<struct sigaction, kStopSignals.size()> stop{};
  struct sigaction pipe {};
};

StopSignals::StopSignals()
    : previous_(std::make_unique<Previous>()), stop_([this] {
        if (const auto handler = on_stop) handler(signal_);
        CrashRelease::EndsInOrder();
      }) {
  std::array<int, 2> ends{-1, -1};
  if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) == 0) {
    read_end_ = Descriptor(ends[0]);
    write_end_ = Descriptor(ends[1]);
    readable_ = std::make_unique<QSocketNotifier>(read_end_.get(), QSocketNotifier::Read);
    QObject::connect(readable_.get(), &QSocketNotifier::activated, readable_.get(), [this] { Receive(); });
  }
  g_pipe = write_end_.get();
  g_first_second = 0;
  struct sigaction action {};
  action.sa_handler = HandleSignal;
  action.sa_flags = SA_RESTART;
  for (std::size_t i = 0; i < kStopSignals.size(); ++i) {
    ::sigaction(kStopSignals[i], nullptr, &previous_->stop[i]);
    const bool kept_ignored = kStopSignals[i] == SIGHUP && previous_->stop[i].sa_handler == SIG_IGN;
    if (!kept_ignored) ::sigaction(kStopSignals[i], &action, nullptr);
  }
  action.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &action, &previous_->pipe);
}

StopSignals::~StopSignals() {
  for (std::size_t i = 0; i < kStopSignals.size(); ++i) ::sigaction(kStopSignals[i], &previous_->stop[i], nullptr);
  ::sigaction(SIGPIPE, &previous_->pipe, nullptr);
  g_pipe = -1;
}

void StopSignals::Receive() {
  std::array<char, 64> numbers{};
  const ssize_t size = ::read(read_end_.get(), numbers.data(), numbers.size());
  if (size <= 0 || signal_ != 0) return;
  signal_ = numbers[0];
  stop_.Request();
}

}  // namespace kvx::platform
