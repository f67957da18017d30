#pragma once

#include <algorithm>
#include <functional>
#include <utility>

#include "core/loop.h"

namespace kvx {

/// Tries something that has failed again, later each time, until it is told that it works or is not wanted any more.
class RetryTimer {
 public:
  RetryTimer(Loop& loop, std::function<void()> action) : loop_(loop), action_(std::move(action)) {}
  ~RetryTimer() { Stop(); }
  RetryTimer(const RetryTimer&) = delete;
  RetryTimer& operator=(const RetryTimer&) = delete;

  /// It has failed: the action is called after a pause, which is twice as long the next time.
  void Again() {
    if (timer_ != 0) return;
    timer_ = loop_.StartTimer(loop_.Now() + pause_, [this] {
      timer_ = 0;
      action_();
    });
    pause_ = std::min(2 * pause_, kLongest);
  }
  void Stop() {
    loop_.StopTimer(std::exchange(timer_, 0));
    pause_ = kFirst;
  }

 private:
  static constexpr Duration kFirst = std::chrono::seconds(1);
  static constexpr Duration kLongest = std::chrono::seconds(30);

  Loop& loop_;
  std::function<void()> action_;
  Duration pause_ = kFirst;
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx
