#pragma once

#include "platform/posix/running_programs.h"
#include "platform/station_inspector.h"

namespace kvx::platform {

class PosixStationInspector final : public StationInspector {
 public:
  FolderFacts Look(const Path& folder) const override;
  std::optional<RunningProgram> HolderOf(const Path& file) const override { return programs_.LockHolder(file); }
  bool may_have_real_time() const override;
  std::string display() const override;

 private:
  RunningPrograms programs_;
};

}  // namespace kvx::platform
