#include "platform/posix/parallel_port.h"

#include <fcntl.h>
#include <linux/parport.h>
#include <linux/ppdev.h>
#include <sys/file.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "core/text.h"
#include "platform/posix/cause.h"
#include "platform/posix/device_user.h"

namespace kvx::platform {
namespace {

/// Who has the port now, "none" where nobody has: to claim it then would wait until they let go of it.
std::string ActiveDriver(const std::string& device) {
  const std::string name = std::filesystem::path(device).filename().string();
  std::string active;
  std::getline(std::ifstream("/proc/sys/dev/parport/" + name + "/devices/active"), active);
  return OneLine(Trim(active), 40);
}

}  // namespace

Status PosixParallelPort::Open() {
  Close();
  std::error_code error;
  const std::string device = std::filesystem::canonical(path_, error).string();
  if (error.value() == ENOENT) return Error{ErrorCode::kNotFound, path_ + ": no such parallel port"};
  if (error) return CauseError(path_, error.value());
  descriptor_ = Descriptor(::open(device.c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!descriptor_.valid() && (errno == ENXIO || errno == ENODEV)) {
    return Error{ErrorCode::kNotFound, path_ + ": no parallel port hardware answers"};
  }
  if (!descriptor_.valid()) return CauseError(path_, errno);
  const std::string active = ActiveDriver(device);
  DeviceUser user;
  if (::flock(descriptor_.get(), LOCK_EX | LOCK_NB) != 0) {
    descriptor_.Reset();  // else this program would be found to use it
    return Error{ErrorCode::kBusy, path_ + ": " + user.InUseBy(device)};
  }
  if (!active.empty() && active != "none") {
    Close();
    return Error{ErrorCode::kBusy, path_ + ": in use by " + active};
  }
  Status claimed = Claim();
  if (!claimed) Close();
  return claimed;
}

Status PosixParallelPort::Claim() {
  int mode = IEEE1284_MODE_COMPAT;
  int outputs = 0;
  if (::ioctl(descriptor_.get(), PPCLAIM) != 0) {
    if (errno == ENOTTY || errno == EINVAL) return Error{ErrorCode::kInvalid, path_ + ": not a parallel port"};
    return CauseError(path_, errno);
  }
  if (::ioctl(descriptor_.get(), PPNEGOT, &mode) != 0 || ::ioctl(descriptor_.get(), PPDATADIR, &outputs) != 0 ||
      ::ioctl(descriptor_.get(), PPRDATA, &data_) != 0) {
    return CauseError(path_, errno);
  }
  return Ok();
}

void PosixParallelPort::Close() {
  if (descriptor_.valid()) {
    ::ioctl(descriptor_.get(), PPRELEASE);
    ::flock(descriptor_.get(), LOCK_UN);  // the release process may have the port open for a moment longer
  }
  descriptor_.Reset();
}

Status PosixParallelPort::WriteData(std::uint8_t data) {
  if (::ioctl(descriptor_.get(), PPWDATA, &data) != 0) return CauseError(path_, errno);
  data_ = data;
  return Ok();
}

Result<std::uint8_t> PosixParallelPort::ReadData() const {
  std::uint8_t data = 0;
  if (::ioctl(descriptor_.get(), PPRDATA, &data) != 0) return CauseError(path_, errno);
  return data;
}

Result<std::shared_ptr<PosixParallelPort>> SharedParallelPorts::Take(const std::string& path) {
  std::error_code error;
  const std::string device = std::filesystem::canonical(path, error).string();
  std::weak_ptr<PosixParallelPort>& taken = taken_[error ? path : device];
  if (auto port = taken.lock()) {
    if (const auto works = port->ReadData(); !works) return works.error();
    return port;
  }
  auto port = std::make_shared<PosixParallelPort>(path);
  if (const Status opened = port->Open(); !opened) return opened.error();
  taken = port;
  return port;
}

int PosixParallelPort::SetControl(std::uint8_t mask, std::uint8_t high) {
  ppdev_frob_struct control{};
  control.mask = mask;
  control.val = static_cast<unsigned char>(RegisterOf(high) & mask);
  return ::ioctl(descriptor_.get(), PPFCONTROL, &control) == 0 ? 0 : errno;
}

}  // namespace kvx::platform
