#include "platform/qt/qt_loop.h"

#include <time.h>

#include <algorithm>
#include <utility>

namespace kvx::platform {

QtLoop::QtLoop() {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { Fire(); });
}

TimePoint QtLoop::Now() const {
  return std::chrono::steady_clock::now();
}

UtcTime QtLoop::UtcNow() const {
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

std::chrono::minutes QtLoop::LocalOffset() const {
  ::tzset();  // the operator may have moved to another zone
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm local{};
  if (::localtime_r(&now, &local) == nullptr) return std::chrono::minutes(0);
  return std::chrono::floor<std::chrono::minutes>(std::chrono::seconds(local.tm_gmtoff));
}

Loop::TimerId QtLoop::StartTimer(TimePoint when, std::function<void()> action) {
  const TimerId timer = queue_.Add(when, std::move(action));
  Arm();
  return timer;
}

void QtLoop::StopTimer(TimerId timer) {
  queue_.Remove(timer);
  Arm();
}

void QtLoop::Arm() {
  const std::optional<TimePoint> next = queue_.next();
  if (next == armed_) return;
  armed_ = next;
  if (!next) {
    timer_.stop();
    return;
  }
  // A deadline that is far away is approached in steps: Qt counts milliseconds in an int.
  constexpr std::chrono::milliseconds kLongest = std::chrono::hours(1);
  const TimePoint now = Now();
  if (*next <= now) {
    timer_.start(0);
  } else if (*next - now > kLongest) {
    timer_.start(kLongest);
  } else {
    timer_.start(std::chrono::ceil<std::chrono::milliseconds>(*next - now));
  }
}

void QtLoop::Fire() {
  // Armed before the actions run as well: one of them may open a menu, and the engine must go on under it.
  armed_.reset();
  Arm();
  queue_.RunDue(Now());
  Arm();
}

}  // namespace kvx::platform
