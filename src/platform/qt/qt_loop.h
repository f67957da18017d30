#pragma once

#include <QTimer>
#include <optional>

#include "core/timer_queue.h"

namespace kvx::platform {

/// The program's Loop, on Qt's event loop: one Qt timer, set to the next deadline. Never fires early, wakes nobody
/// while nothing is due, and gives every other event its turn between two passes.
class QtLoop final : public Loop {
 public:
  QtLoop();

  TimePoint Now() const override;
  UtcTime UtcNow() const override;
  std::chrono::minutes LocalOffset() const override;
  TimerId StartTimer(TimePoint when, std::function<void()> action) override;
  void StopTimer(TimerId timer) override;

 private:
  void Arm();
  void Fire();

  TimerQueue queue_;
  QTimer timer_;
  std::optional<TimePoint> armed_;  ///< the deadline that timer_ is set to
};

}  // namespace kvx::platform
