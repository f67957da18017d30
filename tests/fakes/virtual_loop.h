#pragma once

#include "core/timer_queue.h"

namespace kvx {

/// A Loop whose time passes only when a test says so: hours of station time in milliseconds.
class VirtualLoop final : public Loop {
 public:
  TimePoint Now() const override { return now_; }
  UtcTime UtcNow() const override {
    return utc_start_ + std::chrono::duration_cast<std::chrono::milliseconds>(now_ - TimePoint{});
  }
  std::chrono::minutes LocalOffset() const override { return local_offset_; }
  TimerId StartTimer(TimePoint when, std::function<void()> action) override {
    return queue_.Add(when, std::move(action));
  }
  void StopTimer(TimerId timer) override { queue_.Remove(timer); }

  /// Lets `duration` pass; every timer fires at its own moment.
  void RunFor(Duration duration) {
    const TimePoint end = now_ + duration;
    while (queue_.next() && *queue_.next() <= end) {
      now_ = std::max(now_, *queue_.next());
      queue_.RunDue(now_);
    }
    now_ = end;
  }
  /// Lets everything that is due now happen.
  void RunPending() { RunFor(Duration{0}); }

  /// Moves the civil clock, as an operator or a time server would.
  void StepUtc(std::chrono::milliseconds by) { utc_start_ += by; }
  void SetLocalOffset(std::chrono::minutes offset) { local_offset_ = offset; }
  std::size_t timers() const { return queue_.size(); }

 private:
  TimerQueue queue_;
  TimePoint now_{std::chrono::hours(1)};
  UtcTime utc_start_{std::chrono::sys_days{std::chrono::year{2026} / 11 / 21} + std::chrono::hours(13)};
  std::chrono::minutes local_offset_{0};
};

}  // namespace kvx
