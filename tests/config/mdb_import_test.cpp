#include "config/mdb_import.h"

#include <random>
#include <set>

#include "rig_database_fixture.h"

namespace kvx::config {
namespace {

const std::filesystem::path kSample = std::filesystem::path(KVX_TEST_DATA) / "old-rigsetup.mdb";

std::string SampleBytes() {
  return SystemFiles().Read(kSample, 1U << 20).value();
}

const MdbContent::Row& RowOf(const MdbContent& content, const std::string& name) {
  for (const MdbContent::Row& row : content.rig_setup) {
    if (row.at("RigName") == name) return row;
  }
  ADD_FAILURE() << name << " is missing";
  return content.rig_setup.front();
}

TEST(MdbImport, ReadsEveryRowAndField) {
  const auto content = ReadMdb(kSample);
  ASSERT_TRUE(content.ok()) << content.error().message;
  ASSERT_EQ(content->rig_setup.size(), 45U);
  std::set<std::string> columns;
  for (const auto& row : content->rig_setup) {
    for (const auto& [name, value] : row) columns.insert(name);
  }
  EXPECT_EQ(columns.size(), 33U) << "of the 118 the other 85 are Null in every row";
  const auto& odd = RowOf(*content, "Grüße – \"odd\" rig");
  EXPECT_EQ(odd.at("RigType"), "HOMEBREW");
  EXPECT_EQ(odd.at("US7"), "PS1;AI2;") << "a memo field";
  EXPECT_EQ(odd.at("MEMO3"), "One, Two,  Three");
  EXPECT_FALSE(odd.contains("SetFreq")) << "a Null";
  const auto& icom = RowOf(*content, "IC-7300");
  EXPECT_EQ(icom.at("SetFreq"), "FEFE<ADDR>E005<FREQ10>FD");
  EXPECT_EQ(icom.at("SendAsHEX") + icom.at("RevData"), "11");
  const auto& club = RowOf(*content, "Club rig 39");
  EXPECT_EQ(club.at("SendAsHEX") + club.at("RevData"), "01");

  ASSERT_EQ(content->rigfn.size(), 2U);
  const auto& beacon = content->rigfn[0];
  EXPECT_EQ(beacon.at("RigName") + beacon.at("Freq") + beacon.at("Mode") + beacon.at("FNT1") + beacon.at("FNT2"),
            "TS-850S14025.00CW06000744");
  EXPECT_EQ(beacon.at("Scan") + beacon.at("Desc"), "Ybeacon");
  EXPECT_EQ(beacon.at("FNP1") + beacon.at("FNP2") + beacon.at("FNP5"), "011");
  EXPECT_FALSE(beacon.contains("FNT3"));
  EXPECT_EQ(content->rigfn[1].count("FNT1") + content->rigfn[1].count("Desc"), 0U);
}

TEST(MdbImport, AFileThatIsCutShortOrSomethingElseIsDamaged) {
  const TemporaryFolder folder;
  const std::string bytes = SampleBytes();
  const auto expect_damaged = [&folder](const std::string& content) {
    folder.Put("x.mdb", content);
    const auto result = ReadMdb(folder / "x.mdb");
    ASSERT_FALSE(result.ok()) << content.size();
    EXPECT_EQ(result.error().code, ErrorCode::kDamaged);
    EXPECT_TRUE(result.error().message.starts_with((folder / "x.mdb").string())) << result.error().message;
  };
  for (std::size_t length = 0; length < bytes.size(); length += 4096) expect_damaged(bytes.substr(0, length));
  for (std::size_t length = 1; length < bytes.size(); length += 9973) expect_damaged(bytes.substr(0, length));
  expect_damaged("SQLite format 3");
  expect_damaged(std::string(200'000, '\0'));
  EXPECT_EQ(ReadMdb(folder / "none.mdb").error().code, ErrorCode::kNotFound);
}

TEST(MdbImport, NoBrokenByteCrashesOrHangsUs) {
  const TemporaryFolder folder;
  const std::string bytes = SampleBytes();
  std::mt19937 random(3);
  int damaged = 0;
  for (int round = 0; round < 150; ++round) {
    std::string broken = bytes;
    for (auto count = 1 + random() % 40; count > 0; --count) {
      broken[random() % broken.size()] = static_cast<char>(random());
    }
    folder.Put("x.mdb", broken);
    const auto result = ReadMdb(folder / "x.mdb");
    if (!result.ok()) ++damaged;
    for (const auto& row : result.ok() ? result->rig_setup : std::vector<MdbContent::Row>()) {
      for (const auto& [name, value] : row) ASSERT_LT(name.size() + value.size(), 100'000U);
    }
  }
  EXPECT_GT(damaged, 0) << "not one of them was noticed: the damage missed the tables";
}

TEST(RigDatabase, AnOldDatabaseFillsANewStoreFirst) {
  RigStation station;
  station.PutOld("RigSetup.MDB");
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ(station.count(), 46U) << "45 of its own and the one it lacks";
  EXPECT_EQ(station.SetFreq("TS-850S"), "FA<FREQ11>;") << "the operator's own row";
  EXPECT_EQ(station.SetFreq("Orion"), "*AF<FREQ8>\r");
  EXPECT_EQ((*station.database.Find("Grüße – \"odd\" rig").value())["US7"], "PS1;AI2;");
  EXPECT_TRUE(station.database.Find("IC-7300").value()->send_as_hex);
  EXPECT_EQ(station.Query("SELECT count(*) || sum(FNP1) || sum(FNP2) || sum(FNP9) FROM rigfn"), "2011");
  EXPECT_EQ(station.Query("SELECT Mode || Desc || Scan FROM rigfn WHERE RigName = 'ts-850s' COLLATE NOCASE"),
            "CWbeaconY");
  EXPECT_EQ(station.Query("SELECT quote(FNT2) || quote(FNT3) || quote(FNT9) FROM rigfn WHERE Desc = 'beacon'"),
            "'0744'NULLNULL")
      << "a box that is Null is left alone by a recall, an empty one is emptied";
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_TRUE(station.notices.empty());
}

TEST(RigDatabase, AnOldDatabaseFoundLaterIsImportedOnce) {
  RigStation station;
  ASSERT_TRUE(station.Prepare().ok());
  station.Run(
      "INSERT INTO rigfn (RigName, Freq, Desc) VALUES ('ts-850s', '14025.00', 'old'), ('Orion', '1.00', 'kept')");
  station.PutOld();
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ(station.notices.size(), 1U);
  EXPECT_EQ(station.SetFreq("TS-850S"), "FA<FREQ11>;");
  EXPECT_EQ(station.count(), 46U);
  EXPECT_EQ(station.Query("SELECT group_concat(Desc) FROM (SELECT Desc FROM rigfn ORDER BY Desc)"), "beacon,kept");
  ASSERT_TRUE(station.database.Add({Rig("TS-850S", "changed since")}, true).ok());
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_TRUE(station.notices.empty());
  std::filesystem::last_write_time(station / "station/rigsetup.mdb", std::filesystem::file_time_type::clock::now());
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ(station.SetFreq("TS-850S"), "changed since") << "a copy of the same file is not imported again";
  const std::string other = station.Get("station/rigsetup.mdb") + std::string(4096, '\0');
  station.Put("station/rigsetup.mdb", other);
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_EQ(station.SetFreq("TS-850S"), "FA<FREQ11>;") << "another file is";
}

TEST(RigDatabase, ADamagedOldDatabaseIsOneNoticeAndChangesNothing) {
  RigStation station;
  station.PutOld();
  std::filesystem::resize_file(station / "station/rigsetup.mdb", 70'000);
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_TRUE(station.Noticed("rigsetup.mdb cannot be imported"));
  EXPECT_EQ(station.count(), 2U) << "the shipped rigs";
  ASSERT_TRUE(station.Prepare().ok());
  EXPECT_TRUE(station.notices.empty()) << "said once";
  EXPECT_EQ(std::filesystem::file_size(station / "station/rigsetup.mdb"), 70'000U);
}

}  // namespace
}  // namespace kvx::config
