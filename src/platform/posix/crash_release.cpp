#include "platform/posix/crash_release.h"

#include <fcntl.h>
#include <linux/ppdev.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

namespace kvx::platform {
namespace {

/// A process cannot go on after one of these: they are taken whoever else wants them.
constexpr std::array kCrashSignals{SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL};
/// All signals end a process but these, and those that cannot be caught.
constexpr std::array kHarmlessSignals{SIGCHLD, SIGCONT, SIGURG, SIGWINCH, SIGTSTP, SIGTTIN, SIGTTOU, SIGKILL, SIGSTOP};
constexpr std::size_t kSignals = 65;  // 1 to 64
constexpr std::size_t kMostReleases =
    8;  // a program has six: rig, keyer, its line, the line before it, two parallel ports
constexpr std::size_t kLongestRelease = 256;
constexpr std::size_t kStackSize = 64 << 10;
constexpr int kMostWaits = 50;  // for a device that takes nothing at the moment
constexpr int kWaitMilliseconds = 10;

enum class Kind { kBytes, kLines, kPort, kData };

template <std::size_t size>
bool IsOneOf(int number, const std::array<int, size>& numbers) {
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

}  // namespace

/// What a signal handler has of one of them: statics without locks.
struct CrashRelease::Slot {
  std::atomic<int> device{-1};
  bool taken = false;
  std::optional<TimePoint> deadline;
  Kind kind = Kind::kBytes;
  std::size_t size = 0;
  std::array<char, kLongestRelease> bytes{};
  int lowered = 0;
  int raised = 0;
  ppdev_frob_struct control{};
  std::uint8_t data = 0;

  void Act(int open) const;
  static void EndAll(bool lines);
  static void HandleEnd(int number, siginfo_t* info, void*);
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

/// Whoever arms or disarms, or makes a release while the program goes on, holds this. A signal handler does not: what
/// it takes is never given back.
std::mutex g_lock;
std::atomic<pid_t> g_process{0};
std::atomic<pid_t> g_releasing{0};  // the thread that makes the releases of the end
std::atomic<bool> g_ending{false};
std::atomic<bool> g_held{false};
std::atomic<int> g_wake{-1};
std::array<struct sigaction, kSignals> g_previous{};
std::array<bool, kSignals> g_caught{};
std::size_t g_installed = 0;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free &&
              std::atomic<pid_t>::is_always_lock_free);

std::unique_ptr<Stack>& signal_stack() {
  static auto* stack = new std::unique_ptr<Stack>();  // must outlive every static object that may crash at its end
  return *stack;
}

/// A broken connection must not raise a signal of its own.
ssize_t WriteSome(int device, const char* bytes, std::size_t size) {
  const ssize_t sent = ::send(device, bytes, size, MSG_NOSIGNAL);
  return sent >= 0 || errno != ENOTSOCK ? sent : ::write(device, bytes, size);
}

/// What the system has taken goes out although the program ends.
void WriteAll(int device, const char* bytes, std::size_t size) {
  std::size_t written = 0;
  for (int wait = 0; wait < kMostWaits && written < size; ++wait) {
    const ssize_t taken = WriteSome(device, bytes + written, size - written);
    if (taken > 0) written += static_cast<std::size_t>(taken);
    if (taken >= 0 || errno == EINTR) continue;
    if (errno != EAGAIN) return;
    pollfd ready{.fd = device, .events = POLLOUT, .revents = 0};
    ::poll(&ready, 1, kWaitMilliseconds);
  }
}

/// For a program that goes on and may drop what its serial device has not sent.
void WaitUntilSent(int device) {
  int unsent = 0;
  for (int wait = 0; wait < kMostWaits && ::ioctl(device, TIOCOUTQ, &unsent) == 0 && unsent > 0; ++wait)
    ::poll(nullptr, 0, kWaitMilliseconds);
}

void Wake() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(g_wake, &one, sizeof one);
}

}  // namespace

/// Calls nothing but what a signal handler may call.
void CrashRelease::Slot::Act(int open) const {
  if (kind == Kind::kBytes) WriteAll(open, bytes.data(), size);
  if (kind == Kind::kLines && lowered != 0) ::ioctl(open, TIOCMBIC, &lowered);
  if (kind == Kind::kLines && raised != 0) ::ioctl(open, TIOCMBIS, &raised);
  if (kind == Kind::kPort) ::ioctl(open, PPFCONTROL, &control);
  if (kind == Kind::kData) ::ioctl(open, PPWDATA, &data);
}

/// Lines are released in an instant, bytes may have to wait for their device.
void CrashRelease::Slot::EndAll(bool lines) {
  for (Slot& slot : all) {
    if ((slot.kind != Kind::kBytes) != lines) continue;
    const int open = slot.device.exchange(-1);  // two threads may crash at once
    if (open >= 0) slot.Act(open);
  }
}

void CrashRelease::ReleaseForGood() {
  if (g_process != ::getpid()) return;  // a child process has no transmitter
  pid_t other = 0;
  const pid_t self = ::gettid();
  if (!g_releasing.compare_exchange_strong(other, self)) {
    // Another thread is about it and must come to its end; a crash within a release does not wait for itself.
    const int most = other == self ? 0 : kMostWaits * static_cast<int>(kMostReleases);
    for (int wait = 0; wait < most && g_releasing != 0; ++wait) ::poll(nullptr, 0, kWaitMilliseconds);
    return;
  }
  g_ending = true;
  Slot::EndAll(true);
  Slot::EndAll(false);
  g_releasing = 0;
}

