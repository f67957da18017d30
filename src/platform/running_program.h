#pragma once

#include <string>

namespace kvx::platform {

/// A program that runs on this computer.
struct RunningProgram {
  std::string name;
  int process = 0;  ///< 0: it cannot be told which one it is
  int parent = 0;   ///< the process that has started it; 0: unknown
  bool operator==(const RunningProgram&) const = default;
};

}  // namespace kvx::platform
