#pragma once

#include <optional>
#include <string>

#include "core/result.h"
#include "platform/running_program.h"

namespace kvx::platform {

/// Looks at this computer's network without connecting to anybody. Any thread. Adapters: one per system; tests have a
/// scripted one.
class NetworkInspector {
 public:
  virtual ~NetworkInspector() = default;
  /// Who waits for connections where a server of that address and TCP port would.
  virtual std::optional<RunningProgram> ListenerAt(const std::string& address, int port) const = 0;
  /// Whether a server of this computer can have that address.
  virtual bool IsOwn(const std::string& address) const = 0;
  /// The address of a computer by its name, in a time that is bounded.
  virtual Result<std::string> AddressOf(const std::string& host) const = 0;
};

}  // namespace kvx::platform
