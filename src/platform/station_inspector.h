#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/running_program.h"

namespace kvx::platform {

/// What can be told of a folder.
struct FolderFacts {
  bool exists = false;
  bool is_folder = false;
  bool readable = false;
  bool writable = false;
  std::uint64_t free_bytes = 0;      ///< that this user may fill
  std::vector<std::string> refused;  ///< files in it that this user may not read or write
};

/// Looks at the station's folder and at what this process may do, and changes nothing. Any thread. Adapters: one per
/// system; tests have a scripted one.
class StationInspector {
 public:
  virtual ~StationInspector() = default;
  virtual FolderFacts Look(const Path& folder) const = 0;
  /// The living program that holds a lock on the file.
  virtual std::optional<RunningProgram> HolderOf(const Path& file) const = 0;
  /// Whether this process may have threads with real-time priority.
  virtual bool may_have_real_time() const = 0;
  /// What windows would be shown on; empty: there is no display.
  virtual std::string display() const = 0;
};

}  // namespace kvx::platform
