#include "platform/posix/release_action.h"

#include <asm/termbits.h>
#include <linux/ppdev.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace kvx::platform {
namespace {

constexpr int kMostWaits = 50;  // for a device that takes nothing at the moment
constexpr int kWaitMilliseconds = 10;

void SetLines(const ReleaseAction& action, int device) {
  ppdev_frob_struct control{.mask = action.mask, .val = action.value};
  std::uint8_t data = action.value;
  switch (action.kind) {
    case ReleaseAction::Kind::kBytes:
      return;
    case ReleaseAction::Kind::kLines:
      if (action.lowered != 0) ::ioctl(device, TIOCMBIC, &action.lowered);
      if (action.raised != 0) ::ioctl(device, TIOCMBIS, &action.raised);
      return;
    case ReleaseAction::Kind::kPort:
      ::ioctl(device, PPFCONTROL, &control);
      return;
    case ReleaseAction::Kind::kData:
      ::ioctl(device, PPWDATA, &data);
      return;
  }
}

/// Once: later the line may be that of another program.
void SetUp(DueRelease& due) {
  termios2 wanted{};
  termios2 now{};
  if (std::exchange(due.is_set_up, true) || !due.action->has_modes) return;
  std::memcpy(&wanted, due.action->modes.data(), sizeof wanted);
  if (::ioctl(due.device, TCGETS2, &now) == 0 && std::memcmp(&wanted, &now, sizeof now) != 0)
    ::ioctl(due.device, TCSETS2, &wanted);
}

/// A broken connection must not raise a signal of its own.
ssize_t WriteSome(int device, const char* bytes, std::size_t size) {
  const ssize_t sent = ::send(device, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
  return sent >= 0 || errno != ENOTSOCK ? sent : ::write(device, bytes, size);
}

/// Writes what the device takes now. True when there is more that it may take later. What the system has taken goes out
/// although the program ends.
bool WriteMore(DueRelease& due) {
  SetUp(due);
  const ReleaseAction& action = *due.action;
  while (due.written < action.size) {
    const ssize_t taken = WriteSome(due.device, action.bytes.data() + due.written, action.size - due.written);
    if (taken < 0 && errno == EINTR) continue;
    if (taken < 0) return errno == EAGAIN;
    if (taken == 0) return true;
    due.written += static_cast<std::size_t>(taken);
  }
  return false;
}

}  // namespace

ReleaseAction ReleaseAction::Bytes(std::string_view bytes) {
  ReleaseAction action;
  action.size = std::min(bytes.size(), kLongest);
  std::copy_n(bytes.begin(), action.size, action.bytes.begin());
  return action;
}

ReleaseAction ReleaseAction::Lines(int lowered, int raised) {
  ReleaseAction action;
  action.kind = Kind::kLines;
  action.lowered = lowered;
  action.raised = raised;
  return action;
}

ReleaseAction ReleaseAction::Port(std::uint8_t mask, std::uint8_t value) {
  ReleaseAction action;
  action.kind = Kind::kPort;
  action.mask = mask;
  action.value = value;
  return action;
}

ReleaseAction ReleaseAction::Data(std::uint8_t data) {
  ReleaseAction action;
  action.kind = Kind::kData;
  action.value = data;
  return action;
}

void ReleaseAction::KeepModes(int device) {
  termios2 now{};
  static_assert(sizeof now <= std::tuple_size_v<decltype(modes)>);
  has_modes = ::ioctl(device, TCGETS2, &now) == 0;
  if (has_modes) std::memcpy(modes.data(), &now, sizeof now);
}

bool MakeReleases(DueReleases& due) {
  for (const DueRelease& release : due) {
    if (release.device >= 0) SetLines(*release.action, release.device);
  }
  for (int wait = 0; wait < kMostWaits; ++wait) {
    std::array<pollfd, kMostReleases> blocked{};
    nfds_t count = 0;
    for (DueRelease& release : due) {
      if (release.device >= 0 && release.action->kind == ReleaseAction::Kind::kBytes && WriteMore(release))
        blocked[count++] = {.fd = release.device, .events = POLLOUT, .revents = 0};
    }
    if (count == 0) return true;
    ::poll(blocked.data(), count, kWaitMilliseconds);
  }
  return false;
}

}  // namespace kvx::platform
