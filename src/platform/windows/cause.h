#pragma once

#include <cstdint>
#include <string>

#include "core/result.h"

namespace kvx::platform {

/// "what: the cause in words", for the cause of failure that a Windows function has left (GetLastError).
Error CauseError(const std::string& what, std::uint32_t cause);

}  // namespace kvx::platform
