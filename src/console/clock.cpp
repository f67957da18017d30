#include "console/clock.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr std::int64_t kBitsPerCharacter = 11;

}  // namespace

void Clock::SetPace(Duration wished, int speed, int characters) {
  // A poll cycle is two beats: it gets twice the time that it costs on the line.
  const Duration line = std::chrono::nanoseconds(1s) * kBitsPerCharacter * characters / std::max(speed, 300);
  interval_ = std::max(std::clamp<Duration>(wished, 10ms, 5s), line);
}

std::string Clock::Text() const {
  const UtcTime now = loop_.UtcNow() + (gmt_hours_ == 0 ? 0min : loop_.LocalOffset() + std::chrono::hours(gmt_hours_));
  const auto day = std::chrono::floor<std::chrono::days>(now);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(now - day);
  return PadNumber(static_cast<int>(date.year()), 4) + "-" + PadNumber(static_cast<unsigned>(date.month()), 2) + "-" +
         PadNumber(static_cast<unsigned>(date.day()), 2) + " " + PadNumber(time.hours().count(), 2) + ":" +
         PadNumber(time.minutes().count(), 2) + ":" + PadNumber(time.seconds().count(), 2) + "." +
         PadNumber(time.subseconds().count() / 10, 2);
}

Task Clock::Run() {
  TimePoint next = loop_.Now();
  while (true) {
    console_.RIGGMT.Set(Text());
    next = std::max(next + interval_, loop_.Now());
    co_await loop_.SleepUntil(next);
  }
}

}  // namespace kvx::console
