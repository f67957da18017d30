#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/running_program.h"

namespace kvx::platform {

/// The processes of a Linux system and what they have open, as far as this user can see.
class RunningPrograms {
 public:
  explicit RunningPrograms(Path proc = "/proc") : proc_(std::move(proc)) {}

  /// The program of a process; nothing when there is no such process.
  std::optional<RunningProgram> Program(int process) const;
  /// Those with an open file for which `wanted` holds, this program too. `target`: what the descriptor leads to;
  /// `facts`: the file that tells more of it.
  std::vector<RunningProgram> WithOpen(
      const std::function<bool(const std::string& target, const Path& facts)>& wanted) const;
  /// Whether nobody's open files are hidden from this user.
  bool sees_all() const;
  /// Who holds a lock on the whole file.
  std::optional<RunningProgram> LockHolder(const Path& file) const;

 private:
  Path proc_;
};

/// The beginning of a file; empty when it cannot be read or is no ordinary one: a device is never opened.
std::string BeginningOf(const Path& file);

}  // namespace kvx::platform
