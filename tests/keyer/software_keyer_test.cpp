#include "keyer/software_keyer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/timer_queue.h"
#include "fakes/fake_serial_port.h"
#include "fakes/virtual_loop.h"
#include "keyer/morse.h"
#include "keyer/port_key_line.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

/// Dot 60 ms, without PTT times.
KeyerSettings AtTwenty() {
  KeyerSettings settings;
  settings.kind = KeyerKind::kComLine;
  settings.speed = 20;
  return settings;
}

/// A keyer on the lines of a port in memory: the key on DTR, PTT on RTS.
struct Bench {
  explicit Bench(const KeyerSettings& settings = AtTwenty())
      : keyer(loop,
              std::make_unique<PortKeyLine>(loop, port, platform::KeyLines{}, platform::PortSettings{.number = 4}),
              settings) {
    keyer.on_ready = [this] { events += "ready "; };
    keyer.on_failed = [this](const std::string& why) { events += "failed(" + why + ") "; };
    keyer.on_lost = [this](const std::string&) { events += "lost "; };
    keyer.on_progress = [this] { Feed(); };
    keyer.Open();
    loop.RunPending();
  }
  bool key() const { return port.is_open() && port.dtr; }
  bool ptt() const { return port.is_open() && port.rts; }

  /// Lets time pass and notes how the lines stand in it, to the millisecond.
  void Run(Duration time) {
    for (const TimePoint end = loop.Now() + time;; loop.RunFor(1ms)) {
      loop.RunPending();
      const State now{key(), ptt()};
      if (now != std::exchange(before, now)) edges.push_back({loop.Now(), now});
      if (loop.Now() >= end) return;
    }
  }

  /// Gives a text as the sender does: as much as there is room for, the rest as room comes.
  void Give(const std::string& text) {
    for (const char character : text) waiting.emplace_back(1, character);
    Feed();
  }
  void Feed() {
    while (!waiting.empty() && keyer.room() > 0) {
      keyer.Send(waiting.front());
      waiting.erase(waiting.begin());
    }
  }
  std::string HistoryOf(const std::string& text) {
    Give(text);
    Run(10s);
    return TakeHistory();
  }

  /// The states since the last call, each with the milliseconds that it lasted: "PTT 20, KEY 60, PTT 60"; "KEY!" is
  /// without PTT, "-" neither. The state that stands now comes last, without a number.
  std::string TakeHistory() {
    std::string history;
    for (std::size_t i = 0; i < edges.size(); ++i) {
      const auto [key, ptt] = edges[i].second;
      history += key && ptt ? "KEY" : key ? "KEY!" : ptt ? "PTT" : "-";
      if (i + 1 < edges.size()) history += ' ' + std::to_string((edges[i + 1].first - edges[i].first) / 1ms) + ", ";
    }
    edges.clear();
    return history;
  }

  using State = std::pair<bool, bool>;  ///< key, PTT
  VirtualLoop loop;
  State before{false, false};
  std::vector<std::pair<TimePoint, State>> edges;
  FakeSerialPort port;
  SoftwareKeyer keyer;
  std::vector<std::string> waiting;
  std::string events;
};

TEST(Morse, KnowsTheSignsAndTheirLengths) {
  EXPECT_EQ(MorsePattern("Q"), "--.-");
  EXPECT_EQ(MorsePattern("q"), "--.-");
  EXPECT_EQ(MorsePattern("/"), "-..-.");
  EXPECT_EQ(MorsePattern("SK"), "...-.-") << "letters run together";
  EXPECT_EQ(MorsePattern(" "), " ");
  for (const std::string none : {"", "#", "\xC3\x84", "A#", "A B", "\x0A"}) EXPECT_EQ(MorsePattern(none), "") << none;
  int units = 0;
  for (const char letter : std::string("PARIS ")) units += MorseUnits(std::string(1, letter));
  EXPECT_EQ(units, 50) << "the word by which speed is counted";
  EXPECT_EQ(MorseLength("E", 20), 240ms);
  EXPECT_EQ(MorseUnits("#"), 0);
}

