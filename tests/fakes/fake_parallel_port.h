#pragma once

#include <string>
#include <utility>

#include "core/loop.h"
#include "core/text.h"
#include "platform/parallel_port.h"

namespace kvx {

/// Records what is written as "04@0 00@50 ": the data byte and the microsecond since the first.
class FakeParallelPort final : public platform::ParallelPort {
 public:
  struct Record {
    std::string written;
    bool absent = false;
    bool broken = false;
    int armed = -1;  ///< what is written should the program end
    bool open = false;
    std::uint8_t data = 0;
    TimePoint first{};
    std::string Take() { return std::exchange(written, {}); }
  };
  FakeParallelPort(Loop& loop, Record& record) : loop_(loop), record_(record) {}

  Status Open() override {
    if (record_.absent) return Error{ErrorCode::kNotFound, "/dev/parport0: no such parallel port"};
    record_.open = true;
    return Ok();
  }
  void Close() override { record_.open = false; }
  bool is_open() const override { return record_.open; }
  Status WriteData(std::uint8_t data) override { return WriteDataAt(loop_.Now(), data); }
  Status WriteDataAt(TimePoint when, std::uint8_t data) override {
    if (record_.broken) return Error{ErrorCode::kIo, "/dev/parport0: Input/output error"};
    if (record_.written.empty()) record_.first = when;
    const auto at = std::chrono::duration_cast<std::chrono::microseconds>(when - record_.first).count();
    record_.written += std::to_string(data) + "@" + std::to_string(at) + " ";
    record_.data = data;
    return Ok();
  }
  Result<std::uint8_t> ReadData() const override { return record_.data; }
  void ArmRelease(std::uint8_t data) override { record_.armed = data; }
  void DisarmRelease() override { record_.armed = -1; }

 private:
  Loop& loop_;
  Record& record_;
};

}  // namespace kvx
