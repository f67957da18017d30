#include "console/clock.h"

#include "console_fixture.h"

namespace kvx::console {
namespace {

TEST(Clock, ShowsUtcOrWhatTheOperatorsHoursMakeOfLocalTime) {
  VirtualLoop loop;
  Console console;
  Clock clock(loop, console);
  loop.RunFor(25s + 309ms);
  EXPECT_EQ(clock.Text(), "2026-11-21 14:00:25.30");
  loop.SetLocalOffset(-300min);
  EXPECT_EQ(clock.Text(), "2026-11-21 14:00:25.30");
  clock.SetGmtHours(6);
  EXPECT_EQ(clock.Text(), "2026-11-21 15:00:25.30");
  clock.SetGmtHours(-10);
  EXPECT_EQ(clock.Text(), "2026-11-20 23:00:25.30");
}

TEST(Clock, BeatsAsWishedButLeavesASlowLineItsTime) {
  struct Row {
    Duration wished;
    int speed;
    int changes;  // of its text in 10 s
  };
  for (const Row& row : {Row{50ms, 38400, 200}, Row{100ms, 38400, 100}, Row{1ms, 115200, 1000}, Row{50ms, 4800, 72},
                         Row{50ms, 1200, 18}, Row{60s, 9600, 2}, Row{2s, 1200, 5}, Row{50ms, 0, 4}}) {
    VirtualLoop loop;
    Console console;
    Clock clock(loop, console);
    int changes = 0;
    const auto subscription = console.Subscribe([&](Field field) { changes += field == Field::kRiggmt; });
    clock.SetPace(row.wished, row.speed, 60);
    clock.Start();
    loop.RunFor(10s - 1ms);
    EXPECT_NEAR(changes, row.changes, 1) << row.speed;
    clock.Stop();
    EXPECT_EQ(loop.timers(), 0U);
  }
}

}  // namespace
}  // namespace kvx::console
