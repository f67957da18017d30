#include "platform/posix/data_lines.h"

#include <algorithm>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kLongestWait = 10ms;  // whatever the caller says: nothing else happens meanwhile

Error Closed(const std::string& path) {
  return {ErrorCode::kClosed, path + ": the parallel port is closed"};
}

}  // namespace

Status PosixDataLines::Open() {
  Close();
  auto taken = ports_.Take(path_);
  if (!taken) return taken.error();
  port_ = *taken;
  return Ok();
}

void PosixDataLines::Close() {
  release_.Disarm();
  port_.reset();
}

Status PosixDataLines::WriteData(std::uint8_t data) {
  return port_ ? port_->WriteData(data) : Closed(path_);
}

/// A sleep would be off by more than the pulse is long.
Status PosixDataLines::WriteDataAt(TimePoint when, std::uint8_t data) {
  when = std::min(when, TimePoint(std::chrono::steady_clock::now() + kLongestWait));
  while (std::chrono::steady_clock::now() < when) {
  }
  return WriteData(data);
}

Result<std::uint8_t> PosixDataLines::ReadData() const {
  if (!port_) return Closed(path_);
  return port_->ReadData();
}

void PosixDataLines::ArmRelease(std::uint8_t data) {
  if (port_) release_.Arm(port_->descriptor(), ReleaseAction::Data(data));
}

}  // namespace kvx::platform
