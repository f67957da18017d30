#include "platform/posix/crash_release.h"

#include <fcntl.h>
#include <linux/ppdev.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <memory>

namespace kvx::platform {
namespace {

constexpr std::array kCrashSignals{SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL};
constexpr std::size_t kMostReleases = 8;
constexpr std::size_t kLongestRelease = 256;
constexpr std::size_t kStackSize = 64 << 10;
constexpr int kMostWaits = 50;  // for a device that takes nothing at the moment
constexpr int kWaitMilliseconds = 10;

enum class Kind { kBytes, kLines, kPort };

}  // namespace

/// What a signal handler has of one of them: statics without locks.
struct CrashRelease::Slot {
  std::atomic<int> device{-1};
  bool taken = false;
  Kind kind = Kind::kBytes;
  std::size_t size = 0;
  std::array<char, kLongestRelease> bytes{};
  int lowered = 0;
  int raised = 0;
  ppdev_frob_struct control{};

  void Act(int open) const;
  static void ActAll(bool lines);
  static void HandleCrash(int number, siginfo_t* info, void*);
  static void HandleExit();
  static void Install();
  static void Uninstall();

  static std::array<Slot, kMostReleases> all;
};

std::array<CrashRelease::Slot, kMostReleases> CrashRelease::Slot::all{};

namespace {

/// The crash may be that of the stack.
struct Stack {
  std::array<char, kStackSize> bytes{};
  stack_t before{};
};

std::atomic<pid_t> g_process{0};
std::atomic<bool> g_ending{false};
std::array<struct sigaction, kCrashSignals.size()> g_previous{};
std::size_t g_installed = 0;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free &&
              std::atomic<pid_t>::is_always_lock_free);

std::unique_ptr<Stack>& signal_stack() {
  static auto* stack = new std::unique_ptr<Stack>();  // must outlive every static object that may crash at its end
  return *stack;
}

/// What the system has taken goes out although the program ends.
void WriteAll(int device, const char* bytes, std::size_t size) {
  std::size_t written = 0;
  for (int wait = 0; wait < kMostWaits && written < size; ++wait) {
    const ssize_t taken = ::write(device, bytes + written, size - written);
    if (taken > 0) written += static_cast<std::size_t>(taken);
    if (taken >= 0 || errno == EINTR) continue;
    if (errno != EAGAIN) return;
    pollfd ready{.fd = device, .events = POLLOUT, .revents = 0};
    ::poll(&ready, 1, kWaitMilliseconds);
  }
}

}  // namespace

/// Calls nothing but what a signal handler may call.
void CrashRelease::Slot::Act(int open) const {
  if (kind == Kind::kBytes) WriteAll(open, bytes.data(), size);
  if (kind == Kind::kLines && lowered != 0) ::ioctl(open, TIOCMBIC, &lowered);
  if (kind == Kind::kLines && raised != 0) ::ioctl(open, TIOCMBIS, &raised);
  if (kind == Kind::kPort) ::ioctl(open, PPFCONTROL, &control);
}

/// Lines are released in an instant, bytes may have to wait for their device.
void CrashRelease::Slot::ActAll(bool lines) {
  for (Slot& slot : all) {
    if ((slot.kind != Kind::kBytes) != lines) continue;
    const int open = slot.device.exchange(-1);  // two threads may crash at once
    if (open >= 0) slot.Act(open);
  }
}

void CrashRelease::Slot::HandleExit() {
  if (g_process != ::getpid()) return;  // a child process has no transmitter
  g_ending = true;
  ActAll(true);
  ActAll(false);
}

void CrashRelease::Slot::HandleCrash(int number, siginfo_t* info, void*) {
  HandleExit();
  for (std::size_t i = 0; i < kCrashSignals.size(); ++i) {
    if (kCrashSignals[i] == number) ::sigaction(number, &g_previous[i], nullptr);
  }
  // A fault happens again as soon as the handler has returned; a signal that was sent does not.
  if (info->si_code <= 0) ::raise(number);
}

void CrashRelease::Slot::Install() {
  static const int at_exit = std::atexit(HandleExit);
  static_cast<void>(at_exit);
  g_process = ::getpid();
  signal_stack() = std::make_unique<Stack>();
  stack_t stack{};
  stack.ss_sp = signal_stack()->bytes.data();
  stack.ss_size = signal_stack()->bytes.size();
  ::sigaltstack(&stack, &signal_stack()->before);
  struct sigaction action {};
  action.sa_sigaction = HandleCrash;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (std::size_t i = 0; i < kCrashSignals.size(); ++i) ::sigaction(kCrashSignals[i], &action, &g_previous[i]);
}

void CrashRelease::Slot::Uninstall() {
  for (std::size_t i = 0; i < kCrashSignals.size(); ++i) ::sigaction(kCrashSignals[i], &g_previous[i], nullptr);
  ::sigaltstack(&signal_stack()->before, nullptr);
  signal_stack().reset();
}

CrashRelease::CrashRelease() {
  const auto free = std::find_if(Slot::all.begin(), Slot::all.end(), [](const Slot& slot) { return !slot.taken; });
  assert(free != Slot::all.end());
  if (free == Slot::all.end()) return;
  slot_ = &*free;
  slot_->taken = true;
  if (g_installed++ == 0) Slot::Install();
}

CrashRelease::~CrashRelease() {
  if (slot_ == nullptr) return;
  Disarm();
  slot_->taken = false;
  if (--g_installed == 0) Slot::Uninstall();
}

int CrashRelease::Prepare(int device) {
  Disarm();
  return slot_ == nullptr || device < 0 ? -1 : ::fcntl(device, F_DUPFD_CLOEXEC, 0);
}

void CrashRelease::ArmBytes(int device, std::string_view bytes) {
  const int own = Prepare(bytes.size() <= kLongestRelease ? device : -1);
  if (own < 0) return;
  slot_->kind = Kind::kBytes;
  slot_->size = bytes.size();
  std::copy(bytes.begin(), bytes.end(), slot_->bytes.begin());
  slot_->device = own;
}

void CrashRelease::ArmLines(int device, int lowered, int raised) {
  const int own = Prepare(device);
  if (own < 0) return;
  slot_->kind = Kind::kLines;
  slot_->lowered = lowered;
  slot_->raised = raised;
  slot_->device = own;
}

void CrashRelease::ArmPort(int device, std::uint8_t mask, std::uint8_t value) {
  const int own = Prepare(device);
  if (own < 0) return;
  slot_->kind = Kind::kPort;
  slot_->control = {.mask = mask, .val = value};
  slot_->device = own;
}

void CrashRelease::Disarm() {
  if (slot_ == nullptr) return;
  const int device = slot_->device.exchange(-1);
  if (device >= 0) ::close(device);
}

bool CrashRelease::ending() {
  return g_ending;
}

}  // namespace kvx::platform