TEST(SoftwareKeyer, KeysEverySignWithTheSpacingOfTheWordParis) {
  Bench bench;
  // The table once more as a reader would write it, against a slip in the one that is used.
  const std::vector<std::pair<std::string, std::string>> signs{
      {"A", ".-"},     {"B", "-..."},   {"C", "-.-."},   {"D", "-.."},   {"E", "."},      {"F", "..-."},
      {"G", "--."},    {"H", "...."},   {"I", ".."},     {"J", ".---"},  {"K", "-.-"},    {"L", ".-.."},
      {"M", "--"},     {"N", "-."},     {"O", "---"},    {"P", ".--."},  {"Q", "--.-"},   {"R", ".-."},
      {"S", "..."},    {"T", "-"},      {"U", "..-"},    {"V", "...-"},  {"W", ".--"},    {"X", "-..-"},
      {"Y", "-.--"},   {"Z", "--.."},   {"1", ".----"},  {"2", "..---"}, {"3", "...--"},  {"4", "....-"},
      {"5", "....."},  {"6", "-...."},  {"7", "--..."},  {"8", "---.."}, {"9", "----."},  {"0", "-----"},
      {".", ".-.-.-"}, {",", "--..--"}, {"?", "..--.."}, {"/", "-..-."}, {"'", ".----."}, {"-", "-....-"}};
  for (const auto& [sign, pattern] : signs) {
    std::string expected;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
      expected += pattern[i] == '-' ? "KEY 180, " : "KEY 60, ";
      expected += i + 1 == pattern.size() ? "PTT 180, " : "PTT 60, ";
    }
    EXPECT_EQ(bench.HistoryOf(sign), expected + "-") << sign;
  }
  EXPECT_EQ(bench.HistoryOf("EE E"), "KEY 60, PTT 180, KEY 60, PTT 420, KEY 60, PTT 180, -");
}

TEST(SoftwareKeyer, WeightsWithoutChangingTheSpeedAndNeverToNothing) {
  KeyerSettings settings = AtTwenty();
  settings.compensation = 10;
  EXPECT_EQ(Bench(settings).HistoryOf("NE"), "KEY 190, PTT 50, KEY 70, PTT 170, KEY 70, PTT 170, -");
  settings.compensation = 250;
  EXPECT_EQ(Bench(settings).HistoryOf("N"), "KEY 210, PTT 30, KEY 90, PTT 150, -");
}

TEST(SoftwareKeyer, HoldsPttFromTheLeadToTheTail) {
  KeyerSettings settings = AtTwenty();
  settings.lead = 25ms;
  settings.tail = 300ms;
  Bench bench(settings);
  EXPECT_EQ(bench.HistoryOf("EE"), "PTT 25, KEY 60, PTT 180, KEY 60, PTT 300, -");
  EXPECT_EQ(bench.HistoryOf(" E "), "PTT 25, KEY 60, PTT 420, -") << "a blank alone does not transmit";
  // A letter that comes during the tail ends it, with PTT on all the time.
  bench.Give("E");
  bench.Run(25ms + 60ms + 200ms);
  EXPECT_EQ(bench.keyer.pending(), 0U);
  EXPECT_EQ(bench.HistoryOf("T"), "PTT 25, KEY 60, PTT 200, KEY 180, PTT 300, -");
  settings.use_ptt = false;
  EXPECT_EQ(Bench(settings).HistoryOf("E"), "KEY! 60, -");
}

TEST(SoftwareKeyer, TakesTwoSymbolsAndTellsWhichIsBeingSent) {
  Bench bench;
  EXPECT_EQ(bench.keyer.state(), "ready");
  bench.Give("ETE");
  EXPECT_EQ(bench.waiting.size(), 1U);
  EXPECT_EQ(bench.keyer.pending(), 2U);
  EXPECT_EQ(bench.keyer.state(), "busy");
  bench.Run(239ms);
  EXPECT_EQ(bench.waiting.size(), 1U);
  bench.Run(1ms);  // the T begins
  EXPECT_EQ(bench.waiting.size(), 0U);
  EXPECT_EQ(bench.keyer.pending(), 2U);
  bench.keyer.SetSpeed(40);  // reaches what is given from now on
  bench.Give("E");
  bench.Run(10s);
  EXPECT_EQ(bench.keyer.pending(), 0U);
  EXPECT_EQ(bench.TakeHistory(), "KEY 60, PTT 180, KEY 180, PTT 180, KEY 60, PTT 180, KEY 30, PTT 90, -");
}

