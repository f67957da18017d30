#include "platform/key_line.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "core/timer_queue.h"
#include "fakes/temporary_folder.h"
#include "platform/posix/data_lines.h"
#include "platform/posix/parallel_port.h"
#include "platform/posix/thread_key_line.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

/// Real time, for the thread lives in it.
class RealLoop final : public Loop {
 public:
  TimePoint Now() const override { return std::chrono::steady_clock::now(); }
  UtcTime UtcNow() const override { return {}; }
  std::chrono::minutes LocalOffset() const override { return {}; }
  TimerId StartTimer(TimePoint when, std::function<void()> action) override {
    return queue_.Add(when, std::move(action));
  }
  void StopTimer(TimerId timer) override { queue_.Remove(timer); }
  /// False when it did not become true within half a minute.
  bool RunUntil(const std::function<bool()>& done) {
    for (const TimePoint end = Now() + 30s; !done(); std::this_thread::sleep_for(1ms)) {
      if (Now() > end) return false;
      queue_.RunDue(Now());
    }
    return true;
  }

 private:
  TimerQueue queue_;
};

/// A pseudo-terminal and the record of what is asked of its lines.
class KeyLineTest : public testing::Test {
 protected:
  KeyLineTest() {
    std::array<char, 64> name{};
    EXPECT_EQ(::openpty(&ends_[0], &ends_[1], name.data(), nullptr, nullptr), 0);
    path_ = name.data();
    ::setenv("KVX_LINE_LOG", log_.c_str(), 1);
  }
  ~KeyLineTest() override {
    ::unsetenv("KVX_LINE_LOG");
    for (const int end : ends_) ::close(end);
  }

