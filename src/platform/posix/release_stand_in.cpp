#include "platform/posix/release_stand_in.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "platform/posix/release_message.h"

namespace kvx::platform {
namespace {

constexpr std::int64_t kLook = 200'000'000;  // ns; for a program that has been stopped, as long as anything is armed
constexpr std::int64_t kLinger = 300'000'000;
constexpr std::int64_t kLastTries = 5'000'000'000;  // for a device that takes nothing at the moment
constexpr int kBetweenTries = 20;                   // milliseconds
constexpr int kMilliseconds = 1'000'000;            // ns

std::int64_t Now() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

int MillisecondsUntil(std::int64_t when, std::int64_t now) {
  return static_cast<int>((std::max<std::int64_t>(when - now, 0) + kMilliseconds - 1) / kMilliseconds);
}

class Keeper {
 public:
  Keeper(int socket, int program) : socket_(socket) {
    std::array<char, 64> path{};
    ::snprintf(path.data(), path.size(), "/proc/%d/stat", program);
    state_ = ::open(path.data(), O_RDONLY | O_CLOEXEC);
  }

  /// Returns when the program has died or ended.
  void Keep() {
    while (true) {
      pollfd news{.fd = socket_, .events = POLLIN, .revents = 0};
      const std::int64_t now = Now();
      ::poll(&news, 1, any_armed() ? MillisecondsUntil(std::min(next_due(), now + kLook), now) : -1);
      if (!Receive()) return;
      if (!any_armed()) continue;
      const bool was_stopped = stopped_;
      stopped_ = ProgramIsStopped();
      if (stopped_ && !was_stopped) Make(INT64_MAX, ReleaseReport::kStopped);
      if (next_due() <= Now()) Make(Now(), ReleaseReport::kOverdue);
    }
  }

  void ReleaseAll() {
    DueReleases due{};
    for (std::size_t i = 0; i < due.size(); ++i) due[i] = {.action = &armed_[i].action, .device = armed_[i].device};
    bool made = MakeReleases(due);
    GiveFree();
    // The lines, which may be another program's now, are not touched again.
    for (DueRelease& one : due) {
      if (one.device >= 0 && one.action->kind != ReleaseAction::Kind::kBytes) one.device = -1;
    }
    for (const std::int64_t end = Now() + kLastTries; !(made && AllSent()) && Now() < end;) {
      ::poll(nullptr, 0, kBetweenTries);
      made = MakeReleases(due);
    }
    LetGo();
  }

 private:
  struct Armed {
    ReleaseAction action;
    int device = -1;
    std::int64_t due = INT64_MAX;
  };

  bool any_armed() const {
    return std::any_of(armed_.begin(), armed_.end(), [](const Armed& one) { return one.device >= 0; });
  }

  std::int64_t next_due() const {
    std::int64_t next = INT64_MAX;
    for (const Armed& one : armed_) next = std::min(next, one.device >= 0 ? one.due : next);
    return next;
  }

