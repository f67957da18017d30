#include "core/task.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "fakes/virtual_loop.h"

namespace kvx {
namespace {

using namespace std::chrono_literals;

/// What the procedures of one test share. Its `log` holds a letter for every step, upper case for the end of a local's
/// life.
struct Stage {
  VirtualLoop loop;
  Signal signal;
  std::string log;
  Task task;
};

/// Shows in the log when a procedure's locals go.
class Witness {
 public:
  Witness(Stage* stage, char mark) : stage_(stage), mark_(mark) {}
  Witness(const Witness&) = delete;
  Witness& operator=(const Witness&) = delete;
  ~Witness() { stage_->log += mark_; }

 private:
  Stage* stage_;
  char mark_;
};

Task Step(Stage* stage, char letter, Duration wait) {
  const Witness witness(stage, static_cast<char>(letter - 'a' + 'A'));
  stage->log += letter;
  co_await stage->loop.Sleep(wait);
  stage->log += letter;
}

Task Sequence(Stage* stage) {
  const Witness witness(stage, 'S');
  stage->log += '<';
  co_await Step(stage, 'a', 1s);
  Task kept = Step(stage, 'b', 0s);
  co_await kept;
  Task quick;
  co_await quick;
  stage->log += '>';
}

TEST(Task, JoinedStepsRunInTheirOrder) {
  Stage stage;
  stage.task = Sequence(&stage);
  stage.loop.RunFor(2s);
  EXPECT_EQ(stage.log, "<aaAbbB>S");
  EXPECT_EQ(stage.loop.timers(), 0U);
}

TEST(Task, DestroyedWhileItWaitsItGoesWithItsStepsAndTimers) {
  Stage stage;
  stage.task = Sequence(&stage);
  stage.task = Task();
  EXPECT_EQ(stage.log, "<aAS");
  EXPECT_EQ(stage.loop.timers(), 0U);
  stage.loop.RunFor(1h);
  EXPECT_EQ(stage.log, "<aAS");
}

Task Restarting(Stage* stage, int rounds) {
  const Witness witness(stage, 'R');
  co_await stage->loop.Sleep(10ms);
  stage->log += static_cast<char>('0' + rounds);
  if (rounds > 0) stage->task = Restarting(stage, rounds - 1);
  stage->log += '.';
  co_await stage->loop.Sleep(10ms);
  stage->log += '!';
}

TEST(Task, StartedAnewFromInsideItEndsAtItsNextWait) {
  Stage stage;
  stage.task = Restarting(&stage, 2);
  stage.loop.RunFor(1s);
  EXPECT_EQ(stage.log, "2.R1.R0.!R");
  EXPECT_EQ(stage.loop.timers(), 0U);
}

Task CancelSelf(Stage* stage) {
  const Witness witness(stage, 'C');
  co_await stage->loop.Sleep(1ms);
  stage->task.Cancel();
  stage->log += 'c';
}

TEST(Task, CancelledFromInsideItMayStillRunToItsEnd) {
  Stage stage;
  stage.task = CancelSelf(&stage);
  stage.loop.RunFor(1s);
  EXPECT_EQ(stage.log, "cC");
  EXPECT_TRUE(stage.task.done());
}

Task Await(Stage* stage, Task* other) {
  const Witness witness(stage, 'W');
  co_await *other;
  stage->log += 'w';
  co_await stage->loop.Sleep(1ms);
  stage->log += 'x';
}

TEST(Task, WhoeverWaitsForACancelledOrReplacedTaskGoesOn) {
  Stage stage;
  stage.task = Step(&stage, 'a', 1h);
  const Task waiter = Await(&stage, &stage.task);
  stage.task.Cancel();
  EXPECT_EQ(stage.log, "aAw");
  stage.loop.RunFor(1s);
  EXPECT_EQ(stage.log, "aAwxW");

  stage.log.clear();
  stage.task = Step(&stage, 'b', 1h);
  const Task second = Await(&stage, &stage.task);
  stage.task = Step(&stage, 'c', 1h);
  EXPECT_EQ(stage.log, "bcBw");
}

TEST(Task, ATaskThatIsDestroyedWakesNobodyAndLeavesNothingBehind) {
  Stage stage;
  auto child = std::make_unique<Task>(Step(&stage, 'a', 1h));
  std::optional<Task> waiter = Await(&stage, child.get());
  child.reset();
  stage.loop.RunFor(2h);
  EXPECT_EQ(stage.log, "aA");
  waiter.reset();
  EXPECT_EQ(stage.log, "aAW");
}

TEST(Task, AWaiterThatGoesFirstIsForgotten) {
  Stage stage;
  stage.task = Step(&stage, 'a', 1s);
  std::optional<Task> waiter = Await(&stage, &stage.task);
  waiter.reset();
  stage.loop.RunFor(2s);
  EXPECT_EQ(stage.log, "aWaA");
}

Task Listen(Stage* stage, int times) {
  for (int i = 0; i < times; ++i) {
    const auto came = co_await stage->signal.Within(stage->loop, 100ms);
    stage->log += came ? 'y' : 'n';
  }
}

TEST(Signal, WakesAtOnceOrAtTheLimit) {
  Stage stage;
  stage.signal.Notify();  // nobody waits: forgotten
  stage.task = Listen(&stage, 3);
  stage.loop.RunFor(50ms);
  stage.signal.Notify();
  EXPECT_EQ(stage.log, "y") << "before Notify returns";
  stage.loop.RunFor(99ms);
  EXPECT_EQ(stage.log, "y");
  stage.loop.RunFor(1ms);
  EXPECT_EQ(stage.log, "yn");
  stage.signal.Notify();
  EXPECT_EQ(stage.log, "yny");
  stage.signal.Notify();
  EXPECT_EQ(stage.loop.timers(), 0U);
}

TEST(Signal, ItsListenerMayGoWhileItWaits) {
  Stage stage;
  stage.task = Listen(&stage, 1);
  stage.task = Task();
  stage.signal.Notify();
  EXPECT_EQ(stage.log, "");
  EXPECT_EQ(stage.loop.timers(), 0U);
}

}  // namespace
}  // namespace kvx
