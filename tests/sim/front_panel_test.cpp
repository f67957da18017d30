#include <gtest/gtest.h>

#include <random>

#include "bench.h"

namespace kvx::sim {
namespace {

using namespace std::chrono_literals;

TEST(FrontPanel, EveryRigUnderstandsTheSameWords) {
  for (const std::string& name : RigNames()) {
    if (name == "ic905" || name == "ft736") continue;  // they tune no short wave
    Bench bench(name);
    for (const char* command : {"knob 7030.12", "mode LSB", "vfo B", "KNOB 14100", "mode CW", "vfo A", "smeter 20",
                                "ptt on", "af 77", " ptt  off "}) {
      EXPECT_EQ(bench.rig->Operate(command), "ok") << name << " " << command;
    }
    const std::string state = bench.rig->Operate("state");
    EXPECT_EQ(state.substr(0, state.find(" narrow=")),
              "ok vfo=A a=7030120 b=14100000 mode=LSB tx=off smeter=20 af=77 refused=0")
        << name;
    for (const char* command : {"", "dance", "knob", "knob x", "knob -7", "knob 9999999", "mode WFM", "vfo C",
                                "smeter 31", "ptt maybe", "af 256", "delay -1"}) {
      EXPECT_EQ(bench.rig->Operate(command).substr(0, 7), "error: ") << name << " " << command;
    }
    EXPECT_EQ(bench.State("a"), "7030120");
  }
  EXPECT_EQ(Bench("ts2000").rig->Operate("echo on"), "error: this rig has no echo");
  VirtualLoop loop;
  EXPECT_EQ(MakeDevice("ts9999", loop), nullptr);
}

TEST(FrontPanel, FaultsOfTheLineCanBeSwitchedOn) {
  Bench bench("ts2000");
  bench.rig->Operate("garbage <0x80>x<CR>");
  EXPECT_EQ(bench.Ask("ID;"), "\x80x\rID019;");
  EXPECT_EQ(bench.Ask("ID;"), "ID019;");

  bench.rig->Operate("delay 300");
  EXPECT_EQ(bench.Ask("ID;FA;"), "");
  bench.loop.RunFor(299ms);
  EXPECT_EQ(bench.Sent(), "");
  bench.loop.RunFor(1ms);
  EXPECT_EQ(bench.Sent(), "ID019;FA00014025000;");
  bench.rig->Operate("delay 0");

  bench.rig->Operate("pieces on");
  std::vector<std::string> pieces;
  bench.rig->send = [&pieces](std::string_view bytes) { pieces.emplace_back(bytes); };
  bench.Ask("PS;ID;");
  bench.loop.RunFor(1s);
  EXPECT_EQ(pieces, (std::vector<std::string>{"P", "S", "1", ";", "I", "D", "0", "1", "9", ";"}));
}

TEST(FrontPanel, NoBytesFromTheLineBreakARig) {
  const std::string_view likely = ";\r*?ABFIMRSTUXCGK0129\xFE\xFD\x94\xE0\x05\x10\x0A";
  const std::string_view addresses = "\x04\x48\x94\x96\x98\xAC";
  for (const std::string& name : RigNames()) {
    Bench bench(name);
    std::mt19937 random(17);
    for (int i = 0; i < 30'000; ++i) {
      const bool any = random() % 4 == 0;
      const char byte = any ? static_cast<char>(random()) : likely[random() % likely.size()];
      bench.rig->Receive(std::string_view(&byte, 1));
      if (byte == '\xFE') bench.rig->Receive("\xFE" + std::string(1, addresses[random() % addresses.size()]) + "\xE0");
      if (i % 1000 == 0) bench.loop.RunFor(500ms);
    }
    const std::string line = bench.rig->Operate("state");
    EXPECT_TRUE(line.starts_with("ok vfo=")) << name;
    EXPECT_GE(std::stoll(bench.State("a")), 30'000) << name;
    EXPECT_LE(std::stoll(bench.State("a")), 470'000'000) << name;
    EXPECT_NE(bench.State("refused"), "0") << name;
  }
}

}  // namespace
}  // namespace kvx::sim