void CrashRelease::Slot::HandleEnd(int number, siginfo_t* info, void*) {
  ReleaseForGood();
  ::sigaction(number, &g_previous[static_cast<std::size_t>(number)], nullptr);
  // A fault happens again as soon as the handler has returned; a signal that was sent does not.
  if (info->si_code <= 0 || !IsOneOf(number, kCrashSignals)) ::raise(number);
}

void CrashRelease::Slot::Install() {
  static const int at_exit = std::atexit(ReleaseForGood);
  static_cast<void>(at_exit);
  g_process = ::getpid();
  signal_stack() = std::make_unique<Stack>();
  stack_t stack{};
  stack.ss_sp = signal_stack()->bytes.data();
  stack.ss_size = signal_stack()->bytes.size();
  ::sigaltstack(&stack, &signal_stack()->before);
  struct sigaction action {};
  action.sa_sigaction = HandleEnd;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (int number = 1; number < static_cast<int>(kSignals); ++number) {
    const auto i = static_cast<std::size_t>(number);
    if (IsOneOf(number, kHarmlessSignals) || ::sigaction(number, nullptr, &g_previous[i]) != 0) continue;
    g_caught[i] = g_previous[i].sa_handler == SIG_DFL || IsOneOf(number, kCrashSignals);
    if (g_caught[i]) ::sigaction(number, &action, nullptr);
  }
}

void CrashRelease::Slot::Uninstall() {
  for (std::size_t i = 1; i < kSignals; ++i) {
    if (std::exchange(g_caught[i], false)) ::sigaction(static_cast<int>(i), &g_previous[i], nullptr);
  }
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
  if (const int device = slot_->device; device >= 0) {  // its owner has not released: the transmitter may be keyed
    slot_->Act(device);
    if (slot_->kind == Kind::kBytes) WaitUntilSent(device);
  }
  Disarm();
  slot_->taken = false;
  if (--g_installed == 0) Slot::Uninstall();
}

void CrashRelease::ArmBytes(int device, std::string_view bytes) {
  if (bytes.size() > kLongestRelease) device = -1;
  Arm(device, [&](Slot& slot) {
    slot.kind = Kind::kBytes;
    slot.size = bytes.size();
    std::copy(bytes.begin(), bytes.end(), slot.bytes.begin());
  });
}

void CrashRelease::ArmLines(int device, int lowered, int raised) {
  Arm(device, [&](Slot& slot) {
    slot.kind = Kind::kLines;
    slot.lowered = lowered;
    slot.raised = raised;
  });
}

void CrashRelease::ArmPort(int device, std::uint8_t mask, std::uint8_t value) {
  Arm(device, [&](Slot& slot) {
    slot.kind = Kind::kPort;
    slot.control = {.mask = mask, .val = value};
  });
}

void CrashRelease::ArmData(int device, std::uint8_t data) {
  Arm(device, [&](Slot& slot) {
    slot.kind = Kind::kData;
    slot.data = data;
  });
}

void CrashRelease::Arm(int device, const std::function<void(Slot&)>& describe) {
  Disarm();
  if (slot_ == nullptr || device < 0) return;
  {
    const std::lock_guard held(g_lock);
    const int own = ::fcntl(device, F_DUPFD_CLOEXEC, 0);
    if (own < 0) return;
    describe(*slot_);
    slot_->device = own;  // last: a handler may come at any moment
  }
  Wake();
}

void CrashRelease::ReleaseAfter(Duration limit) {
  if (slot_ == nullptr) return;
  {
    const std::lock_guard held(g_lock);
    if (slot_->device >= 0) slot_->deadline = std::chrono::steady_clock::now() + limit;
  }
  Wake();
}

void CrashRelease::Disarm() {
  if (slot_ == nullptr) return;
  const std::lock_guard held(g_lock);
  slot_->deadline.reset();
  const int device = slot_->device.exchange(-1);
  if (device >= 0) ::close(device);
}

bool CrashRelease::ReleaseForNow(std::optional<TimePoint> due) {
  const std::lock_guard held(g_lock);
  bool any = false;
  for (const bool lines : {true, false}) {
    for (Slot& slot : Slot::all) {
      const int device = slot.device;
      if (device < 0 || (slot.kind != Kind::kBytes) != lines) continue;
      if (due && (!slot.deadline || *slot.deadline > *due)) continue;
      g_held = any = true;  // before the release, so that nobody keys after it
      slot.deadline.reset();
      slot.Act(device);
    }
  }
  return any;
}

void CrashRelease::AllowKeying() {
  g_held = false;
}

bool CrashRelease::any_armed() {
  return std::any_of(Slot::all.begin(), Slot::all.end(), [](const Slot& slot) { return slot.device >= 0; });
}

std::optional<TimePoint> CrashRelease::next_deadline() {
  const std::lock_guard held(g_lock);
  std::optional<TimePoint> next;
  for (const Slot& slot : Slot::all) {
    if (slot.deadline) next = std::min(next.value_or(*slot.deadline), *slot.deadline);
  }
  return next;
}

void CrashRelease::WakeAtChanges(int event) {
  g_wake = event;
}

bool CrashRelease::keying_ended() {
  return g_ending || g_held;
}

}  // namespace kvx::platform
