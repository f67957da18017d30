#pragma once

#include "platform/network_inspector.h"
#include "platform/posix/running_programs.h"

namespace kvx::platform {

/// The network of a Linux system, from /proc/net and its interfaces.
class PosixNetworkInspector final : public NetworkInspector {
 public:
  std::optional<RunningProgram> ListenerAt(const std::string& address, int port) const override;
  bool IsOwn(const std::string& address) const override;
  Result<std::string> AddressOf(const std::string& host) const override;

 private:
  RunningPrograms programs_;
};

}  // namespace kvx::platform
