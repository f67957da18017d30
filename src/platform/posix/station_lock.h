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

  /// The console that had the folder before died, or its computer did, or it could not release the transmitter.
  bool after_crash() const { return after_crash_; }

  /// Whoever takes the folder next finds it as after a crash: the transmitter may be keyed still.
  void KeepName() { keeps_name_ = true; }

  StationLock(StationLock&&) = default;
  StationLock& operator=(StationLock&&) = default;
  ~StationLock();

 private:
  StationLock(Descriptor descriptor, bool after_crash)
      : descriptor_(std::move(descriptor)), after_crash_(after_crash) {}

  Descriptor descriptor_;
  bool after_crash_;
  bool keeps_name_ = false;
};

}  // namespace kvx::platform
