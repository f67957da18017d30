#include "platform/posix/release_guard.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace kvx::platform {
namespace {

constexpr std::array kCrashSignals{SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL};
constexpr std::size_t kLongestRelease = 256;
constexpr std::size_t kStackSize = 64 << 10;
constexpr int kMostWaits = 50;  // for a device that takes nothing at the moment
constexpr int kWaitMilliseconds = 10;

// A signal handler has nothing but statics, and may touch only those that are free of locks.
std::atomic<int> g_device{-1};
std::atomic<std::size_t> g_size{0};
std::atomic<pid_t> g_process{0};
std::array<char, kLongestRelease> g_bytes{};
std::array<struct sigaction, kCrashSignals.size()> g_previous{};
static_assert(std::atomic<std::size_t>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free);

/// Calls nothing but what a signal handler may call. What the system has taken goes out although the program ends.
void WriteRelease() {
  if (g_process != ::getpid()) return;  // a child process has no rig
  const int device = g_device.exchange(-1);
  if (device < 0) return;
  std::size_t written = 0;
  for (int wait = 0; wait < kMostWaits && written < g_size; ++wait) {
    const ssize_t taken = ::write(device, g_bytes.data() + written, g_size - written);
    if (taken > 0) written += static_cast<std::size_t>(taken);
    if (taken >= 0 || errno == EINTR) continue;
    if (errno != EAGAIN) return;
    pollfd ready{.fd = device, .events = POLLOUT, .revents = 0};
    ::poll(&ready, 1, kWaitMilliseconds);
  }
}

void HandleCrash(int number, siginfo_t* info, void*) {
  WriteRelease();
  for (std::size_t i = 0; i < kCrashSignals.size(); ++i) {
    if (kCrashSignals[i] == number) ::sigaction(number, &g_previous[i], nullptr);
  }
  // A fault happens again as soon as the handler has returned; a signal that was sent does not.
  if (info->si_code <= 0) ::raise(number);
}

}  // namespace

/// The crash may be that of the stack.
struct PosixReleaseGuard::Stack {
  std::array<char, kStackSize> bytes{};
  stack_t before{};
};

PosixReleaseGuard::PosixReleaseGuard(std::function<int()> device)
    : device_(std::move(device)), stack_(std::make_unique<Stack>()) {
  static const int at_exit = std::atexit(WriteRelease);
  static_cast<void>(at_exit);
  g_process = ::getpid();
  stack_t stack{};
  stack.ss_sp = stack_->bytes.data();
  stack.ss_size = stack_->bytes.size();
  ::sigaltstack(&stack, &stack_->before);
  struct sigaction action {};
  action.sa_sigaction = HandleCrash;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (std::size_t i = 0; i < kCrashSignals.size(); ++i) ::sigaction(kCrashSignals[i], &action, &g_previous[i]);
}

PosixReleaseGuard::~PosixReleaseGuard() {
  Disarm();
  for (std::size_t i = 0; i < kCrashSignals.size(); ++i) ::sigaction(kCrashSignals[i], &g_previous[i], nullptr);
  ::sigaltstack(&stack_->before, nullptr);
}

void PosixReleaseGuard::Arm(std::string_view bytes) {
  Disarm();
  const int device = device_();
  if (device < 0 || bytes.size() > g_bytes.size()) return;
  std::copy(bytes.begin(), bytes.end(), g_bytes.begin());
  g_size = bytes.size();
  g_device = ::fcntl(device, F_DUPFD_CLOEXEC, 0);
}

void PosixReleaseGuard::Disarm() {
  const int device = g_device.exchange(-1);
  if (device >= 0) ::close(device);
}

}  // namespace kvx::platform
