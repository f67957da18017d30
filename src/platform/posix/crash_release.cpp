#include "platform/posix/crash_release.h"

#include <fcntl.h>
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
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/posix/release_message.h"

namespace kvx::platform {
namespace {

/// A process cannot go on after one of these: they are taken whoever else wants them.
constexpr std::array kCrashSignals{SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL};
/// All signals end a process but these, and those that cannot be caught.
constexpr std::array kHarmlessSignals{SIGCHLD, SIGCONT, SIGURG, SIGWINCH, SIGTSTP, SIGTTIN, SIGTTOU, SIGKILL, SIGSTOP};
constexpr std::size_t kSignals = 65;  // 1 to 64
constexpr std::size_t kStackSize = 64 << 10;
constexpr int kMostWaits = 50;  // for a device to send what it has taken
constexpr int kWaitMilliseconds = 10;
constexpr Duration kToEnd = std::chrono::milliseconds(300);  // for an engine that works to hear that it shall end

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
  ReleaseAction action;

  void ReportArmed() const;
  static std::uint8_t NumberOf(const Slot& slot) { return static_cast<std::uint8_t>(&slot - all.data()); }
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
std::atomic<std::int64_t> g_end_expected{0};  // nanoseconds of the steady clock, 0: not asked to end
int g_reports = -1;
std::array<struct sigaction, kSignals> g_previous{};
std::array<bool, kSignals> g_caught{};
std::size_t g_installed = 0;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free &&
              std::atomic<pid_t>::is_always_lock_free && std::atomic<std::int64_t>::is_always_lock_free);

std::unique_ptr<Stack>& signal_stack() {
  static auto* stack = new std::unique_ptr<Stack>();  // must outlive every static object that may crash at its end
  return *stack;
}

/// For a program that goes on and may drop what its serial device has not sent. False when that is much.
bool WaitUntilSent(int device) {
  int unsent = 0;
  for (int wait = 0; wait < kMostWaits && ::ioctl(device, TIOCOUTQ, &unsent) == 0 && unsent > 0; ++wait)
    ::poll(nullptr, 0, kWaitMilliseconds);
  return unsent == 0;
}

void Wake() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(g_wake, &one, sizeof one);
}

/// With `device`, unless that is -1. Never waits: a reader that does not read has failed.
void Report(const ReleaseMessage& message, int device = -1) {
  if (g_reports < 0) return;
  iovec content{.iov_base = const_cast<ReleaseMessage*>(&message), .iov_len = sizeof message};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> room{};
  msghdr header{};
  header.msg_iov = &content;
  header.msg_iovlen = 1;
  if (device >= 0) {
    header.msg_control = room.data();
    header.msg_controllen = room.size();
    cmsghdr* const rights = CMSG_FIRSTHDR(&header);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof device);
    std::memcpy(CMSG_DATA(rights), &device, sizeof device);
  }
  if (::sendmsg(g_reports, &header, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) return;
  g_reports = -1;
  Wake();
}

}  // namespace

void CrashRelease::Slot::ReportArmed() const {
  Report({.what = ReleaseMessage::What::kArm, .slot = NumberOf(*this), .action = action}, device);
  if (deadline)
    Report({.what = ReleaseMessage::What::kDue, .slot = NumberOf(*this), .due = deadline->time_since_epoch().count()});
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
  DueReleases due{};
  for (std::size_t i = 0; i < due.size(); ++i)
    due[i] = {.action = &Slot::all[i].action, .device = Slot::all[i].device.exchange(-1)};
  MakeReleases(due);
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
    DueReleases due{DueRelease{.action = &slot_->action, .device = device}};
    const bool is_made =
        MakeReleases(due) && (slot_->action.kind != ReleaseAction::Kind::kBytes || WaitUntilSent(device));
    const std::lock_guard held(g_lock);
    if (!is_made) ::close(slot_->device.exchange(-1));  // and the release process goes on with it
  }
  Disarm();
  slot_->taken = false;
  if (--g_installed == 0) Slot::Uninstall();
}

void CrashRelease::Arm(int device, const ReleaseAction& action) {
  if (device < 0) return Disarm();
  if (slot_ == nullptr) return;
  {
    const std::lock_guard held(g_lock);
    const int own = ::fcntl(device, F_DUPFD_CLOEXEC, 0);
    const int before = slot_->device.exchange(-1);
    if (before >= 0) ::close(before);
    slot_->deadline.reset();
    if (own < 0) return Report({.slot = Slot::NumberOf(*slot_)});
    slot_->action = action;
    slot_->action.KeepModes(own);
    slot_->device = own;  // last: a handler may come at any moment
    slot_->ReportArmed();
  }
  Wake();
}

void CrashRelease::ReleaseAfter(Duration limit) {
  if (slot_ == nullptr) return;
  {
    const std::lock_guard held(g_lock);
    if (slot_->device < 0) return;
    slot_->deadline = std::chrono::steady_clock::now() + limit;
    Report({.what = ReleaseMessage::What::kDue,
            .slot = Slot::NumberOf(*slot_),
            .due = slot_->deadline->time_since_epoch().count()});
  }
  Wake();
}

void CrashRelease::Disarm() {
  if (slot_ == nullptr) return;
  const std::lock_guard held(g_lock);
  slot_->deadline.reset();
  const int device = slot_->device.exchange(-1);
  if (device < 0) return;
  ::close(device);
  Report({.slot = Slot::NumberOf(*slot_)});
}

bool CrashRelease::ReleaseForNow(std::optional<TimePoint> due_by) {
  const std::lock_guard held(g_lock);
  DueReleases due{};
  bool any = false;
  for (std::size_t i = 0; i < due.size(); ++i) {
    Slot& slot = Slot::all[i];
    if (slot.device < 0 || (due_by && (!slot.deadline || *slot.deadline > *due_by))) continue;
    g_held = any = true;  // before the release, so that nobody keys after it
    slot.deadline.reset();
    due[i] = {.action = &slot.action, .device = slot.device};
  }
  MakeReleases(due);
  return any;
}

void CrashRelease::ExpectOrderlyEnd() {
  g_end_expected = (std::chrono::steady_clock::now() + kToEnd).time_since_epoch().count();
  Wake();
}

void CrashRelease::EndsInOrder() {
  g_end_expected = 0;
}

std::optional<TimePoint> CrashRelease::end_expected() {
  const std::int64_t when = g_end_expected;
  return when == 0 ? std::nullopt : std::optional(TimePoint(Duration(when)));
}

void CrashRelease::HoldKeying() {
  g_held = true;
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

void CrashRelease::ReportTo(int socket) {
  const std::lock_guard held(g_lock);
  g_reports = socket;
  for (const Slot& slot : Slot::all) {
    if (slot.device >= 0) slot.ReportArmed();
  }
}

bool CrashRelease::reports() {
  const std::lock_guard held(g_lock);
  return g_reports >= 0;
}

void CrashRelease::WakeAtChanges(int event) {
  g_wake = event;
}

bool CrashRelease::keying_ended() {
  return g_ending || g_held;
}

}  // namespace kvx::platform
