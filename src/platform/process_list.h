#pragma once

#include <string>
#include <vector>

namespace kvx::platform {

/// The programs that run on this computer. Adapters: one per system; tests have a scripted one.
class ProcessList {
 public:
  virtual ~ProcessList() = default;
  /// The names of the programs' files without their folders, in no order; one name or more for each process.
  virtual std::vector<std::string> Names() const = 0;
};

}  // namespace kvx::platform
