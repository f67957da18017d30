#pragma once

#include <functional>
#include <string>

#include "core/loop.h"

namespace kvx::platform {

/// Tells which process has a device open. Finding it means looking through every process of the system, and a busy
/// device is tried again and again, so the answer is kept: a process that was found is named for as long as it has the
/// device open, and after a search in vain the text stays the same for ten seconds.
class DeviceUser {
 public:
  using Now = std::function<TimePoint()>;
  explicit DeviceUser(Now now = std::chrono::steady_clock::now) : now_(std::move(now)) {}

  /// Whether another process can be seen to have the device open.
  bool IsAnother(const std::string& real_path);
  /// "in use by another program (NAME, process 123)", or what can be told of it.
  std::string InUseBy(const std::string& real_path);

 private:
  bool is_another() const;
  bool IsStillThere(const std::string& real_path) const;
  void Look(const std::string& real_path);

  Now now_;
  std::string path_;
  int process_ = 0;
  TimePoint searched_;
};

}  // namespace kvx::platform
