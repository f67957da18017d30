#include "accessories/tuner_notebook.h"

#include <gtest/gtest.h>

#include "accessories/tuner_exchange.h"
#include "config/sqlite.h"
#include "core/text.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"

namespace kvx::accessories {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

const TunerSegment& At(const std::string& khz) {
  return SegmentOf(*ParseKhz(khz));
}

TEST(TunerSegments, EveryLimitBelongsToTheSegmentAbove) {
  struct Limit {
    std::int64_t khz;
    std::string key;  ///< from there on
  };
  std::string below = "1";
  for (const Limit& limit : std::initializer_list<Limit>{
           {1000, "1000"},     {1900, "1900"},     {2000, "2000"},   {3000, "3000"},     {3700, "3700"},
           {4000, "4000"},     {5000, "5000"},     {5360, "5360"},   {6000, "6000"},     {7000, "7000"},
           {7150, "7150"},     {7400, "7400"},     {8000, "8000"},   {9000, "9000"},     {10000, "10000"},
           {11000, "11000"},   {12000, "12000"},   {13000, "13000"}, {14000, "14000"},   {14200, "14200"},
           {14400, "14400"},   {15000, "15000"},   {16000, "16000"}, {17000, "17000"},   {18000, "18000"},
           {18115, "18115"},   {19000, "19000"},   {20000, "20000"}, {21000, "21000"},   {21200, "21200"},
           {22000, "22000"},   {23000, "23000"},   {24000, "24000"}, {25000, "1"},       {26000, "26000"},
           {27000, "27000"},   {28000, "28000"},   {28800, "28800"}, {29000, "29000"},   {30000, "30000"},
           {50000, "50000"},   {52000, "52000"},   {54000, "54000"}, {146000, "146000"}, {148000, "148000"},
           {420000, "420000"}, {480000, "480000"}, {500000000, "1"}}) {
    const Frequency from = Frequency::FromKhz(limit.khz);
    EXPECT_EQ(SegmentOf(from).key, limit.key) << limit.khz;
    EXPECT_EQ(SegmentOf(from - Frequency{1}).key, below) << "below " << limit.khz;
    below = limit.key;
  }
  EXPECT_EQ(RangeText(At("18114.99")), "18000.00 to 18114.99 kHz");
}

/// A notebook in a folder of its own.
struct Bench {
  Bench() { Open(); }
  void Open() {
    notebook.emplace(loop, console, files, folder.path(), KVX_DATA);
    notebook->on_notice = [this](const std::string& line) { notices.push_back(line); };
  }
  void Tune(const std::string& khz) { console.FreqDisp.Set(*ParseKhz(khz)); }
  void Edit(const std::string& field, const std::string& text) {
    const auto segment = notebook->InHand();
    ASSERT_TRUE(segment.ok());
    EXPECT_TRUE(notebook->Edit(**segment, *TunerFieldOf(field), text).ok());
  }
  /// "14000 unsaved: beam/12" of the segment in hand.
  std::string Shown() const {
    return std::string(notebook->segment()->key) + " " + notebook->StateText() + ": " + notebook->fields()[0] + "/" +
           notebook->fields()[2];
  }
  std::string Said(const Result<std::string>& done) const { return done ? *done : done.error().message; }
  config::Sqlite Store() const { return std::move(*config::Sqlite::Open(folder / "TunerSUB.sqlite")); }
  /// The first value of the first row, "" when there is none.
  std::string Query(const std::string& sql) const {
    auto store = Store();
    auto statement = store.Prepare(sql);
    EXPECT_TRUE(statement.ok()) << sql;
    return *statement->Step() ? statement->Text(0) : "";
  }

