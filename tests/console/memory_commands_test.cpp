#include "console/memory_commands.h"

#include "console_fixture.h"

namespace kvx::console {
namespace {

/// A TS-2000 without polling, and its command line.
struct Line {
  Line() {
    AddMemoryCommands(commands, bench.station);
    bench.Start(5s);
    bench.station.console.Polling.Set(false);
    commands.Ready();
    bench.loop.RunFor(3s);
    output.clear();
    bench.port.written.clear();
  }
  /// What is printed until the answer and `moment` behind it.
  std::vector<std::string> Say(const std::string& command, Duration moment = 1ms) {
    output.clear();
    commands.Take(command);
    bench.loop.RunFor(moment);
    return output;
  }
  std::string Answer(const std::string& command) {
    for (const std::string& line : Say(command)) {
      if (line.starts_with("ok") || line.starts_with("error")) return line;
    }
    return "";
  }
  std::string Written() { return std::exchange(bench.port.written, {}); }

  std::vector<std::string> output;
  Bench bench{RigIni("TS-2000")};
  CommandLine commands{bench.loop, bench.station, [this](const std::string& line) { output.push_back(line); }};
};

TEST(MemoryCommands, StoreRecallChangeAndDelete) {
  Line line;
  EXPECT_EQ(line.Answer("recall"), "error: nothing is stored for 14000.00");
  EXPECT_EQ(line.Answer("fntext 9 08"), "ok fntext 9 08");
  EXPECT_EQ(line.Answer("store 9"), "ok stored 14000.00 CW, function key 9 on arrival");
  EXPECT_EQ(line.Answer("fnset 14000 FNT1 a b"), "ok changed 14000.00");
  EXPECT_EQ(line.Answer("fnset 14000 Scan Y"), "ok changed 14000.00");
  EXPECT_EQ(line.Answer("fnset 14000 FNP0 1").substr(0, 6), "error:");
  EXPECT_EQ(line.Answer("fnset 7000 Scan Y"), "error: nothing is stored for 7000.00");
  const std::string list = line.Answer("fnlist");
  EXPECT_NE(list.find(R"("Freq":"14000.00","Mode":"CW","FNT1":"a b","FNP1":false)"), std::string::npos) << list;
  EXPECT_NE(list.find(R"("FNT9":"08","FNP9":true,"Scan":"Y","Desc":"9"})"), std::string::npos) << list;
  line.Say("fntext 9 11");
  line.Written();
  line.Say("freq 14000", 1s);
  EXPECT_EQ(line.Written(), "FA00014000000;MD3;TN08;");
  EXPECT_EQ(line.Answer("fnexport").substr(0, 12), "ok 1 row to ");
  EXPECT_EQ(line.Answer("delete"), "ok All Functions have been deleted for this frequency");
  EXPECT_EQ(line.Answer("fnlist"), "ok []");
  EXPECT_EQ(line.Answer("fnimport").substr(0, 14), "ok 1 row from ");
  EXPECT_EQ(line.Answer("delete 14000"), "ok deleted 1 row");
  EXPECT_EQ(line.Answer("delete"), "ok nothing is stored for this frequency");
  EXPECT_EQ(line.Answer("undelete"), "ok put back 1 row");
  EXPECT_EQ(line.Answer("undelete"), "ok put back 1 row, 1 behind what has been stored since");
  EXPECT_EQ(line.Answer("undelete"), "error: nothing has been deleted");
  line.Say("freq 7000");
  line.Written();
  EXPECT_EQ(line.Answer("retrieve #2").substr(0, 20), "ok retrieve 14000.00");
  EXPECT_EQ(line.Written().substr(0, 14), "FA00014000000;");
  EXPECT_EQ(line.Answer("fnset #2 Desc second"), "ok changed 14000.00");
  EXPECT_EQ(line.Answer("delete #9"), "error: there is no row #9");
}

TEST(MemoryCommands, AScanTellsWhatIsHeard) {
  Line line;
  for (const char* khz : {"7010", "7020"}) {
    line.Say("freq "s + khz);
    line.Say("store net");
    line.Say("fnset "s + khz + " Scan Y");
  }
  EXPECT_EQ(line.Answer("scan start").substr(0, 50), "error: Please set the start and end frequencies be");
  for (const char* command : {"scan from 7000", "scan to 7100", "scan dwell 500", "scan hang 1000", "scan level 9"})
    EXPECT_EQ(line.Answer(command).substr(0, 8), "ok scan ") << command;
  line.bench.station.console.Polling.Set(true);
  EXPECT_EQ(line.Answer("scan start"), "ok scan start");
  line.output.clear();
  line.bench.loop.RunFor(900ms);
  line.bench.station.console.SMeter.Set(20);
  line.bench.loop.RunFor(5s);
  EXPECT_EQ(line.output,
            (std::vector<std::string>{"freq 7020.00", "scan listening 7020.00 net", "scan held 7020.00 net"}));
  EXPECT_EQ(line.Say("freq 7021"),
            (std::vector<std::string>{"scan stopped the frequency was changed", "freq 7021.00", "ok freq 7021.00"}));
  EXPECT_EQ(line.Answer("scan"), "ok scan stopped the frequency was changed");
  EXPECT_EQ(line.Answer("scan dwell x").substr(0, 6), "error:");
  EXPECT_EQ(line.Answer("scan dwell 50").substr(0, 6), "error:") << "100 is the least";
  line.Say("poll off");
  EXPECT_EQ(line.Say("scan start")[0], "message The scan does not stop on a level: the rig is not polled");
  line.Say("scan stop");
  EXPECT_EQ(line.Answer("scan"), "ok scan stopped");
}

TEST(MemoryCommands, WhatTheOperatorSendsOrChoosesEndsTheScan) {
  for (const char* command : {"escape", "send MD2;", "rignumber 2", "port 0", "rig FT-857", "slot 0", "recall",
                              "store x", "delete", "delete 7010"}) {
    Line line;
    line.Say("freq 7010");
    line.Say("store net");
    line.Say("fnset 7010 Scan Y");
    line.Say("scan from 7000");
    line.Say("scan to 7100");
    ASSERT_EQ(line.Answer("scan start"), "ok scan start");
    line.Say(command, 100ms);
    EXPECT_EQ(line.Answer("scan").substr(0, 15), "ok scan stopped") << command;
  }
}

TEST(MemoryCommands, EscapeAndDeletionEndThePressesUnderWay) {
  for (const char* command : {"escape", "delete"}) {
    Line line;
    for (const char* store : {"store 1", "store 2", "store 3"}) line.Say(store);
    line.Say("fntext 1 08");
    line.Written();
    line.Say("recall", 70ms);
    EXPECT_NE(line.Written(), "MD3;") << "the first one has been pressed";
    line.Say(command, 1s);
    EXPECT_EQ(line.Written(), "") << command;
  }
}

TEST(MemoryCommands, APageOfTheListAndAnAnswerThatIsTooLong) {
  Line line;
  for (const char* khz : {"7010", "7020", "7030"}) {
    line.Say("freq "s + khz);
    line.Say("store net");
  }
  const std::string page = line.Answer("fnlist 2 1");
  EXPECT_EQ(page.find("7010"), std::string::npos);
  EXPECT_NE(page.find("7020"), std::string::npos);
  EXPECT_EQ(page.find("7030"), std::string::npos);
  EXPECT_EQ(line.Answer("fnlist 4 1"), "ok []");
  EXPECT_EQ(line.Answer("fnlist x").substr(0, 6), "error:");
  EXPECT_EQ(line.Answer("retrieve #2").substr(0, 19), "ok retrieve 7020.00");
  EXPECT_EQ(line.Answer("retrieve #9"), "error: there is no row #9");
  line.commands.Add("long", "", [](std::string_view) { return "ok " + std::string(CommandLine::kLongestAnswer, 'x'); });
  EXPECT_EQ(line.Answer("long"), "error: the answer is longer than 16 MB");
}

TEST(MemoryCommands, ANoticeThatComesAgainIsToldAgain) {
  Line line;
  EXPECT_EQ(line.Say("scan start").size(), 2U);
  EXPECT_EQ(line.Say("scan start").size(), 1U) << "of one moment";
  line.bench.loop.RunFor(2s);
  EXPECT_EQ(line.Say("scan start").size(), 2U);
}

TEST(MemoryCommands, MemoryChannelsOutliveTheStation) {
  Line line;
  line.Say("freq 7030.5");
  EXPECT_EQ(line.Answer("memory store 7 My net"), "ok memory store 7 7030.50");
  EXPECT_EQ(line.Answer("memory comment 7 daily"), "ok memory comment 7 daily");
  EXPECT_EQ(line.Answer("memory skip 7 on"), "ok memory skip 7 on");
  EXPECT_EQ(line.Answer("memory skip 7 maybe"), "error: memory skip takes a channel and on or off");
  EXPECT_EQ(line.Answer("memory move 7 2"), "ok memory move 7 2");
  EXPECT_EQ(line.Answer("memory recall 7"), "error: memory channel 7 is empty");
  EXPECT_EQ(line.Answer("memory recall 101"), "error: memory channels are 1 to 100");
  line.Say("freq 14000");
  line.Written();
  EXPECT_EQ(line.Answer("memory recall 2"), "ok memory recall 2 7030.50 CW");
  EXPECT_EQ(line.Written(), "FA00007030500;MD3;");
  EXPECT_EQ(line.Answer("memory export out.csv").substr(0, 17), "ok 1 channels to ");
  EXPECT_EQ(line.Answer("memory import out.csv"), "error: there already: 2; nothing is imported");
  EXPECT_EQ(line.Answer("memory import out.csv replace").substr(0, 19), "ok 1 channels from ");
  EXPECT_EQ(line.Answer("memory import out.csv keep").substr(0, 19), "ok 0 channels from ");
  line.Say("memory name 2 Wrong");
  EXPECT_EQ(line.Answer("memory undo"), "ok memory undo");
  EXPECT_EQ(line.Answer("scan start memories"), "error: Every memory channel is empty or skipped in scans");
  line.Say("memory skip 2 off");
  EXPECT_EQ(line.Answer("scan start memories"), "ok scan start memories");
  EXPECT_EQ(line.Answer("scan"), "ok scan listening 7030.50 memory 2 My net");
  line.bench.ShutDown();
  Bench next(RigIni("TS-2000"));
  next.folder.Put("RIGMEM.MEM", line.bench.folder.Get("RIGMEM.MEM"));
  next.Start();
  EXPECT_EQ(next.station.memories.channel(2).name, "My net");
}

TEST(MemoryCommands, AMemoryFileOfAnotherKindIsToldAtTheStart) {
  Bench bench(RigIni("TS-2000"));
  bench.folder.Put("RIGMEM.MEM", "0000\n");
  std::string told;
  const auto listening = bench.station.console.Subscribe([&](Field field) {
    if (field == Field::kMsgArea) told += *bench.station.console.MsgArea + "\n";
  });
  bench.Start();
  EXPECT_NE(told.find("set aside as RIGMEM.MEM.damaged"), std::string::npos) << told;
  bench.ShutDown();
  EXPECT_EQ(bench.folder.Get("RIGMEM.MEM.damaged"), "0000\n");
}

}  // namespace
}  // namespace kvx::console
