#pragma once

#include "platform/files.h"
#include "platform/process_list.h"

namespace kvx::platform {

/// The processes of a Linux system. A Windows program under Wine has the name of its own file, whether Wine shows it as
/// the process's first word or behind its own loader.
class PosixProcessList final : public ProcessList {
 public:
  explicit PosixProcessList(Path proc = "/proc") : proc_(std::move(proc)) {}
  std::vector<std::string> Names() const override;

 private:
  Path proc_;
};

}  // namespace kvx::platform