  /// "DTR 1 RTS 0 ..."
  std::string Record() const {
    std::ifstream file(log_);
    std::string all;
    std::string line;
    while (std::getline(file, line)) all += (all.empty() ? "" : " ") + line.substr(line.find(' ') + 1);
    return all;
  }
  TimePoint LastTime() const {
    std::ifstream file(log_);
    std::string line;
    TimePoint last;
    while (std::getline(file, line)) last = TimePoint(Duration(std::stoll(line)));
    return last;
  }
  void Forget() { std::ofstream(log_, std::ios::trunc); }
  void Unplug() { std::ofstream(log_ + ".gone"); }
  std::unique_ptr<ThreadKeyLine> Open(KeyLines lines = {}) {
    auto line = std::make_unique<ThreadKeyLine>(loop_, std::make_unique<SerialKeyOutput>(path_, lines));
    line->on_idle = [this] { idle_ = true; };
    line->on_mark = [this](int mark) { marks_.push_back(mark); };
    line->on_lost = [this](const std::string& why) { lost_ += why; };
    const Status opened = line->Open();
    EXPECT_TRUE(opened) << (opened ? "" : opened.error().message);
    return line;
  }
  /// What is recorded when a process ends in some way in the middle of a key-down of a minute, and how it ended.
  std::pair<std::string, int> EndedBy(const std::function<void(ThreadKeyLine&)>& end, KeyLines lines = {}) {
    Forget();
    const pid_t child = ::fork();
    if (child == 0) {
      const rlimit none{0, 0};
      ::setrlimit(RLIMIT_CORE, &none);
      ::signal(SIGSEGV, SIG_DFL);  // a sanitizer has its own action
      auto line = Open(lines);
      Forget();
      line->Play({{.key = true, .ptt = true, .length = 60s}});
      loop_.RunUntil([&] { return Record().find("DTR") != std::string::npos; });
      end(*line);
      ::_exit(9);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return {Record(), status};
  }

  TemporaryFolder folder_;
  std::string log_ = (folder_.path() / "lines").string();
  std::string path_;
  SharedParallelPorts ports_;
  std::array<int, 2> ends_{-1, -1};
  RealLoop loop_;
  bool idle_ = false;
  std::vector<int> marks_;
  std::string lost_;
};

TEST_F(KeyLineTest, WritesEveryEdgeInItsOrderAndNoneBeforeItsTime) {
  auto line = Open();
  EXPECT_EQ(Record(), "DTR 0 RTS 0") << "released from the first moment";
  Forget();
  const TimePoint began = loop_.Now();
  line->Play({{.ptt = true, .length = 5ms},
              {.key = true, .ptt = true, .length = 10ms, .mark = 1},
              {.ptt = true, .length = 20ms, .mark = 2},
              {.ptt = true, .length = 60s, .mark = 3, .tail = true}});
  line->Play({{.key = true, .ptt = true, .length = 10ms, .mark = 4}, {.ptt = true, .length = 10ms}});
  EXPECT_GT(line->remaining(), 0ms);
  EXPECT_TRUE(loop_.RunUntil([&] { return idle_; }));
  EXPECT_EQ(Record(), "RTS 1 DTR 1 DTR 0 DTR 1 DTR 0 RTS 0");
  EXPECT_GE(LastTime() - began, 55ms);
  EXPECT_EQ(marks_, (std::vector<int>{1, 2, 4}));
  EXPECT_EQ(line->remaining(), 0ms);
  // A second time, from rest, and instead of something long.
  idle_ = false;
  Forget();
  line->Play({{.key = true, .length = 60s}});
  EXPECT_TRUE(loop_.RunUntil([&] { return Record() == "DTR 1"; }));
  line->PlayInstead({{.ptt = true, .length = 5ms, .mark = 5, .tail = true}});
  EXPECT_TRUE(loop_.RunUntil([&] { return idle_; }));
  EXPECT_EQ(Record(), "DTR 1 RTS 1 DTR 0 RTS 0");
  EXPECT_EQ(marks_.back(), 5);
}

TEST_F(KeyLineTest, ReleasesBeforeTheCallReturns) {
  for (const bool close : {false, true}) {
    auto line = Open();
    Forget();
    line->Play({{.key = true, .ptt = true, .length = 60s, .mark = 9}, {.length = 60s}});
    EXPECT_TRUE(loop_.RunUntil([&] { return Record() == "RTS 1 DTR 1"; }));
    close ? line->Close() : line->Release();
    EXPECT_EQ(Record(), "RTS 1 DTR 1 DTR 0 RTS 0");
    EXPECT_EQ(line->remaining(), 0ms);
    EXPECT_EQ(line->is_open(), !close);
  }
}

TEST_F(KeyLineTest, EndsALongKeyDownWhileTheEngineHangs) {
  auto line = Open({.key_on_rts = true});
  Forget();
  line->Play({{.key = true, .ptt = true, .length = 50ms}});
  for (int i = 0; i < 30'000 && Record() != "DTR 1 RTS 1 RTS 0 DTR 0"; ++i) std::this_thread::sleep_for(1ms);
  EXPECT_EQ(Record(), "DTR 1 RTS 1 RTS 0 DTR 0") << "without a turn of the loop";
}

TEST_F(KeyLineTest, TriesAgainToReleaseWhatTheDeviceHasRefusedToRelease) {
  for (const bool by_the_thread : {false, true}) {
    auto line = Open();
    Forget();
    line->Play({{.key = true, .ptt = true, .length = by_the_thread ? 1s : 60s}});
    ASSERT_TRUE(loop_.RunUntil([&] { return Record() == "RTS 1 DTR 1"; }));
    Unplug();
    by_the_thread ? std::this_thread::sleep_for(1200ms) : line->Release();
    EXPECT_EQ(Record(), "RTS 1 DTR 1");
    std::filesystem::remove(log_ + ".gone");
    for (int i = 0; i < 30'000 && Record() != "RTS 1 DTR 1 DTR 0 RTS 0"; ++i) std::this_thread::sleep_for(1ms);
    EXPECT_EQ(Record(), "RTS 1 DTR 1 DTR 0 RTS 0") << "without a turn of the loop";
    EXPECT_TRUE(loop_.RunUntil([&] { return !line->is_open(); }));
    EXPECT_EQ(lost_, "the key line does not work any more: Input/output error");
    lost_.clear();
  }
}

/// A device that takes long over its first edge.
class SlowOutput final : public KeyOutput {
 public:
  explicit SlowOutput(std::vector<TimePoint>& times) : times_(times) {}
  Status Open() override { return Ok(); }
  void Close() override {}
  int Set(bool, bool) override {
    times_.push_back(std::chrono::steady_clock::now());
    if (times_.size() == 1) std::this_thread::sleep_for(600ms);
    return 0;
  }
  std::string fault() const override { return {}; }

 private:
  std::vector<TimePoint>& times_;
};

TEST_F(KeyLineTest, ADelayLosesNoElement) {
  std::vector<TimePoint> times;
  ThreadKeyLine line(loop_, std::make_unique<SlowOutput>(times));
  line.on_idle = [&] { idle_ = true; };
  ASSERT_TRUE(line.Open());
  line.Play({{.key = true, .length = 400ms}, {.length = 400ms}, {.key = true, .length = 400ms}});
  EXPECT_TRUE(loop_.RunUntil([&] { return idle_; }));
  ASSERT_EQ(times.size(), 4U);
  EXPECT_GT(times[2] - times[1], 280ms) << "not made up for in the next one";
  EXPECT_GT(times[3] - times[2], 280ms);
}

TEST_F(KeyLineTest, KnowsInvertedLinesAndKeyingWithoutPtt) {
  auto line = Open({.use_ptt = false, .inverted = true});
  EXPECT_EQ(Record(), "DTR 1 RTS 1");
  Forget();
  line->Play({{.ptt = true, .length = 1ms}, {.key = true, .ptt = true, .length = 1ms}});
  EXPECT_TRUE(loop_.RunUntil([&] { return idle_; }));
  EXPECT_EQ(Record(), "DTR 0 DTR 1");
}

TEST_F(KeyLineTest, TellsOnceThatTheDeviceHasGone) {
  auto line = Open();
  Unplug();
  line->Play({{.key = true, .ptt = true, .length = 1ms}, {.length = 1ms}, {.key = true, .length = 1ms}});
  EXPECT_TRUE(loop_.RunUntil([&] { return !line->is_open(); }));
  EXPECT_EQ(lost_, "the key line does not work any more: Input/output error");
  EXPECT_FALSE(idle_);
  // One that is not keyed at that moment.
  lost_.clear();
  std::filesystem::remove(log_ + ".gone");
  ASSERT_TRUE(line->Open());
  ::close(std::exchange(ends_[0], -1));
  EXPECT_TRUE(loop_.RunUntil([&] { return !line->is_open(); }));
  EXPECT_EQ(lost_, path_ + ": the device has gone (unplugged or switched off)");
}

TEST_F(KeyLineTest, SaysWhatItCannotOpen) {
  ThreadKeyLine missing(loop_, std::make_unique<SerialKeyOutput>("/dev/no-such-port", KeyLines{}));
  EXPECT_EQ(missing.Open().error().message, "/dev/no-such-port: no such device");
  ThreadKeyLine lpt(loop_, std::make_unique<ParallelKeyOutput>(ports_, "/dev/no-such-port", KeyLines{}));
  EXPECT_EQ(lpt.Open().error().message, "/dev/no-such-port: no such parallel port");
  ::unsetenv("KVX_LINE_LOG");
  ThreadKeyLine bare(loop_, std::make_unique<SerialKeyOutput>(path_, KeyLines{}));
  EXPECT_EQ(bare.Open().error().message, path_ + ": has no DTR and RTS lines that could be keyed");
  ThreadKeyLine pins(loop_, std::make_unique<ParallelKeyOutput>(ports_, path_, KeyLines{}));
  EXPECT_EQ(pins.Open().error().message, path_ + ": not a parallel port");
  bare.Play({{.key = true, .length = 1s}});
  EXPECT_EQ(bare.remaining(), 0ms);
}

TEST_F(KeyLineTest, KeysALentDeviceUntilItsOwnerClosesIt) {
  int lent = -1;
  ThreadKeyLine line(loop_, std::make_unique<SerialKeyOutput>([&] { return lent; }, KeyLines{.use_ptt = false}));
  line.on_lost = [&](const std::string& why) { lost_ = why; };
  EXPECT_EQ(line.Open().error().code, ErrorCode::kClosed);
  lent = ends_[1];
  ASSERT_TRUE(line.Open());
  EXPECT_EQ(Record(), "DTR 0") << "the other line is the rig port's";
  line.Play({{.key = true, .ptt = true, .length = 60s}});
  EXPECT_TRUE(loop_.RunUntil([&] { return Record() == "DTR 0 DTR 1"; }));
  lent = -1;
  EXPECT_TRUE(loop_.RunUntil([&] { return !line.is_open(); }));
  EXPECT_EQ(lost_, "the rig port, whose lines are keyed, has been closed");
  EXPECT_EQ(Record(), "DTR 0 DTR 1 DTR 0");
}

TEST_F(KeyLineTest, KeysTwoPinsOfAParallelPort) {
  ThreadKeyLine line(loop_, std::make_unique<ParallelKeyOutput>(ports_, path_, KeyLines{}));
  line.on_idle = [&] { idle_ = true; };
  ASSERT_TRUE(line.Open());
  EXPECT_EQ(Record(), "CLAIM 1 CONTROL 0c 08") << "pin 17 is inverted by the hardware: its bit is set when it is low";
  Forget();
  line.Play({{.ptt = true, .length = 1ms}, {.key = true, .ptt = true, .length = 1ms}});
  EXPECT_TRUE(loop_.RunUntil([&] { return idle_; }));
  EXPECT_EQ(Record(), "CONTROL 0c 0c CONTROL 0c 04 CONTROL 0c 08");
  Forget();
  PosixDataLines antennas(ports_, path_);
  ASSERT_TRUE(antennas.Open());
  line.Close();
  ASSERT_TRUE(antennas.WriteData(0x08));
  antennas.Close();
  EXPECT_EQ(Record(), "CONTROL 0c 08 DATA 08 CLAIM 0")
      << "both have the port, which is claimed once and until nobody has it";
}

TEST_F(KeyLineTest, AParallelPortHoldsItsDataByte) {
  PosixParallelPort port(path_);
  ASSERT_TRUE(port.Open());
  PosixParallelPort second(path_);
  EXPECT_EQ(second.Open().error().message, path_ + ": in use already by this program");
  ASSERT_TRUE(port.WriteData(0x5A));
  EXPECT_EQ(port.data(), 0x5A);
  EXPECT_EQ(*port.ReadData(), 0x5A);
  Unplug();
  EXPECT_FALSE(port.WriteData(0x01));
  EXPECT_EQ(port.data(), 0x5A) << "what was not written is not claimed to be";
  port.Close();
  EXPECT_FALSE(port.ReadData());
}

TEST_F(KeyLineTest, IsReleasedHoweverTheProgramEnds) {
  const std::string released = "RTS 1 DTR 1 DTR 0 RTS 0";
  const auto [at_crash, crashed] = EndedBy([](ThreadKeyLine&) { ::raise(SIGSEGV); });
  EXPECT_EQ(at_crash, released);
  EXPECT_TRUE(WIFSIGNALED(crashed) && WTERMSIG(crashed) == SIGSEGV) << crashed;
  const auto [at_exit, ended] = EndedBy([](ThreadKeyLine&) { std::exit(3); });
  EXPECT_EQ(at_exit, released);
  EXPECT_TRUE(WIFEXITED(ended) && WEXITSTATUS(ended) == 3) << ended;
  EXPECT_EQ(EndedBy([](ThreadKeyLine& line) { line.~ThreadKeyLine(); }).first, released);
  EXPECT_EQ(EndedBy([](ThreadKeyLine&) { ::raise(SIGABRT); }, {.inverted = true}).first, "RTS 0 DTR 0 DTR 1 RTS 1");
}

}  // namespace
}  // namespace kvx::platform
