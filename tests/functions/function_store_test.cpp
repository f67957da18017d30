#include <algorithm>

#include "functions_fixture.h"

namespace kvx::functions {
namespace {

TEST(FunctionStore, TheCriteriaDifferByOneBlank) {
  EXPECT_EQ(RowCriterion("TS-2000", "14025.00"), "RigName = 'TS-2000'AND Freq = '14025.00'");
  EXPECT_EQ(ImportCriterion("TS-2000", "14025.00"), "RigName = 'TS-2000' AND Freq = '14025.00'");
}

TEST(FunctionStore, AQuoteInANameFindsNothingAndRunsNothing) {
  Bench bench;
  bench.Row("14025.00");
  auto& store = bench.functions.store;
  EXPECT_FALSE(store.Find("x' OR '1'='1", "14025.00").ok());
  EXPECT_FALSE(store.Delete("x' OR RigName <> '", "14025.00").ok());
  EXPECT_FALSE(store.Store({.rig = "O'Neill", .freq = "1.00"}, 0).ok());
  EXPECT_EQ(bench.Query("SELECT count(*) FROM rigfn"), "1");
}

TEST(FunctionStore, FindSeesWhatOthersWrite) {
  Bench bench;
  auto& store = bench.functions.store;
  EXPECT_FALSE(store.Find("T-1", "14025.00")->has_value());
  bench.Row("14025.00");
  EXPECT_EQ((*store.Find("t-1", "14025.00"))->scan, "Y");
  bench.Sql("UPDATE rigfn SET Scan = 'n'");
  EXPECT_EQ((*store.Find("T-1", "14025.00"))->scan, "n");
}

TEST(FunctionStore, ALargeTableIsReadPieceByPieceEachRowOnce) {
  Bench bench;
  bench.Sql(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2500)"
      " INSERT INTO rigfn (RigName, Freq, Scan) SELECT 'T-1', i || '.00', iif(i % 1000 = 0, 'y', '') FROM n");
  const auto read = [&](RowChoice choice, int skip, bool write_between) {
    RowReader reader = bench.functions.store.Reader(choice);
    reader.Skip(skip);
    std::vector<std::int64_t> places;
    int pieces = 0;
    for (Result<bool> last = false; last && !*last; ++pieces) {
      last = reader.ReadSome();
      for (const FunctionRecord& row : reader.rows) places.push_back(row.place);
      if (write_between) bench.Sql("DELETE FROM rigfn WHERE rowid = 2400");  // nobody is kept out
    }
    EXPECT_GT(pieces, 1);
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
    return places;
  };
  EXPECT_EQ(read(RowChoice::kAll, 0, false).size(), 2500U);
  EXPECT_EQ(read(RowChoice::kAll, 1000, false).front(), 1001);
  EXPECT_EQ(read(RowChoice::kMarkedForScan, 0, false), (std::vector<std::int64_t>{1000, 2000}));
  EXPECT_EQ(read(RowChoice::kAll, 0, true).size(), 2499U);
}

TEST(FunctionStore, RowsOfAListAreChangedAndDeletedOnlyWhileTheyAreThere) {
  Bench bench;
  for (const char* freq : {"1.00", "2.00", "3.00"}) bench.Row(freq, "");
  auto& store = bench.functions.store;
  const auto rows = AllRows(store);
  FunctionRecord changed = rows[1];
  changed.scan = "Y";
  changed.presses[8] = true;
  changed.texts[0] = "t";
  bench.Sql("UPDATE rigfn SET Desc = 'by others'");
  ASSERT_TRUE(store.Change(rows[1], changed).ok());
  EXPECT_EQ(bench.Query("SELECT Scan || FNP9 || FNT1 || Desc FROM rigfn WHERE Freq = '2.00'"), "Y1tby others");
  bench.Sql("DELETE FROM rigfn WHERE Freq = '3.00'");
  EXPECT_EQ(store.DeleteRows({rows[0], rows[2]}).error().code, ErrorCode::kNotFound);
  EXPECT_EQ(store.Change(rows[2], changed).error().code, ErrorCode::kNotFound);
  EXPECT_EQ(bench.Query("SELECT count(*) FROM rigfn"), "2") << "all or none";
  EXPECT_TRUE(store.DeleteRows({rows[0]}).ok());
  EXPECT_EQ(bench.Query("SELECT group_concat(Freq) FROM rigfn"), "2.00");
}

TEST(FunctionStore, AStoreThatHasNoTableYetGetsIt) {
  Bench bench;
  bench.Sql("DROP TABLE rigfn");
  EXPECT_EQ(bench.Tune("14025.00"), "FA00014025000;");
  bench.functions.keys.StoreFN("note");
  EXPECT_EQ(bench.Query("SELECT Desc FROM rigfn"), "note");
}

TEST(StoreQueue, AWriterAtTheSameMomentCostsNoRowAndHoldsNothingUp) {
  Bench bench;
  bench.Tune("14025.00");
  config::Sqlite other = bench.Other();
  ASSERT_TRUE(other.Run("BEGIN EXCLUSIVE; INSERT INTO rigfn (RigName, Freq) VALUES ('OTHER', '1.00')").ok());
  bench.functions.keys.StoreFN("mine");
  bench.rig.console.FreqDisp.Set(*ParseKhz("14030.00"));
  bench.functions.keys.StoreFN("second");
  bench.rig.loop.RunFor(1s);
  EXPECT_FALSE(bench.functions.queue.idle());
  ASSERT_TRUE(other.Run("COMMIT").ok());
  bench.rig.loop.RunFor(1s);
  EXPECT_TRUE(bench.functions.queue.idle());
  EXPECT_EQ(bench.Query("SELECT group_concat(Freq || ifnull(Desc, '')) FROM rigfn"),
            "1.00,14025.00mine,14030.00second");
}

TEST(StoreQueue, AWriterThatNeverEndsIsGivenUpAndARecallGoesOnWhenItEnds) {
  Bench bench;
  bench.Row("14025.00");
  config::Sqlite other = bench.Other();
  ASSERT_TRUE(other.Run("BEGIN EXCLUSIVE").ok());
  auto code = ErrorCode::kIo;
  bench.functions.keys.StoreFN("x",
                               [&](const Result<std::string>& done) { code = done ? ErrorCode{} : done.error().code; });
  EXPECT_EQ(bench.Tune("14025.00", 500ms), "FA00014025000;");
  ASSERT_TRUE(other.Run("COMMIT").ok());
  bench.rig.loop.RunFor(100ms);
  EXPECT_EQ(bench.rig.Written(), "MU;");
  EXPECT_EQ(code, ErrorCode{}) << "stored after all";
  ASSERT_TRUE(other.Run("BEGIN EXCLUSIVE").ok());
  bench.functions.keys.StoreFN("y",
                               [&](const Result<std::string>& done) { code = done ? ErrorCode{} : done.error().code; });
  bench.rig.loop.RunFor(6s);
  EXPECT_EQ(code, ErrorCode::kBusy);
  EXPECT_TRUE(bench.functions.queue.idle());
}

}  // namespace
}  // namespace kvx::functions
