#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "core/result.h"

namespace kvx::platform {

/// What a piece of work may use before it is ended.
struct IsolationLimits {
  std::chrono::milliseconds time{20'000};
  std::size_t result_bytes = 64U << 20;
};

/// Runs `work` in a process of its own and gives what it returned: for a library that may crash or loop on a damaged
/// file. The work has no environment, no open files of ours, no output, and ends with us. Crash, time-out or an
/// over-long result are kDamaged, with a message that says what happened ("it crashed (signal 11)").
Result<std::string> RunIsolated(const std::function<std::string()>& work, IsolationLimits limits = {});

}  // namespace kvx::platform