  TemporaryFolder folder;
  SystemFiles files;
  VirtualLoop loop;
  Console console;
  std::vector<std::string> notices;
  std::optional<TunerNotebook> notebook;
};

TEST(TunerNotebook, SavesTheSegmentOfTheFrequencyInACopyOfTheTemplate) {
  Bench bench;
  bench.Tune("25500");
  EXPECT_FALSE(bench.files.Exists(bench.folder / "TunerSUB.sqlite")) << "made when it is opened";
  EXPECT_TRUE(bench.notebook->Load().ok());
  const auto shipped = bench.files.Read(std::string(KVX_DATA) + "/Tuner.sqlite");
  ASSERT_TRUE(shipped.ok());
  EXPECT_EQ(bench.folder.Get("TunerSUB.sqlite"), *shipped);
  EXPECT_EQ(bench.Shown(), "1 nothing stored: /");
  bench.Edit("Ind1", "12");
  bench.Edit("Ant3", "it's \"left\"");
  EXPECT_EQ(bench.Said(bench.notebook->SaveIt()), "Segment 1 saved");
  bench.Tune("999");
  EXPECT_EQ(bench.Shown(), "1 stored: /12") << "the same key";
  bench.Edit("Desc1", "beam");
  EXPECT_EQ(bench.Said(bench.notebook->SaveIt()), "Segment 1 saved");
  EXPECT_EQ(bench.Query("SELECT count(*) || freq || Desc1 || inc1 || ant3 FROM Tuner INDEXED BY Freq WHERE freq = '1'"),
            "11beam12it's \"left\"");
  EXPECT_EQ(*bench.files.Read(std::string(KVX_DATA) + "/Tuner.sqlite"), *shipped) << "the template stays empty";
}

TEST(TunerNotebook, UnsavedValuesStayWithTheirSegment) {
  Bench bench;
  bench.Tune("7010");
  bench.Edit("Desc1", "dipole");
  EXPECT_TRUE(bench.notebook->SaveIt().ok());
  bench.Tune("14199.99");
  bench.Edit("Desc1", "beam");
  bench.Edit("Ind1", "3");
  bench.Tune("7149.99");
  EXPECT_EQ(bench.Shown(), "7000 stored: dipole/");
  bench.Tune("14000");
  EXPECT_EQ(bench.Shown(), "14000 unsaved: beam/3");
  bench.loop.RunFor(1s);
  bench.notebook.reset();  // as at a crash: nothing is closed
  bench.Open();
  EXPECT_TRUE(bench.notebook->Load().ok());
  EXPECT_EQ(bench.Shown(), "14000 unsaved: beam/3");
  EXPECT_EQ(bench.Query("SELECT count(*) FROM Tuner WHERE freq = '14000'"), "0");
  EXPECT_EQ(bench.Said(bench.notebook->Drop(At("14000"))), "Segment 14000: what was not saved is dropped");
  EXPECT_EQ(bench.Shown(), "14000 nothing stored: /");
  EXPECT_EQ(bench.Said(bench.notebook->UndoDrop()), "Segment 14000: what was dropped is back, unsaved");
  EXPECT_EQ(bench.Shown(), "14000 unsaved: beam/3");
  EXPECT_TRUE(bench.notebook->Choose(&At("7000")).ok());
  bench.Edit("Ind1", "8");
  bench.Tune("21000");
  EXPECT_EQ(bench.Shown(), "7000 unsaved: dipole/8") << "a chosen segment stays, whatever the frequency";
  EXPECT_EQ(bench.Said(bench.notebook->SaveAll()), "2 segments saved");
  EXPECT_EQ(bench.Query("SELECT group_concat(freq || Desc1 || inc1) FROM Tuner"), "7000dipole8,14000beam3");
  EXPECT_EQ(bench.Query("SELECT count(*) FROM TunerDraft"), "0");
  bench.Edit("Ind1", "9");
  bench.Edit("Ind1", "8");
  EXPECT_EQ(bench.Shown(), "7000 stored: dipole/8") << "edited back, nothing is unsaved";
}

TEST(TunerNotebook, WithoutARecordTheFieldsStayAndAreMarked) {
  Bench bench;
  bench.Tune("14000");
  bench.Edit("Desc1", "beam");
  bench.Tune("14200");
  bench.Tune("14400");
  EXPECT_EQ(bench.Shown(), "14400 nothing stored, left from 14000: beam/");
  EXPECT_EQ(bench.notebook->unsaved_count(), 1U) << "only that of 14000";
  bench.Tune("14200");
  EXPECT_EQ(bench.Said(bench.notebook->SaveIt()), "Segment 14200 saved, with the values left from 14000");
  bench.Tune("14400");
  bench.Edit("Ind1", "5");
  EXPECT_EQ(bench.Shown(), "14400 unsaved: beam/5");
  EXPECT_TRUE(bench.notebook->Choose(&At("3500")).ok());
  EXPECT_EQ(bench.Shown(), "3000 nothing stored: /") << "one that is chosen is shown as it is";
}

TEST(TunerNotebook, NothingIsReadOrWrittenWithoutAFrequency) {
  Bench bench;
  EXPECT_TRUE(bench.notebook->Load().ok());
  bench.Edit("Desc1", "beam");
  bench.Tune("0");
  EXPECT_EQ(bench.notices, std::vector{"The rig is not visible"s});
  EXPECT_EQ(bench.Said(bench.notebook->SaveIt()), "The rig is not visible");
  EXPECT_EQ(bench.notebook->FindIt().error().message, "The rig is not visible");
  bench.Tune("14000");
  bench.notebook->Close();
  EXPECT_EQ(bench.Said(bench.notebook->SaveIt()), "The rig is not visible");
  EXPECT_EQ(bench.Query("SELECT Desc1 FROM TunerDraft WHERE freq = '14000'"), "beam") << "kept at the end";
}

TEST(TunerNotebook, AFileThatCannotBeUsedLosesNothing) {
  Bench bench;
  bench.folder.Put("TunerSUB.sqlite", "no database at all");
  bench.folder.Put("TunerSUB.sqlite-journal", "left by another");
  EXPECT_TRUE(bench.notebook->Load().ok());
  ASSERT_EQ(bench.notices.size(), 1U);
  EXPECT_NE(bench.notices[0].find("TunerSUB.sqlite.damaged"), std::string::npos) << bench.notices[0];
  EXPECT_EQ(bench.folder.Get("TunerSUB.sqlite.damaged"), "no database at all");
  bench.Edit("Desc1", "beam");
  EXPECT_TRUE(bench.notebook->SaveIt().ok());
  bench.Tune("7000");
  {
    auto other = bench.Store();
    EXPECT_TRUE(other.Run("BEGIN EXCLUSIVE").ok());
    bench.Tune("14000");
    EXPECT_EQ(bench.Shown(), "14000 could not be read: /");
    EXPECT_NE(bench.Said(bench.notebook->SaveIt()).find("locked"), std::string::npos);
  }
  EXPECT_TRUE(bench.notebook->SaveIt().ok());
  EXPECT_EQ(bench.Shown(), "14000 stored: beam/") << "read before it is written over";
  bench.notices.clear();
  bench.Edit("Desc1", "beam 2");
  {
    auto other = bench.Store();
    EXPECT_TRUE(other.Run("BEGIN IMMEDIATE").ok());
    bench.loop.RunFor(20s);
  }
  EXPECT_EQ(bench.notices.size(), 1U) << "told once";
  bench.loop.RunFor(9s);
  EXPECT_EQ(bench.Query("SELECT Desc1 FROM TunerDraft"), "beam 2") << "a draft is tried again";
  EXPECT_EQ(bench.notices.back(), "What is unsaved in the tuner notebook is on the disk now");
}

TEST(TunerNotebook, ExchangesCsvAndTakesItAsUnsaved) {
  Bench bench;
  bench.Edit("Desc1", "beam, \"high\"");
  EXPECT_TRUE(bench.notebook->SaveIt().ok());
  EXPECT_TRUE(bench.notebook->Export("tuner.csv").ok());
  EXPECT_EQ(ParseTunerCsv(bench.folder.Get("tuner.csv"))->at("14000")[0], "beam, \"high\"");
  bench.folder.Put("other.csv", "ANT1,freq,Desc1,notes\r\n7,14000,beam,x\r\n8,1,,\r\n");
  EXPECT_EQ(bench.Said(bench.notebook->Import("other.csv")), "2 segments taken, not yet saved");
  EXPECT_EQ(bench.Shown(), "14000 unsaved: beam/");
  EXPECT_EQ(bench.notebook->fields()[3], "7");
  bench.Edit("Ant1", "9");
  EXPECT_EQ(bench.Said(bench.notebook->Import("other.csv")),
            "segment 14000 has something unsaved: save or drop it first");
  for (const auto& [csv, fault] : {std::pair{"Desc1\nbeam\n"s, "line 1: the heading names no column freq"s},
                                   {"freq\n14000\n14010\n", "line 3: \"14010\" is the key of no segment"},
                                   {"freq\n1\n1\n", "line 3: the segment 1 is there already"},
                                   {"\0\1"s, "it holds no text"}})
    EXPECT_EQ(ParseTunerCsv(csv).error().message, fault);
}

/// The sample of an old database with its table of function keys made one of the tuner: names and texts are UTF-16, and
/// as long as before.
#ifndef KVX_WITHOUT_MDB
TEST(TunerNotebook, TakesTheRecordsOfAnOldDatabaseOnce) {
  Bench bench;
  std::string bytes = *bench.files.Read(std::string(KVX_TEST_DATA) + "/old-rigsetup.mdb");
  const auto wide = [](const std::string& text) {
    std::string out;
    for (const char c : text) out += {c, '\0'};
    return out;
  };
  for (const auto& [from, to] : {std::pair{"rigfn"s, "Tuner"s}, {"Scan", "inc1"}, {"14025.00", "14000   "}})
    bytes = ReplaceAll(bytes, wide(from), wide(to));
  bench.folder.Put("tunersub.MDB", bytes);
  EXPECT_TRUE(bench.notebook->Load().ok());
  EXPECT_EQ(bench.notices, std::vector{"1 segment taken from tunersub.MDB"s});
  EXPECT_EQ(bench.Shown(), "14000 stored: /Y");
}
#endif

}  // namespace
}  // namespace kvx::accessories
