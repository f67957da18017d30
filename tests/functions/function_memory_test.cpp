#include "functions_fixture.h"

namespace kvx::functions {
namespace {

TEST(FunctionMemory, WhatWasStoredOnAFrequencyComesBackWithIt) {
  Bench bench;
  auto& console = bench.rig.console;
  bench.Tune("14025.00");
  bench.rig.engine.operations.SetUpper();
  bench.Texts("a");
  std::string said;
  bench.functions.keys.StoreFN("",
                               [&](const Result<std::string>& done) { said = done ? *done : done.error().message; });
  EXPECT_EQ(said, "stored 14025.00 USB");
  EXPECT_EQ(bench.Query("SELECT RigName || Freq || Mode || FNT1 || FNT9 || FNP1 FROM rigfn"), "T-114025.00USBa1a90");
  bench.Texts("b");
  bench.rig.engine.operations.SetCW();
  EXPECT_EQ(bench.Tune("14025.01"), "FA00014025010;") << "another frequency";
  EXPECT_EQ(console.Text5[0], "b1");
  EXPECT_EQ(bench.Tune("14025.00"), "FA00014025000;MU;");
  EXPECT_EQ(bench.rig.Display(), "14025.00 USB");
  EXPECT_EQ(console.Text5[0] + console.Text5[8], "a1a9");
  bench.Sql("UPDATE rigfn SET Freq = '14025.0'");
  EXPECT_EQ(bench.Tune("14025.00"), "FA00014025000;") << "compared as text";
}

TEST(FunctionMemory, NoRigMeansNothingIsRecalledStoredOrDeleted) {
  Bench bench;
  bench.Tune("14025.00");
  bench.functions.keys.StoreFN("1");
  bench.Sql("UPDATE rigfn SET RigName = 'NONE'");
  bench.rig.console.RigName.Set("NONE");
  EXPECT_EQ(bench.Tune("14025.00"), "FA00014025000;");
  bench.functions.keys.StoreFN("note");
  bench.functions.keys.DelFN();
  EXPECT_EQ(bench.Query("SELECT count(*) || max(Desc) FROM rigfn"), "11");
  EXPECT_TRUE(bench.shown.empty());
}

TEST(FunctionMemory, MarkedKeysArePressedInOrderAtLeast50MillisecondsApart) {
  Bench bench;
  bench.Row("14025.00");
  bench.Sql("UPDATE rigfn SET Mode = '', FNP5 = 'True', FNP2 = -1");
  bench.rig.Log();
  bench.rig.start = bench.rig.loop.Now();
  bench.Tune("14025.00", 0ms);
  EXPECT_EQ(bench.rig.port.written, "") << "it does not wait for the presses";
  bench.rig.engine.operations.TuneTo(*ParseKhz("14025.00"));
  bench.rig.loop.RunFor(1s);
  EXPECT_EQ(bench.rig.Log(), (cat::Log{"0 FA00014025000;", "50 K2;", "100 K5;"}));
}

TEST(FunctionMemory, ARecallThatIsOvertakenStopsPressingAndTheNextKeepsTheDistance) {
  Bench bench;
  bench.Row("14025.00");
  bench.Row("14030.00");
  bench.Sql("UPDATE rigfn SET Mode = '', FNP1 = 1, FNP2 = 1, FNP3 = 1");
  bench.rig.sent.clear();
  bench.rig.start = bench.rig.loop.Now();
  bench.rig.engine.operations.TuneTo(*ParseKhz("14025.00"));
  bench.rig.loop.RunFor(70ms);
  bench.rig.engine.operations.TuneTo(*ParseKhz("14030.00"));
  bench.rig.loop.RunFor(1s);
  EXPECT_EQ(bench.rig.Log(),
            (cat::Log{"0 FA00014025000;", "50 K1;", "70 FA00014030000;", "100 K1;", "150 K2;", "200 K3;"}));
  bench.rig.start = bench.rig.loop.Now();
  bench.rig.engine.operations.TuneTo(*ParseKhz("14025.00"));
  bench.rig.loop.RunFor(60ms);
  bench.rig.engine.operations.TuneTo(*ParseKhz("14031.00"));
  bench.rig.loop.RunFor(1s);
  EXPECT_EQ(bench.rig.Log(), (cat::Log{"0 FA00014025000;", "50 K1;", "60 FA00014031000;"}))
      << "nothing is stored there";
}

TEST(FunctionMemory, ANullTextLeavesItsBoxAndAnEmptyOneClearsIt) {
  Bench bench;
  bench.Row("14025.00");
  bench.Sql("UPDATE rigfn SET FNT1 = NULL, FNT2 = '', FNT3 = 'x'");
  bench.Texts("a");
  bench.Tune("14025.00");
  const auto& texts = bench.rig.console.Text5;
  EXPECT_EQ(texts[0] + "|" + texts[1] + "|" + texts[2], "a1||x");
}

TEST(FunctionMemory, EachModeIsTestedOnItsOwn) {
  struct Row {
    std::string mode;
    std::string sent;
  };
  Bench bench;
  bench.Row("14025.00");
  for (const Row& row : {Row{"USB", "MU;"}, Row{"lsb", "ML;"}, Row{"CW", "MC;"}, Row{"FM", "MF;"}, Row{"AM", "MA;"},
                         Row{"RTTY", "MR;"}, Row{"", ""}, Row{"DATA", ""}, Row{"AM FM", "MF;MA;"}}) {
    bench.Sql("UPDATE rigfn SET Mode = '" + row.mode + "'");
    EXPECT_EQ(bench.Tune("14025.00"), "FA00014025000;" + row.sent) << row.mode;
  }
}

TEST(FunctionMemory, ANoteOfOneDigitMarksThatKeyAndNoStoreTakesAMarkAway) {
  Bench bench;
  bench.Tune("14025.00");
  auto& keys = bench.functions.keys;
  keys.StoreFN("3");
  EXPECT_EQ(bench.Query("SELECT FNP3 || Desc FROM rigfn"), "13");
  keys.StoreFN("33");
  keys.StoreFN("0");
  keys.StoreFN("relay 7");
  keys.StoreFN("");
  EXPECT_EQ(bench.Query("SELECT (FNP1+FNP2+FNP3+FNP4+FNP5+FNP6+FNP7+FNP8+FNP9) || Desc FROM rigfn"), "1relay 7");
  bench.Sql("UPDATE rigfn SET Scan = 'Y'");
  keys.StoreFN("9");
  EXPECT_EQ(bench.Query("SELECT FNP3 || FNP9 || Scan || count(*) FROM rigfn"), "11Y1");
  bench.rig.console.RigName.Set("t-1");
  keys.StoreFN("");
  EXPECT_EQ(bench.Query("SELECT count(*) FROM rigfn"), "1") << "a rig's name counts in any case";
}

TEST(FunctionMemory, DeletingTellsOnlyWhenThereWasSomething) {
  Bench bench;
  bench.Tune("14025.00");
  bench.functions.keys.DelFN();
  EXPECT_TRUE(bench.shown.empty());
  bench.functions.keys.StoreFN("");
  bench.Row("14025.00", "", "OTHER");
  bench.functions.keys.DelFN();
  EXPECT_EQ(bench.shown, std::vector<std::string>{"All Functions have been deleted for this frequency"});
  EXPECT_EQ(bench.Query("SELECT group_concat(RigName) FROM rigfn"), "OTHER");
}

TEST(FunctionMemory, ARowOfAListTunesWithItsModeAndMarks) {
  Bench bench;
  bench.Row("7030.5");  // a text that the display never has
  bench.Row("7031.00");
  bench.Sql("UPDATE rigfn SET FNP4 = 1, Mode = 'CW'");
  const auto rows = AllRows(bench.functions.store);
  bench.rig.Written();
  EXPECT_TRUE(bench.functions.keys.Retrieve(rows.at(0)).ok());
  bench.rig.loop.RunFor(1s);
  EXPECT_EQ(bench.rig.Written(), "FA00007030500;MC;");
  EXPECT_TRUE(bench.functions.keys.Retrieve(rows.at(1)).ok());
  bench.rig.loop.RunFor(1s);
  EXPECT_EQ(bench.rig.Written(), "FA00007031000;MC;MC;K4;") << "recalled, and set from the row";
  EXPECT_FALSE(bench.functions.keys.Retrieve({.freq = "x"}).ok());
}

TEST(FunctionMemory, SpinningTheKnobOnASlowLineRecallsOnceForWhatWasSent) {
  Bench bench;
  bench.rig.engine.link.OpenRigPort({.number = 1, .speed = 1200}, true);
  bench.Row("14025.00");
  bench.Sql("UPDATE rigfn SET FNP1 = 1, Mode = ''");
  bench.rig.loop.RunFor(1s);
  bench.rig.Written();
  for (const char* khz : {"14023.00", "14024.00", "14025.00"}) bench.rig.engine.operations.TuneTo(*ParseKhz(khz));
  bench.rig.loop.RunFor(2s);
  EXPECT_EQ(bench.rig.Written(), "FA00014023000;FA00014025000;K1;");
}

TEST(FunctionMemory, ARigWhoseModeResendsItsTuningIsRecalledOnce) {
  Bench bench;
  bench.rig.Use(cat::ShippedRigs().at("Pegasus"));
  bench.rig.console.RigName.Set("Pegasus");
  bench.Row("14025.00", "", "Pegasus");
  bench.rig.engine.operations.TuneTo(*ParseKhz("14025.00"));
  bench.rig.loop.RunFor(1s);
  EXPECT_EQ(bench.rig.Display(), "14025.00 USB");
  const std::size_t writes = bench.rig.port.writes.size();
  bench.rig.loop.RunFor(10s);
  EXPECT_EQ(bench.rig.port.writes.size(), writes) << "it comes to an end";
}

TEST(FunctionMemory, DatabaseErrorsLeaveEverythingAsItWas) {
  Bench bench;
  bench.Texts("a");
  std::filesystem::remove(bench.folder / "rigsetup.sqlite");
  EXPECT_EQ(bench.Tune("14025.00"), "FA00014025000;");
  std::string said;
  bench.functions.keys.StoreFN("", [&](const Result<std::string>& done) { said = done ? "" : done.error().message; });
  EXPECT_NE(said.find("does not exist"), std::string::npos);
  bench.folder.Put("rigsetup.sqlite", std::string(5000, 'x'));
  EXPECT_EQ(bench.Tune("14026.00"), "FA00014026000;");
  bench.functions.keys.DelFN();
  EXPECT_EQ(bench.rig.console.Text5[0], "a1");
  EXPECT_TRUE(bench.shown.empty());
  EXPECT_EQ(bench.folder.Get("rigsetup.sqlite"), std::string(5000, 'x'));
}

}  // namespace
}  // namespace kvx::functions
