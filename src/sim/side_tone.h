#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "core/loop.h"

namespace kvx::sim {

/// The tone of a key: mono samples of 16 bits that follow its edges, to the sample, with slopes of 5 ms so that it does
/// not click.
class SideTone {
 public:
  /// Samples begin at `start`.
  SideTone(int samples_per_second, int hertz, TimePoint start);

  /// The key went down or up; edges come in order.
  void Key(bool down, TimePoint when);
  /// The samples from the last one given to `until`.
  std::vector<std::int16_t> Render(TimePoint until);
  int samples_per_second() const { return rate_; }

 private:
  struct Edge {
    std::int64_t sample;
    bool down;
  };
  std::int64_t SampleAt(TimePoint when) const;

  static constexpr std::size_t kMostEdges = 100'000;

  int rate_;
  double step_;   ///< radians a sample
  double slope_;  ///< of the loudness, a sample
  TimePoint start_;
  std::deque<Edge> edges_;
  std::int64_t next_ = 0;
  bool down_ = false;
  double level_ = 0;  ///< 0..1, before it is rounded off
};

}  // namespace kvx::sim
