#include "functions/record_csv.h"

#include "functions_fixture.h"

namespace kvx::functions {
namespace {

const std::string kPlain =
    "0600,0744,,,,,,,,False,True,False,False,True,False,False,False,False,TS-2000,14025.00,USB,Y,repeater\n";

std::vector<FunctionRecord> Parse(const std::string& csv) {
  auto parsed = ParseRecords(csv);
  EXPECT_TRUE(parsed.ok()) << (parsed ? "" : parsed.error().message);
  return parsed ? *parsed : std::vector<FunctionRecord>();
}

TEST(RecordCsv, PlainFieldsAreWrittenAndReadAsTheyStand) {
  FunctionRecord record{.rig = "TS-2000", .freq = "14025.00", .mode = "USB", .scan = "Y", .description = "repeater"};
  record.texts[0] = "0600";
  record.texts[1] = "0744";
  record.presses[1] = record.presses[4] = true;
  EXPECT_EQ(FormatRecords({record}), kPlain);
  const auto read = Parse("\xEF\xBB\xBF" + ReplaceAll(kPlain, "\n", "\r\n") + "\r\n");
  ASSERT_EQ(read.size(), 1U);
  for (std::size_t i = 2; i < kKeys; ++i) record.texts[i] = "";
  EXPECT_EQ(read[0], record);
}

TEST(RecordCsv, WhateverAFieldHoldsComesBackAndStaysOneLine) {
  FunctionRecord record{.rig = "A,B", .freq = "1.00", .mode = "\"", .scan = "a\"b", .description = "x,\"y\"\r\nz<LF>"};
  const std::array<std::string, kKeys> texts{",",   "\n",    "\"\"",     "\",\"",    "<CR>",
                                             " a ", "\x01,", "\xC3\xA9", "tab\there"};
  for (std::size_t i = 0; i < kKeys; ++i) record.texts[i] = texts[i];
  const std::string csv = FormatRecords({record, record});
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 2);
  EXPECT_EQ(Parse(csv), (std::vector{record, record}));
}

TEST(RecordCsv, OldPlainFilesMayHoldStrayQuotesCommasAndNumbersForFlags) {
  const std::string flags = ",-1,0,1,,Yes,No,true,FALSE,False,";
  const auto rows = Parse("a\"b,\"c,<CR>,\"d\"e,,,,,7" + flags + " T-1 , 14025 ,CW,Y,a note, with commas\n" +
                          ",,,,,,,," + flags + "T-1,14026.00\n");
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(*rows[0].texts[0] + "|" + *rows[0].texts[1] + "|" + *rows[0].texts[2] + "|" + *rows[0].texts[3],
            "a\"b|\"c|<CR>|\"d\"e");
  EXPECT_EQ(rows[0].presses, (std::array{true, false, true, false, true, false, true, false, false}));
  EXPECT_EQ(rows[0].rig + rows[0].freq + rows[0].description, "T-114025a note, with commas");
}

TEST(RecordCsv, ABadLineIsNamedWithItsNumber) {
  struct Row {
    std::string line;
    std::string why;
  };
  const std::string keys = ",,,,,,,,,,,,,,,,,,";
  for (const Row& row : {Row{"a,b,c", "line 3: it has 3 fields"}, Row{"a", "line 3: it has 1 field,"},
                         Row{",,,,,,,,,x" + keys + "T-1", "line 3: FNP1 is \"x\""}}) {
    const auto parsed = ParseRecords(kPlain + "\n" + row.line + "\n");
    ASSERT_FALSE(parsed.ok()) << row.line;
    EXPECT_EQ(parsed.error().message.substr(0, row.why.size()), row.why);
  }
  EXPECT_FALSE(ParseRecords("a\0b"s).ok());
}

TEST(FunctionExchange, ExportAsksWritesEveryRowAndSaysDone) {
  Bench bench;
  bench.Row("14025.00");
  std::vector<std::string> asked;
  bool yes = false;
  bench.functions.dialogs.ask = [&](const Question& question, const std::function<void(bool)>& answer) {
    asked.push_back(question.text + "|" + question.title + "|" + question.help_file);
    answer(yes);
  };
  bench.functions.exchange.Export();
  EXPECT_EQ(bench.folder.Get("RigFunctions.CSV"), "");
  EXPECT_TRUE(bench.shown.empty());
  yes = true;
  bench.functions.exchange.Export();
  EXPECT_EQ(bench.folder.Get("RigFunctions.CSV"),
            ",,,,,,,,,False,False,False,False,False,False,False,False,False,T-1,14025.00,USB,Y,\n");
  EXPECT_EQ(bench.shown, std::vector<std::string>{"DONE. "});
  EXPECT_EQ(asked[0], "Do you want to export RigFunctions.csv||");
  bench.functions.exchange.Import();
  EXPECT_EQ(asked.back(), "Do you want to Import RigFunctions.csv ? Enter Y or N|MsgBox Demonstration|DEMO.HLP");
}

TEST(FunctionExchange, ImportAddsRowsAndLeavesModeScanAndDescriptionOfOldOnes) {
  Bench bench;
  bench.Row("14025.00", "n", "ts-2000");
  bench.Sql("UPDATE rigfn SET Mode = 'CW', Desc = 'old', FNP1 = 1, FNT3 = 'gone'");
  bench.folder.Put("RigFunctions.csv", kPlain + ReplaceAll(kPlain, "14025.00", "7030.00"));
  bench.functions.exchange.Import();
  EXPECT_EQ(bench.Query("SELECT FNT1||FNT2||FNT3||FNP1||FNP2||FNP5||Mode||Scan||Desc FROM rigfn WHERE Freq='14025.00'"),
            "06000744011CWnold");
  EXPECT_EQ(
      bench.Query("SELECT RigName||FNT1||FNP5||ifnull(Mode||Scan||Desc,'nothing') FROM rigfn WHERE Freq='7030.00'"),
      "TS-200006001nothing");
  EXPECT_EQ(bench.shown, std::vector<std::string>{"DONE"});
}

TEST(FunctionExchange, WhatAnExportHoldsComesBackOrIsLeftOutAndSaid) {
  Bench bench;
  bench.Row("145,5 Mhz");
  bench.Row("14025.00", "Y", "O''Neill");
  bench.Sql("INSERT INTO rigfn (RigName) VALUES ('T-1')");
  bench.Sql("INSERT INTO rigfn (Freq) VALUES ('7030.00')");
  bench.Sql("UPDATE rigfn SET FNT1 = 'a'");
  bench.functions.exchange.Export();
  bench.Sql("UPDATE rigfn SET FNT1 = 'b'");
  std::string said;
  bench.functions.exchange.Import([&](const Result<std::string>& done) { said = done ? *done : done.error().message; });
  bench.rig.loop.RunFor(1s);
  EXPECT_EQ(said.substr(0, 11), "1 row from ");
  EXPECT_NE(said.find("; 3 rows left out: without a rig name"), std::string::npos) << said;
  EXPECT_EQ(bench.shown.back(), "DONE");
  EXPECT_EQ(bench.Query("SELECT group_concat(FNT1, '') FROM rigfn"), "abbb");
}

TEST(FunctionExchange, TextOfOlderProgramsBecomesUtf8) {
  Bench bench;
  bench.folder.Put("RigFunctions.CSV", ReplaceAll(kPlain, "0600", "Z\xFCrich \x80"));
  bench.functions.exchange.Import();
  EXPECT_EQ(bench.Query("SELECT FNT1 FROM rigfn"), "Z\xC3\xBCrich \xE2\x82\xAC");
}

TEST(FunctionExchange, AManyRowedImportLeavesTheProgramRunningAndIsStillAllOrNothing) {
  Bench bench;
  std::string csv;
  for (int i = 0; i < 3000; ++i) csv += ReplaceAll(kPlain, "14025.00", std::to_string(10000 + i) + ".00");
  bench.folder.Put("RigFunctions.CSV", csv);
  bool done = false;
  bench.functions.exchange.Import([&](const Result<std::string>& result) { done = result.ok(); });
  EXPECT_FALSE(done) << "it is done in one piece";
  EXPECT_EQ(bench.Query("SELECT count(*) FROM rigfn"), "0") << "others read meanwhile, and see all or nothing";
  EXPECT_FALSE(*bench.functions.store.Find("TS-2000", "10000.00"));
  bench.rig.loop.RunFor(1s);
  EXPECT_TRUE(done);
  EXPECT_EQ(bench.Query("SELECT count(*) FROM rigfn"), "3000");
  bench.rig.console.Transmitting.Set(true);
  bench.functions.exchange.Import();
  EXPECT_EQ(bench.shown.back(), "Not imported: the rig is transmitting");
}

TEST(FunctionExchange, AnImportThatIsGivenUpLeavesNothing) {
  Bench bench;
  auto importer = bench.functions.store.Importer(std::vector<FunctionRecord>(300, {.rig = "T-1", .freq = "1.00"}));
  EXPECT_FALSE(*importer());
  importer = {};
  EXPECT_EQ(bench.Query("SELECT count(*) FROM rigfn"), "0");
  EXPECT_TRUE(bench.functions.store.Store({.rig = "T-1", .freq = "2.00"}, 0).ok()) << "it keeps others out";
}

TEST(FunctionExchange, ImportIsAllOrNothingAndIsAnnounced) {
  Bench bench;
  bench.rig.console.Announce.Set(true);
  bench.functions.exchange.Import();
  EXPECT_EQ(bench.shown.back(), "RigFunctions.csv not found");
  EXPECT_EQ(*bench.rig.console.SPKBX, "RigFunctions.csv not found");
  bench.folder.Put("RigFunctions.CSV", kPlain + "bad\n");
  bench.functions.exchange.Import();
  EXPECT_NE(bench.shown.back().find("RigFunctions.CSV line 2: it has 1 field,"), std::string::npos);
  EXPECT_EQ(bench.Query("SELECT count(*) FROM rigfn"), "0");
  bench.folder.Put("RigFunctions.CSV", std::string("\0\1", 2));
  bench.functions.exchange.Import();
  EXPECT_TRUE(bench.shown.back().ends_with("RigFunctions.CSV: it holds no text")) << bench.shown.back();
  bench.folder.Put("RigFunctions.CSV", kPlain);
  bench.functions.exchange.Import();
  EXPECT_EQ(*bench.rig.console.SPKBX, "DONE");
}

}  // namespace
}  // namespace kvx::functions
