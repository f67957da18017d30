#pragma once

#include <cstdint>

#include "core/loop.h"
#include "core/result.h"

namespace kvx::platform {

/// The data register of a parallel port: eight output lines, bit N at pin N + 2 of the connector. Engine thread only.
/// Adapters: a port of the operating system, a register that is nothing but memory; tests/fakes has a recording one.
class ParallelPort {
 public:
  virtual ~ParallelPort() = default;
  /// Claims the port; the lines stay as they are. The error names the port and the cause in one sentence.
  virtual Status Open() = 0;
  /// Gives it back; the lines stay as they are.
  virtual void Close() = 0;
  virtual bool is_open() const = 0;
  virtual Status WriteData(std::uint8_t data) = 0;
  /// Writes at that moment, to the microsecond, for which it waits in place: not for a moment that is far away.
  virtual Status WriteDataAt(TimePoint when, std::uint8_t data) = 0;
  virtual Result<std::uint8_t> ReadData() const = 0;
  /// A pulse is under way: should the program end in any way, this is written.
  virtual void ArmRelease(std::uint8_t data) = 0;
  virtual void DisarmRelease() = 0;
};

/// Without lines: remembers what was written.
class ShadowParallelPort final : public ParallelPort {
 public:
  Status Open() override {
    open_ = true;
    return Ok();
  }
  void Close() override { open_ = false; }
  bool is_open() const override { return open_; }
  Status WriteData(std::uint8_t data) override {
    data_ = data;
    return Ok();
  }
  Status WriteDataAt(TimePoint, std::uint8_t data) override { return WriteData(data); }
  Result<std::uint8_t> ReadData() const override { return data_; }
  void ArmRelease(std::uint8_t) override {}
  void DisarmRelease() override {}

 private:
  bool open_ = false;
  std::uint8_t data_ = 0;
};

}  // namespace kvx::platform
