#pragma once

#include <string>

#include "core/result.h"

namespace kvx::platform {

/// What a system call's cause of failure (an errno value) is to callers, who branch on it.
ErrorCode CodeOf(int cause);
/// "what: the cause in words"
Error CauseError(const std::string& what, int cause);

}  // namespace kvx::platform
