#pragma once

#include <utility>

namespace kvx::platform {

/// Owns an open file descriptor and closes it at the end.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~Descriptor() { Reset(); }

  int get() const { return descriptor_; }
  bool valid() const { return descriptor_ >= 0; }
  /// Closes it now.
  void Reset();

 private:
  int descriptor_ = -1;
};

}  // namespace kvx::platform
