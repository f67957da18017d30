#include "functions/scanner.h"

#include "functions_fixture.h"

namespace kvx::functions {
namespace {

using Phase = ScanState::Phase;

/// Three rows marked for scanning between 14 and 15 MHz, and some that are not to be visited.
struct ScanBench : Bench {
  ScanBench() {
    Row("14200.00", "y");
    Row("14100.00");
    Row("14300.00");
    Row("14150.00", "n");
    Row("7030.00");
    Row("junk");
    functions.scanner.SetStart(Frequency::FromKhz(14'000));
    functions.scanner.SetEnd(Frequency::FromKhz(15'000));
    following = functions.scanner.changed.Follow([this] {
      const ScanState& state = functions.scanner.state();
      if (state.phase == Phase::kListening) visits += KhzText(state.stop->frequency) + " ";
    });
    rig.loop.RunFor(1s);
  }
  void Start(const ScanSettings& settings = {}) {
    functions.scanner.SetSettings(settings);
    EXPECT_TRUE(functions.scanner.Start().ok());
  }
  std::string Visits(Duration time) {
    rig.loop.RunFor(time);
    return std::exchange(visits, {});
  }
  Phase phase() const { return functions.scanner.state().phase; }

  std::string visits;
  Listeners::Following following;
};

TEST(Scanner, StepsThroughTheMarkedRowsRoundAndRound) {
  ScanBench bench;
  bench.rig.Written();
  bench.Start({.dwell = 1s});
  EXPECT_EQ(bench.Visits(3500ms), "14100.00 14200.00 14300.00 14100.00 ");
  EXPECT_EQ(bench.rig.Written().substr(0, 20), "FA00014100000;MU;MU;");
  EXPECT_EQ(bench.rig.Display(), "14100.00 USB");
  EXPECT_EQ(bench.phase(), Phase::kListening);
  ScanSettings down = bench.functions.scanner.settings();
  down.down = true;
  EXPECT_EQ(bench.Visits(1s), "14200.00 ");
  bench.functions.scanner.SetSettings(down);
  EXPECT_EQ(bench.Visits(2s), "14100.00 14300.00 ") << "turns round where it is";
  bench.functions.scanner.Skip();
  EXPECT_EQ(bench.Visits(100ms), "14200.00 ");
  bench.functions.scanner.Stop();
  EXPECT_EQ(bench.Visits(10s), "");
}

TEST(Scanner, GoesThroughTheMemoryChannelsThatAreNotSkipped) {
  ScanBench bench;
  auto& scanner = bench.functions.scanner;
  EXPECT_EQ(scanner.Start(ScanSource::kMemories).error().message, "Every memory channel is empty or skipped in scans");
  const auto put = [&](int number, const MemoryChannel& channel) {
    EXPECT_TRUE(bench.memories.Change(number, channel).ok());
  };
  put(9, {.name = "net", .frequency = *ParseKhz("3650.00"), .mode = "LSB"});
  put(3, {.frequency = *ParseKhz("7031.00"), .mode = "CW", .narrow = true});
  put(5, {.frequency = *ParseKhz("7100.00"), .skip = true});
  scanner.SetSettings({.dwell = 1s});
  bench.rig.Written();
  EXPECT_TRUE(scanner.Start(ScanSource::kMemories).ok());
  EXPECT_EQ(bench.Visits(1500ms), "7031.00 3650.00 ") << "in the order of their numbers";
  EXPECT_EQ(bench.rig.Written(), "FA00007031000;MN;FA00003650000;ML;");
  EXPECT_EQ(ScanText(scanner.state()), "scan listening 3650.00 memory 9 net");
  put(12, {.frequency = *ParseKhz("14060.00"), .mode = "CW"});
  EXPECT_EQ(bench.Visits(3s), "7031.00 3650.00 14060.00 ") << "one that was stored meanwhile comes with the next round";
  ScanSettings down = scanner.settings();
  down.down = true;
  scanner.SetSettings(down);
  EXPECT_EQ(bench.Visits(1s), "3650.00 ");
  bench.rig.engine.operations.TuneTo(*ParseKhz("3655.00"));
  EXPECT_FALSE(scanner.running());
  EXPECT_TRUE(scanner.Start().ok());
  EXPECT_EQ(bench.Visits(1500ms), "14300.00 14200.00 ") << "the stored rows again";
  EXPECT_TRUE(scanner.Start(ScanSource::kMemories).ok());
  EXPECT_TRUE(bench.memories.Delete({3, 9, 12}).ok());
  bench.Visits(10s);
  EXPECT_EQ(ScanText(scanner.state()), "scan stopped Every memory channel is empty or skipped in scans");
}

TEST(Scanner, WhatKeepsItFromStartingIsSaid) {
  Bench bench;
  auto& scanner = bench.functions.scanner;
  EXPECT_FALSE(scanner.Start().ok());
  scanner.SetStart(Frequency::FromKhz(14'000));
  EXPECT_FALSE(scanner.Start().ok());
  scanner.SetEnd(Frequency::FromKhz(14'500));
  bench.Row("14100.00", "N");
  EXPECT_FALSE(scanner.Start().ok());
  const std::string ends = "Please set the start and end frequencies before clicking the scan button.";
  EXPECT_EQ(bench.shown, (std::vector<std::string>{ends, "Start Freq set at 14000.00", ends, "End Freq set at 14500.00",
                                                   "Could not find a row that had a 'Y' in the scan field"}));
  bench.Row("14200.00");
  bench.rig.console.Transmitting.Set(true);
  EXPECT_FALSE(scanner.Start().ok());
  bench.rig.console.Transmitting.Set(false);
  bench.rig.console.Tune.Set(true);
  EXPECT_FALSE(scanner.Start().ok());
  bench.rig.console.Tune.Set(false);
  bool sending = true;
  scanner.sending = [&] { return sending; };
  EXPECT_FALSE(scanner.Start().ok());
  EXPECT_EQ(bench.shown.back(), "There is no scanning while the rig transmits or CW is sent");
  sending = false;
  bench.rig.engine.link.CloseRigPort();
  EXPECT_NE(scanner.Start().error().message.find("closed"), std::string::npos);
  EXPECT_FALSE(scanner.running());
  bench.rig.console.RigName.Set("NONE");
  EXPECT_FALSE(scanner.Start().ok());
}

TEST(Scanner, StaysWhileTheLevelIsAboveTheMarkAndGoesOnAfterTheHangTime) {
  ScanBench bench;
  bench.level = 9;  // still that of the row before: it does not count until the meter has settled
  bench.Start({.dwell = 1s, .hang = 2s, .settle = 300ms, .level = 5});
  bench.Visits(250ms);
  bench.level = 5;
  EXPECT_EQ(bench.Visits(1s), "14200.00 ") << "at the mark is not above it";
  bench.level = 6;
  EXPECT_EQ(bench.Visits(20s), "");
  EXPECT_EQ(bench.phase(), Phase::kHeld);
  EXPECT_EQ(KhzText(bench.functions.scanner.state().stop->frequency), "14200.00");
  bench.level = 0;
  EXPECT_EQ(bench.Visits(1900ms), "");
  bench.level = 6;
  bench.Visits(100ms);
  bench.level = 0;
  EXPECT_EQ(bench.Visits(1900ms), "") << "heard again: the hang time begins anew";
  EXPECT_EQ(bench.Visits(200ms), "14300.00 ");
  bench.level = 6;
  bench.Visits(1s);
  EXPECT_EQ(bench.phase(), Phase::kHeld);
  bench.functions.scanner.Skip();
  EXPECT_EQ(bench.Visits(100ms), "14100.00 ");
}

TEST(Scanner, AnyOperatorActionEndsIt) {
  using Act = std::function<void(ScanBench&)>;
  const std::vector<std::pair<std::string, Act>> acts{
      {"tuning", [](ScanBench& b) { b.rig.engine.operations.TuneTo(*ParseKhz("14100.05")); }},
      {"the same frequency again", [](ScanBench& b) { b.rig.engine.operations.SendFreq(); }},
      {"a mode", [](ScanBench& b) { b.rig.engine.operations.SetUpper(); }},
      {"a VFO", [](ScanBench& b) { b.rig.engine.operations.VFOB_Click(); }},
      {"a band", [](ScanBench& b) { b.rig.console.BandNumber.Set(40); }},
      {"transmitting", [](ScanBench& b) { b.rig.console.Transmitting.Set(true); }},
      {"the key held down", [](ScanBench& b) { b.rig.console.Tune.Set(true); }},
      {"the paddle", [](ScanBench& b) { b.rig.console.KeyerState.Set("busy"); }},
      {"a CW text",
       [](ScanBench& b) {
         b.functions.scanner.sending = [] { return true; };
         b.rig.console.CwProgress.Set(1);
       }},
      {"the rig port", [](ScanBench& b) { b.rig.engine.link.CloseRigPort(); }},
      {"a store", [](ScanBench& b) { b.functions.keys.StoreFN("net"); }},
      {"a deletion", [](ScanBench& b) { b.functions.keys.DelFN(); }},
      {"a text typed for a function key", [](ScanBench& b) { b.rig.console.Text5.Set(2, "0744"); }},
      {"another rig", [](ScanBench& b) { b.rig.console.RigName.Set("OTHER"); }},
      {"the rig's knob", [](ScanBench& b) { b.rig.engine.operations.UpdateFreq(*ParseKhz("14100.20")); }},
      {"the rig's mode key",
       [](ScanBench& b) { b.rig.engine.operations.Follow({.kind = cat::Reply::Kind::kMode, .mode = "  CW"}); }},
  };
  for (const auto& [name, act] : acts) {
    ScanBench bench;
    bench.Start({.dwell = 5s});
    bench.Visits(2s);
    ASSERT_TRUE(bench.functions.scanner.running()) << name;
    act(bench);
    EXPECT_EQ(bench.phase(), Phase::kStopped) << name;
    EXPECT_FALSE(bench.functions.scanner.state().why.empty()) << name;
    EXPECT_EQ(bench.Visits(20s), "") << name;
  }
}

TEST(Scanner, AKeyPressedOnArrivalThatTransmitsEndsIt) {
  ScanBench bench;
  bench.Sql("UPDATE rigfn SET FNP1 = 1");
  bench.functions.keys.press = [&](int) { bench.rig.console.Transmitting.Set(true); };
  bench.Start({.dwell = 1s});
  EXPECT_EQ(bench.Visits(10s), "14100.00 ");
  EXPECT_EQ(ScanText(bench.functions.scanner.state()), "scan stopped the rig transmits");
}

TEST(Scanner, ALevelThatNobodyMeasuresDoesNotHoldItAndThatIsSaid) {
  ScanBench bench;
  bench.level = 9;
  std::string why = "the rig is not polled";
  bench.functions.scanner.deaf = [&] { return why; };
  bench.Start({.dwell = 1s, .settle = 300ms, .level = 5});
  EXPECT_EQ(bench.Visits(3500ms), "14100.00 14200.00 14300.00 14100.00 ");
  const std::string told = "The scan does not stop on a level: the rig is not polled";
  EXPECT_EQ(std::count(bench.shown.begin(), bench.shown.end(), told), 1);
  why.clear();
  bench.Visits(200ms);
  EXPECT_EQ(bench.phase(), Phase::kListening) << "what it told before may still be there";
  bench.Visits(2s);
  EXPECT_EQ(bench.phase(), Phase::kHeld);
  why = "another meter is polled";
  EXPECT_NE(bench.Visits(10s), "");
  EXPECT_EQ(bench.shown.back(), "The scan does not stop on a level: another meter is polled");
}

TEST(Scanner, WhatTheRigTellsOfItsOwnDoesNotEndIt) {
  ScanBench bench;
  bench.Sql("UPDATE rigfn SET FNP1 = 1, FNP2 = 1");
  bench.Start({.dwell = 5s});
  bench.Visits(800ms);
  bench.rig.engine.operations.UpdateFreq(*ParseKhz("14100.05"));                          // rounded by the rig
  bench.rig.engine.operations.Follow({.kind = cat::Reply::Kind::kMode, .mode = "  AM"});  // its own mode there
  bench.rig.console.SMeter.Set(12);
  EXPECT_EQ(bench.Visits(5s), "14200.00 ");
}

TEST(Scanner, RowsMarkedMeanwhileComeInTheNextRound) {
  ScanBench bench;
  bench.Start({.dwell = 1s});
  bench.Visits(1s);
  bench.Row("14110.00");
  bench.Sql("UPDATE rigfn SET Scan = '' WHERE Freq IN ('14100.00', '14300.00')");
  EXPECT_EQ(bench.Visits(4s), "14300.00 14110.00 14200.00 14110.00 ");
  bench.Sql("DELETE FROM rigfn");
  bench.Visits(3s);
  EXPECT_FALSE(bench.functions.scanner.running());
  EXPECT_EQ(bench.shown.back(), "Could not find a row that had a 'Y' in the scan field");
}

TEST(Scanner, TheListIsInOrderWithEachFrequencyOnceForTheRigInUse) {
  std::vector<FunctionRecord> rows;
  for (const char* freq : {"300.00", "100.00", "200", "200.00", "nonsense", "400.00"})
    rows.push_back({.rig = "A", .freq = freq});
  rows[3].rig = "B";
  const auto list = [&](int start, int end, bool down) {
    std::string text;
    ScanList gathered(Frequency::FromKhz(start), Frequency::FromKhz(end), "b");
    for (const FunctionRecord& row : rows) gathered.Take(row);
    for (const ScanStop& stop : std::move(gathered).Stops(down)) text += stop.row.rig + stop.row.freq + " ";
    return text;
  };
  EXPECT_EQ(list(100, 300, false), "A100.00 B200.00 A300.00 ");
  EXPECT_EQ(list(300, 100, true), "A300.00 B200.00 A100.00 ");
  EXPECT_EQ(list(301, 399, false), "");
}

}  // namespace
}  // namespace kvx::functions
