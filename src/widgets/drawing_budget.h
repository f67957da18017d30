#pragma once

#include <algorithm>
#include <chrono>

namespace kvx::widgets {

/// Keeps drawing to a share of the time, however long it takes on this computer: what it has no time for is not drawn,
/// and the thread stays free for the rig.
class DrawingBudget final {
 public:
  using Duration = std::chrono::nanoseconds;

  /// Pictures are wanted this far apart.
  void SetInterval(Duration interval) { interval_ = interval; }
  /// A picture is begun.
  void Begin(Duration now) {
    begun_ = now;
    spent_ = {};
  }
  /// So much of it has been drawn.
  void Spend(Duration spent) { spent_ += spent; }
  /// How long from `now` until the next one may begin; zero: now. Three times what the last one took is left for
  /// everything else.
  Duration Wait(Duration now) const { return std::max(begun_ + std::max(interval_, 4 * spent_) - now, Duration{}); }

 private:
  Duration interval_{std::chrono::milliseconds(16)};
  Duration begun_{std::chrono::hours(-1)};
  Duration spent_{};
};

}  // namespace kvx::widgets
