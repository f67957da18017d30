#pragma once

#include <memory>
#include <string>

#include "platform/parallel_port.h"
#include "platform/posix/crash_release.h"
#include "platform/posix/parallel_port.h"

namespace kvx::platform {

/// The data lines of a parallel port of the system.
class PosixDataLines final : public ParallelPort {
 public:
  PosixDataLines(SharedParallelPorts& ports, std::string path) : ports_(ports), path_(std::move(path)) {}

  Status Open() override;
  void Close() override;
  bool is_open() const override { return port_ != nullptr; }
  Status WriteData(std::uint8_t data) override;
  Status WriteDataAt(TimePoint when, std::uint8_t data) override;
  Result<std::uint8_t> ReadData() const override;
  void ArmRelease(std::uint8_t data) override;
  void DisarmRelease() override { release_.Disarm(); }

 private:
  SharedParallelPorts& ports_;
  std::string path_;
  std::shared_ptr<PosixParallelPort> port_;
  CrashRelease release_;
};

}  // namespace kvx::platform
