#include "platform/qt/qt_loop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <memory>
#include <vector>

#include "event_loop.h"
#include "platform/qt/later_call.h"

namespace kvx {
namespace {

using namespace std::chrono_literals;
using platform::QtLoop;

TEST(QtLoop, TimersFireInTheOrderOfTheirDeadlinesAndNeverEarly) {
  QtLoop loop;
  const TimePoint start = loop.Now();
  std::vector<Duration> fired;
  int early = 0;
  for (const Duration after :
       {Duration(7ms), Duration(300us), Duration(-1h), Duration(7ms + 1ns), Duration(2ms), Duration(0)}) {
    loop.StartTimer(start + after, [&, after] {
      fired.push_back(after);
      if (loop.Now() < start + after) ++early;
    });
  }
  loop.StopTimer(loop.StartTimer(start + 1ms, [&] { fired.push_back(1ms); }));
  EXPECT_TRUE(fired.empty()) << "a timer fired from inside StartTimer";
  EXPECT_TRUE(WaitFor([&] { return fired.size() >= 6; }));
  EXPECT_EQ(fired, (std::vector<Duration>{-1h, 0ns, 300us, 2ms, 7ms, 7ms + 1ns}));
  EXPECT_EQ(early, 0);
}

/// A procedure that does nothing but pass.
struct Passer {
  Task Run() {
    for (;;) {
      co_await loop.Pass();
      ++passes;
    }
  }
  QtLoop loop;
  int passes = 0;
};

TEST(QtLoop, PassesLeaveOtherEventsTheirTurn) {
  Passer passer;
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ASSERT_EQ(::write(ends[1], "x", 1), 1);
  int events = 0;
  QSocketNotifier readable(ends[0], QSocketNotifier::Read);
  QObject::connect(&readable, &QSocketNotifier::activated, &readable, [&] { ++events; });
  const Task task = passer.Run();
  ASSERT_TRUE(WaitFor([&] { return passer.passes >= 500; }));
  EXPECT_GE(events, passer.passes / 4);
  readable.setEnabled(false);
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(QtLoop, GoesOnInsideANestedEventLoopAndIsQuietWhenNothingIsDue) {
  QtLoop loop;
  bool inner = false;
  bool outer = false;
  loop.StartTimer(loop.Now() + 10ms, [&] { inner = true; });
  loop.StartTimer(loop.Now() + 1ms, [&] { outer = WaitFor([&] { return inner; }); });
  EXPECT_TRUE(WaitFor([&] { return outer; }));

  loop.StopTimer(loop.StartTimer(loop.Now() + 1ms, [] {}));
  loop.StartTimer(loop.Now() + 24h * 365, [] {});
  EXPECT_LE(WakeUpsIn(200ms), kFewWakeUps);
}

TEST(LaterCall, RunsOnceForManyRequestsAndNotAfterCancel) {
  int calls = 0;
  auto call = std::make_unique<platform::LaterCall>([&] { ++calls; });
  call->Request();
  call->Request();
  EXPECT_EQ(calls, 0);
  WakeUpsIn(5ms);
  EXPECT_EQ(calls, 1);
  call->Request();
  call->Cancel();
  WakeUpsIn(5ms);
  EXPECT_EQ(calls, 1);
  call->Request();
  call->Cancel();
  call->Request();
  WakeUpsIn(5ms);
  EXPECT_EQ(calls, 2);
  call->Request();
  call.reset();
  WakeUpsIn(5ms);
  EXPECT_EQ(calls, 2);
}

TEST(QtLoop, LocalOffsetFollowsTheZone) {
  const QtLoop loop;
  ::setenv("TZ", "XYZ-05:30", 1);
  EXPECT_EQ(loop.LocalOffset(), 330min);
  ::setenv("TZ", "XYZ+03:30", 1);
  EXPECT_EQ(loop.LocalOffset(), -210min);
  ::unsetenv("TZ");
}

}  // namespace
}  // namespace kvx