TEST(SoftwareKeyer, AbortInTheMiddleOfADashLeavesBothLinesUp) {
  Bench bench;
  bench.Give("TTT");
  bench.Run(100ms);
  EXPECT_TRUE(bench.key() && bench.ptt());
  bench.waiting.clear();
  bench.keyer.Abort();
  EXPECT_FALSE(bench.key() || bench.ptt());
  EXPECT_EQ(bench.keyer.pending(), 0U);
  bench.Run(10s);
  EXPECT_EQ(bench.TakeHistory(), "KEY 100, -");
  EXPECT_EQ(bench.HistoryOf("E"), "KEY 60, PTT 180, -");
}

TEST(SoftwareKeyer, TuningEndsByItselfAndOnCommand) {
  KeyerSettings settings = AtTwenty();
  settings.lead = 20ms;
  settings.tail = 50ms;
  settings.tune_limit = 10s;
  Bench bench(settings);
  EXPECT_TRUE(bench.keyer.Key(true));
  EXPECT_TRUE(bench.keyer.Key(true));
  EXPECT_EQ(bench.keyer.room(), 0U);
  bench.Run(60s);
  EXPECT_EQ(bench.TakeHistory(), "PTT 20, KEY 10000, PTT 50, -");
  EXPECT_EQ(bench.keyer.state(), "ready");
  bench.keyer.Key(true);
  bench.Run(1s);
  bench.keyer.Key(false);
  bench.Run(60s);
  EXPECT_EQ(bench.TakeHistory(), "PTT 20, KEY 980, PTT 50, -");
  bench.keyer.Key(true);
  bench.Run(1s);
  bench.keyer.Close();
  EXPECT_FALSE(bench.key() || bench.ptt());
  EXPECT_FALSE(bench.keyer.Key(true));
}

TEST(SoftwareKeyer, ALostLineDropsTheTextAndIsTriedAgainUntilItIsBack) {
  Bench bench;
  EXPECT_EQ(bench.events, "ready ");
  bench.Give("TT");
  bench.Run(100ms);
  bench.port.absent = true;
  bench.port.Lose();
  EXPECT_EQ(bench.keyer.pending(), 0U);
  EXPECT_EQ(bench.keyer.room(), 0U);
  bench.Run(60s);
  EXPECT_EQ(bench.events, "ready lost ") << "it is tried in silence";
  EXPECT_LT(bench.port.opens, 30);
  bench.port.absent = false;
  bench.Run(5s);
  EXPECT_EQ(bench.events, "ready lost ready ");
  EXPECT_EQ(bench.TakeHistory(), "KEY 100, -");
  bench.keyer.Close();
  bench.port.absent = true;
  bench.keyer.Open();
  bench.Run(60s);
  EXPECT_EQ(bench.events, "ready lost ready failed(COM4: no such device) ");
  EXPECT_EQ(bench.keyer.state(), "failed");
  bench.keyer.Open();  // as for a text
  bench.Run(60s);
  bench.port.absent = false;
  bench.Run(5s);
  EXPECT_TRUE(bench.events.ends_with("failed(COM4: no such device) ready ")) << bench.events;
  EXPECT_EQ(bench.keyer.state(), "ready");
}

