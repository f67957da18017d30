#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "core/loop.h"

namespace kvx::sim {

/// What the S-meter shows, 0..30: 15 is S9, and above it 20, 25 and 30 are 20, 40 and 60 dB over S9. Left alone it
/// moves a little as a band does: a fixed function of the time since the rig was made, the same in every run.
class SignalMeter {
 public:
  explicit SignalMeter(Loop& loop) : loop_(loop), start_(loop.Now()) {}
  int value() const;
  /// Holds the needle at a value, or lets it go again.
  void Pin(std::optional<int> value) { pinned_ = value; }

 private:
  Loop& loop_;
  TimePoint start_;
  std::optional<int> pinned_;
};

/// The needle's place in a scale where S9 reads `s9` and 60 dB over it reads `top`.
constexpr int ScaleMeter(int value, int s9, int top) {
  return value <= 15 ? value * s9 / 15 : s9 + (value - 15) * (top - s9) / 15;
}

}  // namespace kvx::sim
