#include "platform/posix/device_claim.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

std::string NoPermission(const std::string& device) {
  struct stat facts {};
  if (::stat(device.c_str(), &facts) == 0 && (facts.st_mode & S_IWGRP) != 0) {
    if (const group* owner = ::getgrgid(facts.st_gid)) {
      return std::string("no permission; its users are the members of the group ") + owner->gr_name;
    }
  }
  return "no permission";
}

Error OpenError(const std::string& path, const std::string& device, int cause, DeviceUser& user) {
  switch (cause) {
    case ENOENT:
    case ENXIO:
    case ENODEV:
      return {ErrorCode::kNotFound, path + ": no such device"};
    case EACCES:
    case EPERM:
      return {ErrorCode::kDenied, path + ": " + NoPermission(device)};
    case EBUSY:
      return {ErrorCode::kBusy, path + ": " + user.InUseBy(device)};
    default:
      return {ErrorCode::kIo, path + ": " + std::strerror(cause)};
  }
}

/// Whether another process has the terminal in exclusive mode. The mode alone says little: it outlives a crash while
/// the other end of a pseudo-terminal is held.
bool ExclusivelyUsed(int descriptor, const std::string& device, DeviceUser& user) {
  int exclusive = 0;
  return ::ioctl(descriptor, TIOCGEXCL, &exclusive) == 0 && exclusive != 0 && user.IsAnother(device);
}

}  // namespace

DeviceClaim::DeviceClaim(Descriptor descriptor, std::string device)
    : descriptor_(std::move(descriptor)), device_(std::move(device)) {}

/// The release process may have the device open for a moment longer, and with it the lock and the exclusive mode.
DeviceClaim::~DeviceClaim() {
  if (!descriptor_.valid()) return;
  ::ioctl(descriptor_.get(), TIOCNXCL);
  ::flock(descriptor_.get(), LOCK_UN);
}

Result<DeviceClaim> DeviceClaim::Take(const std::string& path, DeviceUser& user) {
  std::error_code error;
  const std::string device = fs::canonical(path, error).string();
  if (error) return OpenError(path, path, error.value(), user);
  if (!fs::is_character_file(device, error)) return Error{ErrorCode::kInvalid, path + ": not a serial device"};
  Descriptor descriptor(::open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!descriptor.valid()) return OpenError(path, device, errno, user);
  if (::isatty(descriptor.get()) == 0) {
    // EIO: a port that the system lists without there being hardware.
    if (errno == EIO) return Error{ErrorCode::kNotFound, path + ": no serial hardware answers"};
    return Error{ErrorCode::kInvalid, path + ": not a serial device"};
  }
  if (::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0 || ExclusivelyUsed(descriptor.get(), device, user)) {
    descriptor.Reset();  // else this program would be found to use it
    return OpenError(path, device, EBUSY, user);
  }
  return DeviceClaim(std::move(descriptor), device);
}

void DeviceClaim::SetLines(bool dtr, bool rts) {
  const int raised = (dtr ? TIOCM_DTR : 0) | (rts ? TIOCM_RTS : 0);
  const int lowered = (TIOCM_DTR | TIOCM_RTS) & ~raised;
  if (lowered != 0) ::ioctl(descriptor_.get(), TIOCMBIC, &lowered);
  if (raised != 0) ::ioctl(descriptor_.get(), TIOCMBIS, &raised);
}

void DeviceClaim::SetDtr(bool on) {
  const int line = TIOCM_DTR;
  ::ioctl(descriptor_.get(), on ? TIOCMBIS : TIOCMBIC, &line);
}

void DeviceClaim::SetRts(bool on) {
  const int line = TIOCM_RTS;
  ::ioctl(descriptor_.get(), on ? TIOCMBIS : TIOCMBIC, &line);
}

void DeviceClaim::EndPseudoExclusive() {
  if (device_.starts_with("/dev/pts/")) ::ioctl(descriptor_.get(), TIOCNXCL);
}

bool DeviceClaim::hung_up() const {
  pollfd state{descriptor_.get(), POLLIN, 0};
  return ::poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

std::size_t DeviceClaim::bytes_unsent() const {
  int count = 0;
  return ::ioctl(descriptor_.get(), TIOCOUTQ, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
}

void DeviceClaim::DropUnsent() {
  ::tcflush(descriptor_.get(), TCOFLUSH);
}

}  // namespace kvx::platform