  /// All that has come; false when nobody can send any more.
  bool Receive() {
    while (true) {
      ReleaseMessage message;
      iovec content{.iov_base = &message, .iov_len = sizeof message};
      alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> room{};
      msghdr header{};
      header.msg_iov = &content;
      header.msg_iovlen = 1;
      header.msg_control = room.data();
      header.msg_controllen = room.size();
      const ssize_t size = ::recvmsg(socket_, &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
      if (size < 0 && errno == EINTR) continue;
      if (size < 0) return errno == EAGAIN;
      if (size == 0) return false;
      int device = -1;
      const cmsghdr* const rights = CMSG_FIRSTHDR(&header);
      if (rights != nullptr && rights->cmsg_type == SCM_RIGHTS) std::memcpy(&device, CMSG_DATA(rights), sizeof device);
      if (size == sizeof message && message.slot < armed_.size()) Take(message, device);
    }
  }

  void Take(const ReleaseMessage& message, int device) {
    Armed& one = armed_[message.slot];
    if (message.what == ReleaseMessage::What::kDue) {
      one.due = message.due;
      return;
    }
    if (one.device >= 0) ::close(one.device);
    one = {.action = message.action, .device = device};
    one.action.size = std::min(one.action.size, ReleaseAction::kLongest);
  }

  /// A debugger's stop is none.
  bool ProgramIsStopped() const {
    std::array<char, 64> text{};  // "1234 (kvx) S ...": the name is no longer than 15 characters
    const ssize_t size = ::pread(state_, text.data(), text.size(), 0);
    const std::string_view line(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    const std::size_t end = line.rfind(')');
    return end != std::string_view::npos && end + 2 < line.size() && line[end + 2] == 'T';
  }

  /// Those that are due by then. The program lives and is told; they stay armed.
  void Make(std::int64_t due_by, ReleaseReport report) {
    DueReleases due{};
    for (std::size_t i = 0; i < due.size(); ++i) {
      Armed& one = armed_[i];
      if (one.device < 0 || (report == ReleaseReport::kOverdue && one.due > due_by)) continue;
      due[i] = {.action = &one.action, .device = one.device};
      one.due = INT64_MAX;
    }
    MakeReleases(due);
    ::send(socket_, &report, sizeof report, MSG_NOSIGNAL | MSG_DONTWAIT);
  }

  static bool IsMaster(int device) {
    unsigned number = 0;
    return ::ioctl(device, TIOCGPTN, &number) == 0;
  }

  /// The next console may have the devices at once.
  void GiveFree() const {
    for (const Armed& one : armed_) {
      if (one.device < 0) continue;
      ::flock(one.device, LOCK_UN);
      if (!IsMaster(one.device)) ::ioctl(one.device, TIOCNXCL);
    }
  }

  /// A serial line has not taken all that the system has for it. A connection goes on without this process.
  static bool HasUnsent(int device) {
    int unsent = 0;
    return ::isatty(device) != 0 && ::ioctl(device, TIOCOUTQ, &unsent) == 0 && unsent > 0;
  }

  bool AllSent() const {
    return std::none_of(armed_.begin(), armed_.end(),
                        [](const Armed& one) { return one.device >= 0 && HasUnsent(one.device); });
  }

  /// What has been written is not lost by this end: a pseudo-terminal drops what its far end has not read when the last
  /// master closes, a connection that has unread input is reset. What a line does not take is dropped unless the next
  /// console has it by now, else this process would not end for half a minute.
  void LetGo() {
    bool lingers = false;
    for (Armed& one : armed_) {
      if (one.device < 0) continue;
      const bool is_connection = ::shutdown(one.device, SHUT_WR) == 0;
      const bool is_master = IsMaster(one.device);
      if (HasUnsent(one.device) && ::flock(one.device, LOCK_EX | LOCK_NB) == 0) ::tcflush(one.device, TCOFLUSH);
      if (!is_connection) one.device = -1;  // open until the end of this process
      lingers = lingers || is_connection || is_master;
      waits_for_reader_ = waits_for_reader_ || is_master;
    }
    if (lingers) Linger(Now() + kLinger);
  }

  void Linger(std::int64_t end) {
    for (std::int64_t now = Now(); now < end; now = Now()) {
      std::array<pollfd, kMostReleases> connections{};
      nfds_t count = 0;
      for (const Armed& one : armed_) {
        if (one.device >= 0) connections[count++] = {.fd = one.device, .events = POLLIN, .revents = 0};
      }
      if (count == 0 && !waits_for_reader_) return;
      ::poll(connections.data(), count, MillisecondsUntil(end, now));
      std::array<char, 256> unread;
      for (Armed& one : armed_) {
        if (one.device < 0) continue;
        const ssize_t size = ::recv(one.device, unread.data(), unread.size(), MSG_DONTWAIT);
        if (size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR)) one.device = -1;
      }
    }
  }

  int socket_;
  int state_ = -1;  ///< the system's file on the state of the program
  bool stopped_ = false;
  bool waits_for_reader_ = false;
  std::array<Armed, kMostReleases> armed_;
};

}  // namespace

void StandIn(int socket, int program) {
  Keeper keeper(socket, program);
  keeper.Keep();
  keeper.ReleaseAll();
  ::_exit(0);
}

}  // namespace kvx::platform
