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
  /// How long from `now` until the next picture may begin; zero: now.
  Duration Wait(Duration now) const { return now >= next_ ? Duration{} : next_ - now; }
  /// A picture begun at `now`.
  void Begin(Duration now) { next_ = now + interval_; }
  /// It took so long: three times as much is left for everything else.
  void Took(Duration now, Duration took) { next_ = std::max(next_, now + 3 * took); }

 private:
  Duration interval_{std::chrono::milliseconds(16)};
  Duration next_{};
};

}  // namespace kvx::widgets
