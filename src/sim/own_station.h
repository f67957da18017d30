#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "core/loop.h"

namespace kvx::sim {

/// What the simulated receiver gets from the station that it belongs to: its keying and its dial. Engine thread only.
class OwnStation final {
 public:
  struct Edge {
    bool down;
    TimePoint when;
    int tone_hertz;
  };

  /// The key went down or up.
  void Key(bool down, TimePoint when, int tone_hertz) {
    if (edges_.size() == kMostEdges) edges_.clear();  // nobody listens
    edges_.push_back({down, when, tone_hertz});
  }
  /// The edges since the last call.
  std::vector<Edge> TakeEdges() { return std::exchange(edges_, {}); }

  std::function<double()> dial_hertz;  ///< unset: the dial does not move

 private:
  static constexpr std::size_t kMostEdges = 1000;
  std::vector<Edge> edges_;
};

}  // namespace kvx::sim
