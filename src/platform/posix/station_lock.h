#pragma once

#include "core/result.h"
#include "platform/files.h"
#include "platform/posix/descriptor.h"

namespace kvx::platform {

/// The right of one console to a station folder: a lock on the file "kvx.lock" in it, which names the program and its
/// process. The system lets go of it when the process ends, however that comes; the file stays.
class StationLock {
 public:
  /// Takes the folder, which is made if it is missing. kBusy names the folder, the program and the process that has it.
  static Result<StationLock> Take(const Path& folder);

  StationLock(StationLock&&) = default;
  StationLock& operator=(StationLock&&) = default;
  ~StationLock();

 private:
  explicit StationLock(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

  Descriptor descriptor_;
};

}  // namespace kvx::platform
