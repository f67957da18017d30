#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "core/result.h"
#include "platform/posix/descriptor.h"

namespace kvx::platform {

/// A parallel port of a Linux system ("/dev/parport0"), claimed while it is open. Its eight data pins 2 to 9 are
/// outputs. One thread may write the data while another sets the control pins. Those are given as they are at the
/// connector, not as the register inverts some of them.
class PosixParallelPort {
 public:
  static constexpr std::uint8_t kPin1 = 1, kPin14 = 2, kPin16 = 4, kPin17 = 8;

  explicit PosixParallelPort(std::string path) : path_(std::move(path)) {}
  ~PosixParallelPort() { Close(); }
  PosixParallelPort(const PosixParallelPort&) = delete;
  PosixParallelPort& operator=(const PosixParallelPort&) = delete;

  /// The error names the port and the cause in one sentence. The pins stay as they are.
  Status Open();
  void Close();
  bool is_open() const { return descriptor_.valid(); }
  int descriptor() const { return descriptor_.get(); }

  Status WriteData(std::uint8_t data);
  /// What the pins show, which an outside short may keep from being what was written.
  Result<std::uint8_t> ReadData() const;
  /// What was written last.
  std::uint8_t data() const { return data_; }

  /// Sets the control pins of `mask`, high those of `high`. 0, or the cause as an errno value.
  int SetControl(std::uint8_t mask, std::uint8_t high);
  /// The register's bits for pins that are to be high: three of the four are inverted.
  static std::uint8_t RegisterOf(std::uint8_t high) { return high ^ (kPin1 | kPin14 | kPin17); }

 private:
  Status Claim();

  std::string path_;
  Descriptor descriptor_;
  std::uint8_t data_ = 0;
};

/// The parallel ports that this program has claimed. The key and the antenna switch may be at the same one, which can
/// be claimed only once: it stays claimed as long as anybody has it, under whichever path. Engine thread only.
class SharedParallelPorts {
 public:
  Result<std::shared_ptr<PosixParallelPort>> Take(const std::string& path);

 private:
  std::map<std::string, std::weak_ptr<PosixParallelPort>> taken_;
};

}  // namespace kvx::platform
