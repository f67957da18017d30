#include "platform/posix/release_guard.h"

#include <utility>

namespace kvx::platform {

PosixReleaseGuard::PosixReleaseGuard(std::function<int()> device) : device_(std::move(device)) {}

void PosixReleaseGuard::Arm(std::string_view bytes) {
  release_.Arm(bytes.size() > ReleaseAction::kLongest ? -1 : device_(), ReleaseAction::Bytes(bytes));
}

void PosixReleaseGuard::ReleaseAfter(Duration limit) {
  release_.ReleaseAfter(limit);
}

void PosixReleaseGuard::Disarm() {
  release_.Disarm();
}

}  // namespace kvx::platform
