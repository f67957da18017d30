#include "console/command_line.h"

#include "console_fixture.h"

namespace kvx::console {
namespace {

using Lines = std::vector<std::string>;

struct Headless {
  explicit Headless(const std::string& ini) : bench(ini) {}
  /// Starts and forgets what that told.
  void Start() {
    bench.Start();
    line.Ready();
    bench.station.console.Polling.Set(false);
    bench.loop.RunFor(2s);
    out.clear();
    bench.port.written.clear();
  }
  /// The answer to one command, and into `events` what else was told meanwhile.
  std::string Ask(const std::string& command) {
    out.clear();
    line.Take(command);
    bench.loop.RunFor(1ms);
    std::string answer = "no answer";
    events.clear();
    for (const std::string& text : out) {
      const bool is_answer = text.starts_with("ok") || text.starts_with("error: ") || text.starts_with("{");
      (is_answer ? answer : events) = text;
    }
    return answer;
  }

  Bench bench;
  Lines out;
  std::string events;
  CommandLine line{bench.loop, bench.station, [this](const std::string& text) { out.push_back(text); }};
};

TEST(CommandLine, EachCommandHasOneAnswerAndItsBytes) {
  struct Row {
    std::string command, answer, written;
  };
  Headless headless(RigIni("TS-2000"));
  headless.Start();
  for (const Row& row : {
           Row{"freq 14025.37", "ok freq 14025.37", "FA00014025370;"},
           Row{"FREQ 7030,5", "ok freq 7030.50", "FA00007030500;"},
           Row{"freq 14025.00 MHz", "error: freq takes", ""},
           Row{"freq 14.025", "error: freq takes kHz, as in 14025.00; not 14.025", ""},
           Row{"mode usb", "ok mode USB", "MD2;"},
           Row{"mode CWN", "ok mode CW", "MD7;"},
           Row{"mode", "error: no mode", ""},
           Row{"mode FMN", "ok mode FM", "MD4;"},
           Row{"send XFMN", "error: TS-2000 has no such command", ""},
           Row{"narrow off", "ok narrow off", "MD4;"},
           Row{"vfo b", "ok vfo B", "FR1;FT1;FB;"},
           Row{"vfo A", "ok vfo A", "FR0;FT0;FA;"},
           Row{"send xusb", "ok sent", "MD2;"},
           Row{"send ZZ<0x07><CR>;", "ok sent", "ZZ\x07\r;"},
           Row{"fn 1", "ok fn 1", "NB1;"},
           Row{"fn 1", "ok fn 1", "NB0;"},
           Row{"fn 9", "error: Value not set.", ""},
           Row{"fnval 9 08", "ok fnval 9 08", ""},
           Row{"fn 9", "ok fn 9", "TN08;"},
           Row{"fnval x", "error: fnval takes", ""},
           Row{"slider AF 7", "ok slider AF 7", "AG0007;"},
           Row{"slider 9 300", "ok slider 9 100", "PC100;"},
           Row{"slider 9 1", "ok slider 9 5", "PC005;"},
           Row{"slider hc 8", "ok slider hc 8", "SH08;"},
           Row{"slider AF -1", "error: slider takes", ""},
           Row{"slider na 3", "error: there is no slider", ""},
           Row{"slider TONE 3", "error: TS-2000 has no such command", ""},
           Row{"rig", "ok TS-2000", ""},
           Row{"rig NOSUCH", "error: there is no rig NOSUCH", ""},
           Row{"slot 3", "error: saved rig 3 is empty", ""},
           Row{"speed 200", "error: speed takes", ""},
           Row{"poll off", "ok poll off", ""},
           Row{"meter 3", "ok meter 3", ""},
           Row{"meter off", "ok meter off", ""},
           Row{"sim knob 7000", "error: the rig port is no simulated rig", ""},
           Row{"  status  ", "{\"rig\":\"TS-2000\"", ""},
           Row{"help", "ok status rig", ""},
           Row{"rigs", "ok (tr)uSDX, ANAN, ", ""},
           Row{"port 4", "ok port 4 open", "RM3;"},
           Row{"speed 9600", "ok speed 9600 open", "RM3;"},
           Row{"slot 0", "ok slot 0 TS-2000", "RM3;"},
           Row{"rig none", "ok NONE", ""},
           Row{"freq 14025", "error: the rig port is closed", ""},
       }) {
    headless.bench.port.written.clear();
    const std::string answer = headless.Ask(row.command);
    EXPECT_TRUE(answer.starts_with(row.answer)) << row.command << " -> " << answer;
    EXPECT_TRUE(row.written.empty() ? headless.bench.port.written.empty()
                                    : headless.bench.port.written.starts_with(row.written))
        << row.command << " wrote " << headless.bench.port.written;
  }
}

TEST(CommandLine, TellsWhatHappensFromTheFirstLineOn) {
  Headless headless(RigIni("TS-2000"));
  headless.bench.port.absent = true;
  headless.bench.Start();
  EXPECT_EQ(headless.out, Lines{});
  headless.line.Ready();
  ASSERT_GE(headless.out.size(), 4U);
  EXPECT_EQ(headless.out[0], "ready");
  EXPECT_NE(std::find(headless.out.begin(), headless.out.end(), "rig TS-2000"), headless.out.end());
  EXPECT_NE(std::find(headless.out.begin(), headless.out.end(), "message COM3: no such device"), headless.out.end());
  headless.bench.port.absent = false;
  headless.bench.station.console.Polling.Set(false);
  headless.bench.loop.RunFor(2s);
  headless.out.clear();
  headless.bench.port.Arrive("IF000140253700000+0000000000021000000;");
  headless.bench.station.engine.dispatcher.SendData("TX;");
  headless.bench.port.Lose();
  EXPECT_EQ(headless.out, (Lines{"vfo B", "mode USB", "message CW,RTTY,Data (General)", "freq 14025.37",
                                 "message The rig port is open again", "tx on", "port the device has gone",
                                 "message the device has gone"}));
  headless.out.clear();
  headless.Ask("trace on");
  headless.bench.loop.RunFor(2s);
  EXPECT_NE(std::find(headless.out.begin(), headless.out.end(), "sent ;RX;"), headless.out.end())
      << "TX; was on the line";
  headless.out.clear();
  headless.bench.port.Arrive("?;\n");
  EXPECT_EQ(headless.out, (Lines{"received ?;<LF>", "message The rig port is open again"}));
}

TEST(CommandLine, CarriesCommandsOutInOrderAndSavesBeforeTheNext) {
  Headless headless(RigIni("TS-2000"));
  headless.Start();
  bool quit = false;
  headless.line.on_quit = [&] { quit = true; };
  for (const std::string command : {"mode USB", "save", "", "mode CW", "quit", "mode AM"}) headless.line.Take(command);
  headless.bench.loop.RunFor(10s);
  EXPECT_EQ(headless.out, (Lines{"mode USB", "ok mode USB", "ok saved", "mode CW", "ok mode CW", "ok quit"}));
  EXPECT_TRUE(quit);
  EXPECT_NE(headless.bench.folder.Get("rig.ini").find("BANDMODE01="), std::string::npos);
  headless.line.Refuse("the line is too long");
  EXPECT_EQ(headless.out.back(), "error: the line is too long");
}

/// A procedure of five seconds.
Task Slow(std::reference_wrapper<Loop> loop, std::shared_ptr<std::string> answer) {
  co_await loop.get().Sleep(5s);
  *answer = "ok slow";
}

TEST(CommandLine, WhatStopsATransmissionWaitsForNoProcedure) {
  Headless headless(RigIni("TS-2000"));
  headless.Start();
  Bench& bench = headless.bench;
  headless.line.AddProcedure("slow", "", [&](std::string, auto answer) { return Slow(bench.loop, answer); });
  for (const std::string stop : {"Escape", "send RX;", "send XSETBRAVO"}) {
    headless.Ask("send TX;");
    ASSERT_TRUE(*bench.station.console.Transmitting);
    headless.out.clear();
    headless.line.Take("slow");
    EXPECT_EQ(headless.Ask("narrow on"), "no answer");
    EXPECT_EQ(headless.Ask("send TX0;"), "no answer");
    EXPECT_TRUE(headless.Ask(stop).starts_with("ok")) << stop;
    EXPECT_FALSE(*bench.station.console.Transmitting) << stop;
    headless.out.clear();
    bench.loop.RunFor(6s);
    // What was to be sent before the stop is stopped too, without a second answer.
    EXPECT_EQ(headless.out, (Lines{"ok slow", "ok narrow on", "tx on", "ok sent", "tx off"})) << stop;
  }
}

TEST(CommandLine, LongProceduresGoOnBesideOtherCommandsUntilQuit) {
  Headless headless(RigIni("TS-2000"));
  headless.Start();
  headless.line.AddLongProcedure("long", "",
                                 [&](std::string, auto answer) { return Slow(headless.bench.loop, answer); });
  for (const std::string command : {"long", "narrow on", "long", "narrow off"}) headless.line.Take(command);
  headless.bench.loop.RunFor(7s);
  EXPECT_EQ(headless.out, (Lines{"ok narrow on", "ok narrow off", "ok slow"}));
  headless.out.clear();
  for (const std::string command : {"long", "quit"}) headless.line.Take(command);
  headless.bench.loop.RunFor(20s);
  const std::string ended = "error: long has been ended by quit";
  EXPECT_EQ(headless.out, (Lines{"ok slow", ended, "ok quit"}));
}

TEST(CommandLine, AFloodOfCommandsIsBounded) {
  Headless headless(RigIni("TS-2000"));
  for (int i = 0; i < 20'000; ++i) headless.line.Take("rig");
  EXPECT_EQ(headless.out.size(), 10'000U);
  EXPECT_EQ(headless.out.back(), "error: too many commands are waiting");
}

}  // namespace
}  // namespace kvx::console
