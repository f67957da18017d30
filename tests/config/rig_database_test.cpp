#include <random>

#include "rig_database_fixture.h"

namespace kvx::config {
namespace {

using namespace std::string_literals;

TEST(RigDatabase, ANewStoreHoldsTheShippedRigsAndASecondStartSaysNothing) {
  RigStation station;
  EXPECT_EQ(station.database.Find("Orion").error().code, ErrorCode::kNotFound);
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ(station.notices.size(), 1U);
  EXPECT_EQ(station.SetFreq("oRION"), "*AF<FREQ8>\r");
  EXPECT_EQ(station.SetFreq("Orio"), "none");
  EXPECT_EQ(station.SetFreq("Orion' OR 'a'='a"), "none");
  EXPECT_EQ(station.database.Names().value(), (std::vector<std::string>{"Orion", "TS-850S"}));
  EXPECT_EQ(station.Query("SELECT count(*) FROM pragma_table_info('RigSetup')"), "120");
  EXPECT_EQ(station.Query("SELECT count(*) FROM pragma_table_info('rigfn')"), "23");
  const std::string before = station.Get("station/rigsetup.sqlite");
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_TRUE(station.notices.empty());
  EXPECT_EQ(station.Get("station/rigsetup.sqlite"), before);
}

TEST(RigDatabase, AddKeepsOrReplacesAndEveryFieldSurvives) {
  RigStation station;
  ASSERT_TRUE(station.Prepare().ok());
  RigRow full;
  for (const std::string_view field : kRigTextFields) full.Set(field, std::string(field) + " Grüße\0\r\n'\""s);
  full.send_as_hex = true;
  EXPECT_EQ(station.database.Add({full, Rig("", "nameless"), Rig("ORION", "mine")}, false).value(), 1);
  EXPECT_EQ(station.SetFreq("Orion"), "*AF<FREQ8>\r");
  EXPECT_EQ(station.database.Add({Rig("ORION", "mine")}, true).value(), 1);
  EXPECT_EQ(station.SetFreq("Orion"), "mine");
  EXPECT_EQ(station.count(), 3U);
  RigRow named = full;
  named.Set("RigName", "Full");
  EXPECT_EQ(station.database.Add({named}, true).value(), 1);
  EXPECT_EQ(station.database.Find("full").value(), named);
}

TEST(RigDatabase, AStoreWithoutTheCwCommandsGetsThemOnceAndKeepsWhatIsTheOperators) {
  RigStation station;
  ASSERT_TRUE(station.Prepare().ok());
  station.Run(
      "ALTER TABLE RigSetup DROP COLUMN CWText; ALTER TABLE RigSetup DROP COLUMN CWStop;"
      "ALTER TABLE RigSetup ADD COLUMN Extra; UPDATE RigSetup SET Extra = 'x'; DELETE FROM imported");
  EXPECT_EQ((*station.database.Find("Orion").value())["CWText"], "");
  station.Put("data/rigs/a.csv", "RigName,Orion\nSetFreq,other\nCWText,/<CW-1><CR>\nCWStop,stop\n");
  ASSERT_TRUE(station.Prepare().ok());
  const RigRow filled = *station.database.Find("Orion").value();
  EXPECT_EQ(filled["CWText"] + filled["CWStop"] + filled["SetFreq"], "/<CW-1>\rstop*AF<FREQ8>\r");
  EXPECT_EQ(station.Query("SELECT Extra FROM RigSetup WHERE RigName = 'Orion'"), "x");
  RigRow emptied = filled;
  emptied.Set("CWText", "");
  emptied.Set("CWStop", "");
  ASSERT_TRUE(station.database.Change(filled, emptied).ok());
  station.Put("data/rigs/a.csv", "RigName,Orion\nCWText,new\n");
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ((*station.database.Find("Orion").value())["CWText"], "") << "the operator wants none";
}

TEST(RigDatabase, RigsThatAreShippedLaterJoinAnExistingStore) {
  RigStation station;
  ASSERT_TRUE(station.Prepare().ok());
  ASSERT_TRUE(station.database.Add({Rig("TS-850S", "my own")}, true).ok());
  station.Ship("b.csv", {Rig("ts-850s", "new shipped"), Rig("IC-7300", "new")});
  station.Put("data/rigs/c.csv", "RigName,X\nNoSuchField,1\n");
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_TRUE(station.Noticed("c.csv line 2: there is no field \"NoSuchField\""));
  EXPECT_EQ(station.SetFreq("TS-850S") + station.SetFreq("IC-7300"), "my ownnew");
  EXPECT_EQ(station.count(), 3U);
}

TEST(RigDatabase, AStoreOfAnotherProgramIsCompletedAndReadAsItIs) {
  RigStation station;
  station.Put("station/rigsetup.sqlite", "");
  std::filesystem::remove(station / "station/rigsetup.sqlite");
  {
    auto store = Sqlite::OpenInMemory("foreign");
    ASSERT_TRUE(store
                    ->Run("CREATE TABLE rigsetup (Extra, RIGNAME, setfreq, SENDASHEX, RevData);"
                          "INSERT INTO rigsetup VALUES ('x', 'Mine', NULL, 'Yes', -1), (1, NULL, 2, NULL, NULL)")
                    .ok());
    station.Put("station/rigsetup.sqlite", store->Serialize().value());
  }
  const RigRow before = station.database.Find("mine").value().value();
  EXPECT_TRUE(before.send_as_hex && before.rev_data && before["SetFreq"].empty());
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ(station.database.Find("mine").value(), before);
  EXPECT_EQ(station.database.Names().value(), (std::vector<std::string>{"Mine", "Orion", "TS-850S"}));
  EXPECT_EQ(station.Query("SELECT Extra FROM RigSetup WHERE RigName = 'Mine'"), "x");
  EXPECT_EQ(station.Query("SELECT count(*) FROM rigfn"), "0");
}

TEST(RigDatabase, AStoreThatCannotBeUsedIsSetAsideAndMadeAnew) {
  RigStation made;
  ASSERT_TRUE(made.Prepare().ok());
  const std::string whole = made.Get("station/rigsetup.sqlite");
  auto other = Sqlite::OpenInMemory("other");
  ASSERT_TRUE(other->Run("CREATE TABLE t (x)").ok());
  const std::string cases[] = {"",
                               "no database at all",
                               std::string(whole.size(), '\0'),
                               whole.substr(0, whole.size() - 4096),
                               whole.substr(0, whole.size() - 7),
                               whole.substr(0, 100),
                               other->Serialize().value()};
  for (const std::string& damaged : cases) {
    RigStation station;
    station.Put("station/rigsetup.sqlite", damaged);
    station.Put("station/rigsetup.sqlite-journal", "left over");
    ASSERT_TRUE(station.Prepare().ok()) << damaged.size();
    EXPECT_EQ(station.count(), 2U);
    EXPECT_EQ(station.Get("station/rigsetup.sqlite.damaged"), damaged);
    EXPECT_TRUE(station.Noticed((station / "station/rigsetup.sqlite").string() + ":"));
    EXPECT_TRUE(station.Noticed("rigsetup.sqlite.damaged"));
    ASSERT_TRUE(station.Prepare().ok());
    EXPECT_TRUE(station.notices.empty());
  }
}

TEST(RigDatabase, AJournalWithoutItsStoreIsNotAppliedToTheNewOne) {
  RigStation station;
  station.Put("station/rigsetup.sqlite-journal", "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7" + std::string(2000, '\1'));
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ(station.count(), 2U);
  EXPECT_TRUE(std::filesystem::exists(station / "station/rigsetup.sqlite-journal.damaged"));
}

TEST(RigDatabase, BrokenPagesAreAnErrorThatNamesTheFile) {
  RigStation station;
  std::vector<RigRow> rigs{Rig("IC-7300", "")};
  for (int i = 1; i <= 40; ++i) rigs.push_back(Rig("Club rig " + std::to_string(i), std::string(1000, 'x')));
  station.Ship("b.csv", rigs);
  ASSERT_TRUE(station.Prepare().ok());
  const std::string whole = station.Get("station/rigsetup.sqlite");
  std::mt19937 random(11);
  int errors = 0;
  for (int round = 0; round < 200; ++round) {
    std::string broken = whole;
    for (int i = 0; i < 200; ++i) broken[4096 + random() % (broken.size() - 4096)] = static_cast<char>(random());
    station.Put("station/rigsetup.sqlite", broken);
    for (const auto& name : {"TS-850S", "Club rig 20", "IC-7300"}) {
      const auto row = station.database.Find(name);
      if (row.ok()) continue;
      ++errors;
      ASSERT_EQ(row.error().code, ErrorCode::kDamaged) << row.error().message;
      ASSERT_NE(row.error().message.find("rigsetup.sqlite"), std::string::npos);
    }
    (void)station.database.Names();
  }
  EXPECT_GT(errors, 0);
}

TEST(RigDatabase, ABusyStoreIsLeftAlone) {
  RigStation station;
  ASSERT_TRUE(station.Prepare().ok());
  auto other = Sqlite::Open(station.database.file());
  ASSERT_TRUE(other->Run("BEGIN EXCLUSIVE").ok());
  EXPECT_EQ(station.database.Find("Orion").error().code, ErrorCode::kBusy);
  EXPECT_EQ(station.Prepare().error().code, ErrorCode::kBusy);
  ASSERT_TRUE(other->Run("ROLLBACK").ok());
  EXPECT_EQ(station.SetFreq("Orion"), "*AF<FREQ8>\r");
}

TEST(RigDatabase, WithoutShippedDataTheStoreIsMadeAllTheSame) {
  RigStation station;
  std::filesystem::remove_all(station / "data");
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_TRUE(station.Noticed("no rig definitions"));
  EXPECT_EQ(station.count(), 0U);
  const RigDatabase nowhere(station / "no such folder/rigsetup.sqlite");
  EXPECT_FALSE(RigDatabase(nowhere).Prepare(station.files, station / "data", [](const std::string&) {}).ok());
}

}  // namespace
}  // namespace kvx::config