TEST(PortKeyLine, KeysTheLinesOfAnOpenPort) {
  VirtualLoop loop;
  FakeSerialPort port;
  PortKeyLine line(loop, port, {.key_on_rts = true, .inverted = true}, std::nullopt);
  EXPECT_EQ(line.Open().error().code, ErrorCode::kClosed);
  ASSERT_TRUE(port.Open({.number = 1}));
  ASSERT_TRUE(line.Open());
  EXPECT_TRUE(port.dtr && port.rts) << "active low";
  std::vector<int> marks;
  int idle = 0;
  line.on_mark = [&](int mark) { marks.push_back(mark); };
  line.on_idle = [&] { ++idle; };
  line.Play({{.ptt = true, .length = 20ms}, {.key = true, .ptt = true, .length = 60ms, .mark = 7}});
  line.Play({{.ptt = true, .length = 40ms, .tail = true}});
  loop.RunFor(10ms);
  EXPECT_TRUE(!port.dtr && port.rts);
  EXPECT_EQ(line.remaining(), 110ms);
  loop.RunFor(20ms);
  EXPECT_TRUE(!port.dtr && !port.rts);
  line.Play({{.key = false, .ptt = true, .length = 10ms}});  // instead of the tail
  loop.RunFor(51ms);
  EXPECT_TRUE(!port.dtr && port.rts);
  loop.RunFor(9ms);
  EXPECT_TRUE(port.dtr && port.rts);
  EXPECT_EQ(marks, std::vector<int>{7});
  EXPECT_EQ(idle, 1);
  line.Play({{.key = true, .ptt = true, .length = 1s}});
  loop.RunFor(10ms);
  line.Release();
  EXPECT_TRUE(port.dtr && port.rts);
  EXPECT_EQ(line.remaining(), 0ms);
}

TEST(PortKeyLine, OwnsAPortOfItsOwnAndTellsItsLoss) {
  VirtualLoop loop;
  FakeSerialPort port;
  PortKeyLine line(loop, port, {}, platform::PortSettings{.number = 4});
  std::string lost;
  line.on_lost = [&](const std::string& why) { lost += why; };
  port.absent = true;
  EXPECT_EQ(line.Open().error().message, "COM4: no such device");
  port.absent = false;
  ASSERT_TRUE(line.Open());
  EXPECT_FALSE(port.opened.dtr || port.opened.rts);
  line.Play({{.key = true, .ptt = true, .length = 1s}});
  loop.RunFor(10ms);
  EXPECT_TRUE(port.dtr && port.rts);
  port.Lose();
  EXPECT_EQ(lost, "the device has gone");
  EXPECT_FALSE(line.is_open());
  EXPECT_EQ(line.remaining(), 0ms);
  loop.RunFor(10s);
  ASSERT_TRUE(line.Open());
  line.Close();
  EXPECT_FALSE(port.is_open());

  auto before = std::make_unique<PortKeyLine>(loop, port, platform::KeyLines{}, platform::PortSettings{.number = 4});
  ASSERT_TRUE(before->Open());
  before->Close();
  ASSERT_TRUE(line.Open());
  before.reset();
  lost.clear();
  port.Lose();
  EXPECT_EQ(lost, "the device has gone") << "the end of the line before makes this one deaf";
}

/// A loop whose time goes on although nothing is served.
class StallingLoop final : public Loop {
 public:
  TimePoint Now() const override { return now; }
  UtcTime UtcNow() const override { return {}; }
  std::chrono::minutes LocalOffset() const override { return {}; }
  TimerId StartTimer(TimePoint when, std::function<void()> action) override {
    return queue.Add(when, std::move(action));
  }
  void StopTimer(TimerId timer) override { queue.Remove(timer); }
  void Serve(TimePoint at) {
    now = at;
    queue.RunDue(now);
  }

  TimePoint now{1h};
  TimerQueue queue;
};

TEST(PortKeyLine, AStallLosesNoElement) {
  StallingLoop loop;
  FakeSerialPort port;
  ASSERT_TRUE(port.Open({.number = 1}));
  PortKeyLine line(loop, port, {}, std::nullopt);
  ASSERT_TRUE(line.Open());
  line.Play({{.key = true, .length = 60ms}, {.length = 60ms}, {.key = true, .length = 60ms}, {.length = 60ms}});
  loop.Serve(loop.now);
  EXPECT_TRUE(port.dtr);
  loop.Serve(loop.now + 500ms);
  EXPECT_FALSE(port.dtr);
  loop.Serve(loop.now + 59ms);
  EXPECT_FALSE(port.dtr) << "made up for lost time";
  loop.Serve(loop.now + 1ms);
  EXPECT_TRUE(port.dtr);
  EXPECT_EQ(line.remaining(), 120ms);
}

}  // namespace
}  // namespace kvx::keyer
