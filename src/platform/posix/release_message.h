#pragma once

#include <cstdint>

#include "platform/posix/release_action.h"

namespace kvx::platform {

/// What the console tells the process that makes its releases when it cannot: one datagram of the socket between them.
/// With kArm comes the open device.
struct ReleaseMessage {
  enum class What : std::uint8_t { kArm, kDue, kDisarm };
  What what = What::kDisarm;
  std::uint8_t slot = 0;
  std::int64_t due = 0;  ///< kDue: nanoseconds of the monotonic clock, which all processes share
  ReleaseAction action;
};

/// What that process tells the console when it has made releases although the console lives.
enum class ReleaseReport : std::uint8_t { kOverdue, kStopped };

}  // namespace kvx::platform
