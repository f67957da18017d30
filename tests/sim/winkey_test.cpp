#include "sim/winkey_device.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "bench.h"

namespace kvx::sim {
namespace {

using namespace std::chrono_literals;

/// A keyer on the bench with its key watched.
struct KeyerBench : Bench {
  explicit KeyerBench(std::string_view name = "winkey") : Bench(name) {
    dynamic_cast<WinkeyDevice&>(*rig).on_key = [this](bool down, TimePoint when) {
      EXPECT_NE(down, key) << "an edge that is none";
      key = down;
      edges.push_back(when);
    };
  }
  WinkeyDevice& keyer() { return dynamic_cast<WinkeyDevice&>(*rig); }
  /// Host mode at a speed, with what it says on the way forgotten.
  void Open(std::string_view more = "") {
    AskHex("00 02 00 0B 02 14");  // 20 wpm: a dit of 60 ms
    AskHex(more);
  }
  /// The lengths between edges, in ms, the first one a mark.
  std::vector<int> Lengths() {
    std::vector<int> lengths;
    for (std::size_t i = 1; i < edges.size(); ++i) {
      lengths.push_back(
          static_cast<int>(std::chrono::round<std::chrono::milliseconds>(edges[i] - edges[i - 1]).count()));
    }
    return lengths;
  }
  std::string Text() { return rig->Operate("text").substr(3); }
  bool Says(std::string_view piece) { return rig->Operate("state").find(piece) != std::string::npos; }
  /// What it says while time passes.
  std::string HexWithin(Duration time) {
    loop.RunFor(time);
    return SpacedHex(Sent());
  }

