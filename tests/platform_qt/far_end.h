#pragma once

#include <string>
#include <string_view>

#include "fakes/other_process.h"
#include "platform/posix/descriptor.h"

namespace kvx {

/// The end of a pseudo-terminal that a test holds: as the device when it is the master, as another program when it is
/// the slave.
class FarEnd {
 public:
  /// Makes a pair and plays the device; a port opens device().
  FarEnd();
  /// Opens the slave at `path`, as another program would.
  explicit FarEnd(const std::string& path);

  const std::string& device() const { return device_; }
  int descriptor() const { return descriptor_.get(); }
  void Write(std::string_view bytes);
  /// What is there now, without waiting.
  std::string Read();
  void HangUp() { descriptor_.Reset(); }

  struct Line {
    unsigned speed = 0;
    bool two_stop_bits = false;
    bool eight_bits = false;
    bool clean = false;  ///< no echo, no translation, no flow control
  };
  Line line() const;

 private:
  platform::Descriptor descriptor_;
  std::string device_;
};

/// Every byte value, and those that terminals like to change.
std::string AllBytes();

}  // namespace kvx
