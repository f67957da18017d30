#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "functions_fixture.h"

namespace kvx::functions {
namespace {

TEST(FunctionStore, FindSeesAnotherFileUnderItsName) {
  Bench bench;
  auto& store = bench.functions.store;
  bench.Row("14025.00");
  EXPECT_TRUE(store.Find("T-1", "14025.00")->has_value());
  MakeStore(bench.folder / "rigsetup.sqlite", bench.files);
  EXPECT_FALSE(store.Find("T-1", "14025.00")->has_value());
}

TEST(FunctionExchange, OfTwoFilesThatDifferByCaseNoneIsImported) {
  Bench bench;
  for (const char* name : {"RigFunctions.CSV", "RigFunctions.csv"}) bench.folder.Put(name, "");
  bench.functions.exchange.Import();
  EXPECT_NE(bench.shown.back().find("keep one"), std::string::npos);
}

/// Runs `work` in a process of its own.
template <class Work>
pid_t Fork(const Work& work) {
  const pid_t child = fork();
  if (child == 0) {
    work();
    _exit(0);
  }
  return child;
}

TEST(FunctionStore, TwoProgramsThatWriteAtTheSameTimeLoseNoRow) {
  Bench bench;
  constexpr int kRows = 40;
  const pid_t child = Fork([&] {
    for (int i = 0; i < kRows; ++i) {
      const std::string row = "INSERT INTO rigfn (RigName, Freq) VALUES ('OTHER', '" + std::to_string(i) + "')";
      auto store = config::Sqlite::Open(bench.folder / "rigsetup.sqlite");
      while (!store || !store->Run(row).ok()) store = config::Sqlite::Open(bench.folder / "rigsetup.sqlite");
    }
  });
  int stored = 0;
  for (int i = 1; i <= kRows; ++i) {
    bench.rig.console.FreqDisp.Set(Frequency::FromKhz(i));
    bench.functions.keys.StoreFN("", [&](const Result<std::string>& done) { stored += done ? 1 : 0; });
    bench.rig.loop.RunFor(6s);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(stored, kRows);
  EXPECT_EQ(bench.Query("SELECT count(*) || '/' || count(DISTINCT RigName || Freq) FROM rigfn"), "80/80");
}

TEST(FunctionStore, AStoreKilledAtAnyMomentLeavesWholeRowsOnly) {
  Bench bench;
  bench.functions.store.Store({.rig = "T-1", .freq = "0.00"}, 0).ok();
  for (int round = 0; round < 8; ++round) {
    const pid_t child = Fork([&] {
      for (int i = 0;; ++i) {
        FunctionRecord record{.rig = "T-1", .freq = std::to_string(i % 50), .mode = "CW"};
        for (auto& text : record.texts) text = std::string(3000, static_cast<char>('a' + i % 26));
        FunctionStore(bench.folder / "rigsetup.sqlite").Store(record, 9).ok();
      }
    });
    usleep(static_cast<useconds_t>(7'000 + round * 9'000));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(bench.Query("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(
        bench.Query("SELECT count(*) FROM rigfn WHERE Freq <> '0.00' AND (FNT1 IS NULL OR FNT1 <> FNT9 OR FNP9 <> 1)"),
        "0");
  }
  EXPECT_NE(bench.Query("SELECT count(*) FROM rigfn"), "1") << "something was stored";
}

}  // namespace
}  // namespace kvx::functions