  bool key = false;
  std::vector<TimePoint> edges;
};

constexpr auto kHex = &Bench::AskHex;

TEST(Winkey, AdministrationAnswersBeforeTheHostModeIsOpen) {
  KeyerBench second("winkey");
  second.Play(R"(13 13 13 00 04 41 > 41
                 00 04 C4 > C4
                 00 02 > 17
                 00 05 > 00
                 00 09 > 00
                 00 07 > 00 00 05 32 00 00 0A 0F 00 00 00 32 32 06 FF)",
              kHex);
  KeyerBench third("winkey3");
  third.Play("00 09 > 03 | 00 02 > 1F | 00 17 > 01 | 00 14 > | 01 2D >", kHex);
  EXPECT_EQ(third.keyer().side_tone_hertz(), 1388);
  EXPECT_EQ(second.complaints.size() + third.complaints.size(), 0u);
}

TEST(Winkey, WhatItWouldNotUnderstandIsRefused) {
  KeyerBench closed;
  for (const char* bad : {"41", "02 19", "0A", "00 00 01", "00 08", "00 13", "00 77"}) {
    closed.complaints.clear();
    EXPECT_EQ(closed.AskHex(bad), "") << bad;
    EXPECT_GE(closed.complaints.size(), 1u) << bad;
  }
  KeyerBench open;
  open.Open();
  const std::vector<std::string> wrong{"02 04",    "02 64",       "03 09",
                                       "04 FB 00", "05 05 5F 00", "06 02",
                                       "0B 02",    "0D 05",       "10 FB",
                                       "12 05",    "14 04",       "17 43",
                                       "18 02",    "19 64",       "1B 41 21",
                                       "1C 00",    "21",          "7F",
                                       "01 0B",    "16 05 00",    "0F 02 19 05 00 00 00 05 14 00 00 12 32 32 06 FF"};
  for (const std::string& bad : wrong) EXPECT_EQ(open.AskHex(bad), "") << bad;
  EXPECT_EQ(open.complaints.size(), wrong.size());
  EXPECT_TRUE(open.Says("\"refused\":" + std::to_string(wrong.size())));
  EXPECT_TRUE(open.Says("\"registers\":\"00 14 05 32 00 00 0A 0F 00 00 00 32 32 06 FF\""));
  open.AskHex("92 80 C4 FF");  // passed over
  EXPECT_EQ(open.complaints.size(), wrong.size());
  open.loop.RunFor(10s);
  EXPECT_EQ(open.edges.size(), 0u);
}

TEST(Winkey, TextIsKeyedAtItsSpeed) {
  KeyerBench bench;
  bench.Open();
  EXPECT_EQ(bench.Ask("et a"), "\xC4");
  bench.loop.RunFor(5s);
  EXPECT_EQ(bench.Lengths(), (std::vector<int>{60, 180, 180, 420, 60, 60, 180}));
  EXPECT_EQ(bench.Sent(), "\xC0");
  EXPECT_EQ(bench.Text(), "ET A");
}

struct Shape {
  const char* setting;
  std::vector<int> lengths;  ///< of "AE" at 20 wpm
};

TEST(Winkey, TheShapeOfTheKeyingFollowsItsSettings) {
  const Shape shapes[] = {
      {"03 46", {84, 36, 204, 156, 84}},          {"11 0A", {70, 50, 190, 170, 70}}, {"17 21", {60, 60, 119, 180, 60}},
      {"10 14", {80, 60, 180, 180, 60}},          {"0D 28", {30, 30, 90, 180, 30}},  {"02 63", {12, 12, 36, 36, 12}},
      {"02 00 1C 0C", {100, 100, 300, 300, 100}},
  };
  for (const Shape& shape : shapes) {
    KeyerBench bench;
    bench.Open(shape.setting);
    bench.Ask("AE");
    bench.loop.RunFor(5s);
    EXPECT_EQ(bench.Lengths(), shape.lengths) << shape.setting;
    EXPECT_EQ(bench.Text(), "AE") << shape.setting;
  }
}

TEST(Winkey, PttLeadsAndTrails) {
  KeyerBench bench;
  bench.Open("09 07 04 05 0A");  // PTT on, 50 ms before, 100 ms after
  const TimePoint begin = bench.loop.Now();
  bench.Ask("E");
  EXPECT_TRUE(bench.Says("\"ptt\":true"));
  bench.loop.RunFor(300ms);  // 50 + 60 + 180 and 10 of the tail
  EXPECT_EQ(bench.edges.front() - begin, 50ms);
  EXPECT_TRUE(bench.Says("\"ptt\":true"));
  bench.loop.RunFor(100ms);
  EXPECT_TRUE(bench.Says("\"ptt\":false"));
}

TEST(Winkey, BufferedCommandsActInTheirTurn) {
  KeyerBench bench;
  bench.Open("0E 04");
  bench.AskHex("45 1C 28 45 1E 45 1B 41 52 1A 01 45 19 02");
  EXPECT_EQ(bench.HexWithin(10s), "45 45 45 41 D4 C4 45 C0");
  EXPECT_EQ(bench.Lengths(), (std::vector<int>{60, 180, 30, 90, 60, 180,              // E, E at 40 wpm, E
                                               60, 60, 180, 60, 60, 60, 180, 60, 60,  // AR
                                               1180, 60, 180, 2000}));
}

TEST(Winkey, ASpeedCountsFromTheNextElementOn) {
  KeyerBench bench;
  bench.Open();
  bench.Ask("5");
  bench.loop.RunFor(130ms);  // in the second dit
  bench.AskHex("02 28");
  bench.loop.RunFor(2s);
  EXPECT_EQ(bench.Lengths(), (std::vector<int>{60, 60, 60, 30, 30, 30, 30, 30, 30}));
  EXPECT_EQ(bench.Text(), "5");
}

TEST(Winkey, AFullBufferIsToldAndThenRefused) {
  for (const auto& [name, size] : {std::pair("winkey", 128), std::pair("winkey3", 160)}) {
    KeyerBench bench(name);
    bench.Open();
    const auto most_quiet = static_cast<std::size_t>(size * 2 / 3 + 1);  // one of them is being sent
    EXPECT_EQ(bench.Ask(std::string(most_quiet, 'E')), "\xC4") << name;
    EXPECT_EQ(bench.Ask("E"), "\xC5") << name;
    bench.Ask(std::string(200, 'E'));
    EXPECT_EQ(bench.complaints.size(), most_quiet + 1 + 200 - static_cast<std::size_t>(size) - 1) << name;
    bench.loop.RunFor(60s);
    EXPECT_EQ(bench.Text().size(), static_cast<std::size_t>(size + 1)) << name;
    EXPECT_EQ(bench.Sent(), "\xC4\xC0");
  }
}

TEST(Winkey, WhatHasNotBeenSentCanBeTakenBack) {
  KeyerBench bench;
  bench.Open();
  bench.Ask("TESTX");
  bench.AskHex("08");
  bench.AskHex("06 01");
  bench.loop.RunFor(5s);
  EXPECT_EQ(bench.Text(), "T");
  bench.AskHex("06 00");
  bench.loop.RunFor(5s);
  EXPECT_EQ(bench.Text(), "T EST");
  bench.Ask("00000");
  bench.loop.RunFor(1s);
  bench.Sent();
  EXPECT_TRUE(bench.key);
  EXPECT_EQ(bench.AskHex("0A"), "C0");
  EXPECT_FALSE(bench.key);
  bench.loop.RunFor(5s);
  EXPECT_FALSE(bench.key);
  EXPECT_TRUE(bench.Says("\"buffer\":0"));
}

TEST(Winkey, TuningEndsByItself) {
  KeyerBench bench;
  bench.Open();
  bench.AskHex("0B 01");
  EXPECT_TRUE(bench.key);
  bench.loop.RunFor(3s);
  bench.AskHex("0B 00");
  EXPECT_FALSE(bench.key);
  bench.AskHex("0B 01");
  bench.loop.RunFor(99s);
  EXPECT_TRUE(bench.key);
  bench.loop.RunFor(2s);
  EXPECT_FALSE(bench.key);
  for (const char* end : {"0A", "00 03", "00 01"}) {
    bench.Open();
    bench.AskHex("0B 01");
    EXPECT_TRUE(bench.key);
    bench.AskHex(end);
    EXPECT_FALSE(bench.key) << end;
  }
}

struct Touch {
  int mode;
  const char* paddle;
  const char* text;
};

TEST(Winkey, ThePaddlesTakeOver) {
  const Touch touches[] = {{0x00, "dit 300", "S"},     {0x10, "dah 400", "M"},     {0x00, "squeeze 200", "R"},
                           {0x10, "squeeze 200", "A"}, {0x20, "squeeze 400", "M"}, {0x30, "dah 700", "T"},
                           {0x08, "dit 400", "M"}};
  for (const Touch& touch : touches) {
    KeyerBench bench;
    bench.Open();
    bench.AskHex("0E " + SpacedHex(std::string(1, static_cast<char>(touch.mode | 0x44))));
    EXPECT_EQ(bench.Ask("00000"), "\xC4");
    bench.loop.RunFor(30ms);
    EXPECT_EQ(bench.rig->Operate(std::string("paddle ") + touch.paddle), "ok");
    EXPECT_EQ(bench.Sent(), "\xC0\xC2") << "the host's text ends";
    bench.edges.clear();
    bench.loop.RunFor(5s);
    EXPECT_EQ(bench.Sent(), touch.text + std::string("\xC0")) << touch.mode << " " << touch.paddle;
    EXPECT_FALSE(bench.key);
    EXPECT_TRUE(bench.Says("\"buffer\":0"));
  }
}

TEST(Winkey, ThePotIsToldAndSetsTheSpeedWhereTheHostDoesNot) {
  KeyerBench bench;
  bench.Open("05 05 32 00");
  EXPECT_EQ(bench.rig->Operate("pot 30"), "ok");
  EXPECT_EQ(bench.HexWithin(0s), "9E");
  EXPECT_EQ(bench.rig->Operate("pot 30"), "ok");
  EXPECT_EQ(bench.HexWithin(0s), "");
  EXPECT_EQ(bench.rig->Operate("pot 51").substr(0, 6), "error:");
  EXPECT_TRUE(bench.Says("\"speed\":20,"));
  bench.AskHex("02 00");
  EXPECT_TRUE(bench.Says("\"speed\":35,"));
}

TEST(Winkey, FaultsOfTheLineCanBeSwitchedOn) {
  KeyerBench bench;
  bench.rig->Operate("silent on");
  EXPECT_EQ(bench.AskHex("00 02"), "");
  bench.rig->Operate("silent off");
  bench.rig->Operate("late 1500");
  bench.AskHex("00 04 41");
  EXPECT_EQ(bench.HexWithin(1499ms), "");
  EXPECT_EQ(bench.HexWithin(1ms), "41");
  bench.rig->Operate("late 0");
  bench.rig->Operate("garbage 00 FF 7E");
  EXPECT_EQ(bench.AskHex("00 04 41"), "00 FF 7E 41");
  bench.AskHex("00 02");
  bench.Ask("000");
  bench.rig->Operate("unplug");
  EXPECT_FALSE(bench.key);
  EXPECT_EQ(bench.AskHex("00 02"), "");
  bench.rig->Operate("plug");
  EXPECT_TRUE(bench.Says("\"open\":false"));
  for (const char* bad : {"", "dance", "pot x", "paddle dit", "paddle foot 10", "silent", "late -1", "garbage 0"}) {
    EXPECT_EQ(bench.rig->Operate(bad).substr(0, 7), "error: ") << bad;
  }
}

TEST(Winkey, NoBytesFromTheLineBreakIt) {
  for (const char* name : {"winkey", "winkey3"}) {
    KeyerBench bench(name);
    std::mt19937 random(17);
    bench.AskHex("00 02");
    for (int i = 0; i < 50'000; ++i) {
      const char byte = static_cast<char>(random() % 3 == 0 ? random() : random() % 0x60);
      bench.rig->Receive(std::string_view(&byte, 1));
      if (i % 50 == 0) bench.loop.RunFor(1s);
      if (i % 500 == 0) bench.AskHex("00 02");
    }
    bench.loop.RunFor(100s);
    bench.rig->Receive(std::string(300, '\x13'));  // ends whatever command was under way
    bench.AskHex("0A 14 00 00 03");
    bench.loop.RunFor(100s);
    EXPECT_FALSE(bench.key) << name;
    EXPECT_TRUE(bench.Says("\"open\":false")) << name;
    EXPECT_EQ(bench.loop.timers(), 0u);
  }
}

}  // namespace
}  // namespace kvx::sim
