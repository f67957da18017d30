#pragma once

#include "core/console.h"
#include "core/loop.h"

namespace kvx::console {

/// The console's UTC clock: rewrites RIGGMT steadily. Its changes are also the beat of the rig poll, so the interval
/// follows the setting but leaves a slow rig line the time that a cycle's replies need.
class Clock {
 public:
  Clock(Loop& loop, Console& console) : loop_(loop), console_(console) {}

  /// Hours that the operator's setting adds to local time; without a setting (0) the clock shows UTC as the system
  /// knows it.
  void SetGmtHours(int hours) { gmt_hours_ = hours; }
  /// The wished interval, the rig line's speed in baud, and how many characters a poll cycle costs on that line.
  void SetPace(Duration wished, int speed, int characters);
  void Start() { running_ = Run(); }
  void Stop() { running_ = Task(); }
  Duration interval() const { return interval_; }
  /// "2026-11-21 14:02:25.30"
  std::string Text() const;

 private:
  Task Run();

  Loop& loop_;
  Console& console_;
  int gmt_hours_ = 0;
  Duration interval_{std::chrono::milliseconds(50)};
  Task running_;
};

}  // namespace kvx::console
