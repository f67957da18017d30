#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

#include "core/task.h"

namespace kvx {

using Duration = std::chrono::nanoseconds;
/// A moment of the station's monotonic clock, which no clock change moves.
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;
/// A moment of the civil clock, UTC.
using UtcTime = std::chrono::sys_time<std::chrono::milliseconds>;

/// The engine's event loop: the only source of time and the only way to wait. Engine thread only.
/// Adapters: QtLoop for the program, VirtualLoop for tests.
class Loop {
 public:
  using TimerId = std::uint64_t;  ///< 0 is no timer

  virtual ~Loop() = default;
  virtual TimePoint Now() const = 0;
  virtual UtcTime UtcNow() const = 0;
  /// Minutes that local time is ahead of UTC at this moment.
  virtual std::chrono::minutes LocalOffset() const = 0;
  /// Calls `action` once, from the loop and never from inside this call, when `when` has come.
  virtual TimerId StartTimer(TimePoint when, std::function<void()> action) = 0;
  /// Forgets a timer; one that has fired, or 0, is ignored.
  virtual void StopTimer(TimerId timer) = 0;

  class SleepAwaiter;
  /// `co_await loop.Sleep(150ms);`
  SleepAwaiter Sleep(Duration duration);
  /// Periodic work waits until absolute deadlines, so that error never accumulates.
  SleepAwaiter SleepUntil(TimePoint when);
  /// Gives every other event that is due its turn.
  SleepAwaiter Pass();
};

class Loop::SleepAwaiter {
 public:
  SleepAwaiter(Loop& loop, TimePoint when) : loop_(loop), when_(when) {}
  SleepAwaiter(const SleepAwaiter&) = delete;
  SleepAwaiter& operator=(const SleepAwaiter&) = delete;
  ~SleepAwaiter() { loop_.StopTimer(timer_); }
  bool await_ready() const { return false; }
  void await_suspend(Task::Handle handle) {
    Task::Suspended(handle);
    timer_ = loop_.StartTimer(when_, [this, handle] {
      timer_ = 0;
      Task::Resume(handle);
    });
  }
  void await_resume() const {}

 private:
  Loop& loop_;
  TimePoint when_;
  TimerId timer_ = 0;
};

inline Loop::SleepAwaiter Loop::Sleep(Duration duration) {
  return SleepAwaiter(*this, Now() + duration);
}
inline Loop::SleepAwaiter Loop::SleepUntil(TimePoint when) {
  return SleepAwaiter(*this, when);
}
inline Loop::SleepAwaiter Loop::Pass() {
  return SleepAwaiter(*this, Now());
}

/// Something that a procedure waits for, with an end: `auto came = co_await arrived.Within(loop, 150ms);`
/// One procedure waits on a Signal at a time. Its awaiter must not outlive it.
class Signal {
 public:
  class Awaiter;
  Signal() = default;
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  /// Wakes the waiting procedure, if there is one, before this call returns.
  void Notify();
  /// Waits for Notify, at most `limit`; true when it came.
  Awaiter Within(Loop& loop, Duration limit);

 private:
  Awaiter* waiting_ = nullptr;
};

class Signal::Awaiter {
 public:
  Awaiter(Signal& signal, Loop& loop, TimePoint limit) : signal_(signal), loop_(loop), limit_(limit) {}
  Awaiter(const Awaiter&) = delete;
  Awaiter& operator=(const Awaiter&) = delete;
  ~Awaiter() {
    loop_.StopTimer(timer_);
    if (signal_.waiting_ == this) signal_.waiting_ = nullptr;
  }
  bool await_ready() const { return false; }
  void await_suspend(Task::Handle handle) {
    Task::Suspended(handle);
    handle_ = handle;
    signal_.waiting_ = this;
    timer_ = loop_.StartTimer(limit_, [this] { Wake(false); });
  }
  bool await_resume() const { return notified_; }

 private:
  friend class Signal;
  void Wake(bool notified) {
    notified_ = notified;
    signal_.waiting_ = nullptr;
    loop_.StopTimer(timer_);
    timer_ = 0;
    Task::Resume(handle_);
  }

  Signal& signal_;
  Loop& loop_;
  TimePoint limit_;
  Task::Handle handle_;
  Loop::TimerId timer_ = 0;
  bool notified_ = false;
};

inline void Signal::Notify() {
  if (waiting_ != nullptr) waiting_->Wake(true);
}
inline Signal::Awaiter Signal::Within(Loop& loop, Duration limit) {
  return Awaiter(*this, loop, loop.Now() + limit);
}

}  // namespace kvx
