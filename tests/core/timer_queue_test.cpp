#include "core/timer_queue.h"

#include <gtest/gtest.h>

#include <string>

namespace kvx {
namespace {

using namespace std::chrono_literals;

constexpr TimePoint kStart{1h};

TEST(TimerQueue, FiresByTimeThenByOrderOfStart) {
  TimerQueue queue;
  std::string fired;
  queue.Add(kStart + 2s, [&] { fired += 'c'; });
  queue.Add(kStart + 1s, [&] { fired += 'a'; });
  queue.Add(kStart + 1s, [&] { fired += 'b'; });
  queue.Add(kStart + 3s, [&] { fired += 'x'; });
  EXPECT_EQ(queue.next(), kStart + 1s);
  queue.RunDue(kStart + 2s);
  EXPECT_EQ(fired, "abc");
  EXPECT_EQ(queue.next(), kStart + 3s);
}

TEST(TimerQueue, ActionsMayStartAndStopTimers) {
  TimerQueue queue;
  std::string fired;
  Loop::TimerId doomed = 0;
  Loop::TimerId own = 0;
  own = queue.Add(kStart, [&] {
    fired += 'a';
    queue.Remove(doomed);
    queue.Remove(own);
    queue.Add(kStart - 1s, [&] { fired += 'n'; });
  });
  doomed = queue.Add(kStart, [&] { fired += 'd'; });
  queue.Add(kStart, [&] { fired += 'b'; });
  queue.RunDue(kStart);
  EXPECT_EQ(fired, "ab") << "a timer started in a pass waits for the next one, so that a pass ends";
  queue.RunDue(kStart);
  EXPECT_EQ(fired, "abn");
  queue.Remove(doomed);
  queue.Remove(0);
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(queue.next(), std::nullopt);
}

}  // namespace
}  // namespace kvx
