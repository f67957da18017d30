#include "platform/posix/release_watch.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <utility>

#include "platform/posix/crash_release.h"
#include "platform/posix/release_message.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr std::array kTerminalStops{SIGTSTP, SIGTTIN, SIGTTOU};
constexpr Duration kLook = 1s;       // for a sleep, as long as anything is armed
constexpr Duration kRealSleep = 1s;  // shorter is no sleep
constexpr Duration kBetweenStarts = 1s;

// What a signal handler has.
std::atomic<int> g_stop{0};
std::atomic<int> g_stop_event{-1};

void Write(int event) {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(event, &one, sizeof one);
}

void Drain(int event) {
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t size = ::read(event, &count, sizeof count);
}

void HandleStop(int number) {
  const int saved = errno;
  g_stop = number;
  Write(g_stop_event);
  errno = saved;
}

Duration Since(clockid_t clock) {
  timespec now{};
  ::clock_gettime(clock, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace

Duration TimeAsleep() {
  return Since(CLOCK_BOOTTIME) - Since(CLOCK_MONOTONIC);
}

struct ReleaseWatch::Previous {
  std::array<struct sigaction, kTerminalStops.size()> stops{};
};

ReleaseWatch::ReleaseWatch(std::function<Duration()> asleep, ReleaseProcess* process)
    : asleep_(std::move(asleep)),
      process_(process),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      previous_(std::make_unique<Previous>()) {
  CrashRelease::WakeAtChanges(wake_.get());
  if (process_ != nullptr) CrashRelease::ReportTo(process_->socket());
  sigset_t all;  // the thread inherits the mask: signals are for the engine's thread
  sigset_t before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  running_ = ::pthread_create(&thread_, nullptr, Run, this) == 0;
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (!running_) return;
  ::pthread_setname_np(thread_, "tx-release");
  CatchStops();
}

/// What is ignored, as by a shell without job control, stays ignored.
void ReleaseWatch::CatchStops() {
  g_stop_event = wake_.get();
  struct sigaction action {};
  action.sa_handler = HandleStop;
  action.sa_flags = SA_RESTART;
  for (std::size_t i = 0; i < kTerminalStops.size(); ++i) {
    ::sigaction(kTerminalStops[i], nullptr, &previous_->stops[i]);
    if (previous_->stops[i].sa_handler == SIG_DFL) ::sigaction(kTerminalStops[i], &action, nullptr);
  }
}

ReleaseWatch::~ReleaseWatch() {
  CrashRelease::WakeAtChanges(-1);
  CrashRelease::AllowKeying();
  CrashRelease::ReportTo(-1);
  if (!running_) return;
  ending_ = true;
  Write(wake_.get());
  ::pthread_join(thread_, nullptr);
  for (std::size_t i = 0; i < kTerminalStops.size(); ++i) ::sigaction(kTerminalStops[i], &previous_->stops[i], nullptr);
  g_stop_event = -1;
}

std::string ReleaseWatch::Resume() {
  Drain(event_.get());
  CrashRelease::AllowKeying();
  switch (cause_.exchange(kNone)) {
    case kOverdue:
      return "The transmitter was keyed for too long and has been released";
    case kSlept:
      return "The computer has slept: what was being sent has been dropped and the transmitter released";
    case kStopped:
      return "The program was stopped: what was being sent has been dropped and the transmitter released";
    case kHung:
      return "The program hung when it was asked to end: the transmitter has been released";
    case kNone:
      break;
  }
  return {};
}

void* ReleaseWatch::Run(void* self) {
  static_cast<ReleaseWatch*>(self)->Work();
  return nullptr;
}

void ReleaseWatch::Work() {
  Duration asleep = asleep_();
  while (!ending_) {
    const bool armed = CrashRelease::any_armed();
    if (!armed) asleep = asleep_();
    Wait(armed);
    MindProcess();
    // One that has been armed since then has not slept yet.
    const Duration before = std::exchange(asleep, asleep_());
    if (armed && asleep - before > kRealSleep && CrashRelease::ReleaseForNow()) Tell(kSlept);
    if (const int number = g_stop.exchange(0); number != 0) Stop(number);
    if (const auto end = CrashRelease::end_expected(); end && *end <= std::chrono::steady_clock::now()) {
      CrashRelease::EndsInOrder();
      if (CrashRelease::ReleaseForNow()) Tell(kHung);
    }
    if (CrashRelease::ReleaseForNow(std::chrono::steady_clock::now())) Tell(kOverdue);
  }
}

/// Wakes nobody as long as nothing is armed.
void ReleaseWatch::Wait(bool armed) const {
  const TimePoint now = std::chrono::steady_clock::now();
  const bool lacks_process = process_ != nullptr && process_->socket() < 0;
  std::optional<TimePoint> until;
  if (armed) until = std::min(CrashRelease::next_deadline().value_or(now + kLook), now + kLook);
  if (const auto end = CrashRelease::end_expected()) until = std::min(until.value_or(*end), *end);
  if (lacks_process) until = std::min(until.value_or(next_start_), next_start_);
  const Duration left = std::max<Duration>(until.value_or(now) - now, 0s);
  const auto timeout = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  std::array<pollfd, 2> news{pollfd{wake_.get(), POLLIN, 0},
                             pollfd{process_ == nullptr ? -1 : process_->socket(), POLLIN, 0}};
  ::poll(news.data(), news.size(), until ? static_cast<int>(timeout) : -1);
  if (news[0].revents != 0) Drain(wake_.get());
}

void ReleaseWatch::MindProcess() {
  if (process_ == nullptr || ending_) return;
  if (process_->socket() >= 0 && !HearProcess()) {
    CrashRelease::ReportTo(-1);
    process_->Kill();
  }
  const TimePoint now = std::chrono::steady_clock::now();
  if (process_->socket() >= 0 || now < next_start_) return;
  next_start_ = now + kBetweenStarts;
  if (process_->Start()) CrashRelease::ReportTo(process_->socket());
}

/// False when it does not work any more.
bool ReleaseWatch::HearProcess() {
  ReleaseReport report{};
  ssize_t size = 0;
  while ((size = ::recv(process_->socket(), &report, sizeof report, MSG_DONTWAIT)) == sizeof report) {
    CrashRelease::HoldKeying();
    Tell(report == ReleaseReport::kStopped ? kStopped : kOverdue);
  }
  return size < 0 && (errno == EAGAIN || errno == EINTR) && CrashRelease::reports();
}

/// The signal takes its ordinary course when the releases have been made: it goes on here when the program is
/// continued, or at once when nobody could continue it.
void ReleaseWatch::Stop(int number) {
  if (CrashRelease::ReleaseForNow()) Tell(kStopped);
  struct sigaction ordinary {};
  struct sigaction ours {};
  ordinary.sa_handler = SIG_DFL;
  ::sigaction(number, &ordinary, &ours);
  ::raise(number);
  sigset_t this_one;
  ::sigemptyset(&this_one);
  ::sigaddset(&this_one, number);
  ::pthread_sigmask(SIG_UNBLOCK, &this_one, nullptr);
  ::pthread_sigmask(SIG_BLOCK, &this_one, nullptr);
  ::sigaction(number, &ours, nullptr);
}

void ReleaseWatch::Tell(Cause cause) {
  cause_ = cause;
  Write(event_.get());
}

}  // namespace kvx::platform
