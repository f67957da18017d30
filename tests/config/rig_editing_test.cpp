#include <set>

#include "config/rig_fields.h"
#include "rig_database_fixture.h"

namespace kvx::config {
namespace {

/// A station whose store holds two rigs.
struct Store : RigStation {
  Store() {
    Ship("a.csv", {Rig("Alpha", "FA;"), Rig("Beta", "FB;")});
    EXPECT_TRUE(Prepare().ok());
  }
};

TEST(RigFields, EveryColumnIsEditedOnceUnderALabelOfItsOwn) {
  std::set<std::string> names;
  std::set<std::string> labels;
  RigFieldGroup group = RigFieldGroup::kRig;
  for (const RigField& field : RigFields()) {
    const bool flag = EqualNoCase(field.name, kHexField) || EqualNoCase(field.name, kReverseField);
    EXPECT_TRUE(flag ? field.use == RigFieldUse::kFlag : RigFieldName(field.name) == field.name) << field.name;
    EXPECT_TRUE(names.insert(Upper(field.name)).second) << field.name;
    EXPECT_TRUE(!field.label.empty() && labels.insert(Upper(field.label)).second) << field.label;
    EXPECT_GE(field.group, group) << field.name << ": the fields of a group stand together";
    group = field.group;
  }
  EXPECT_EQ(names.size(), kRigTextFields.size() + 2);
  EXPECT_EQ(FindRigField("set alpha")->label, "#3 Alpha");
  EXPECT_EQ(FindRigField("Set  Alpha"), nullptr);
}

TEST(RigEditing, AChangeWritesOnlyWhatDiffersAndKeepsWhatIsNotOurs) {
  Store store;
  store.Run("ALTER TABLE RigSetup ADD COLUMN Extra; UPDATE RigSetup SET Extra = 'x', USB = 'theirs'");
  RigRow after = Rig("Alpha", "FA<FREQ11>;\r");
  after.Set("SET ALPHA", "MG'\";");
  after.send_as_hex = true;
  ASSERT_TRUE(store.database.Change(Rig("ALPHA", "FA;"), after).ok());
  RigRow expected = after;
  expected.Set("USB", "theirs");
  EXPECT_EQ(store.database.Find("alpha").value(), expected);
  EXPECT_EQ(store.Query("SELECT Extra FROM RigSetup WHERE RigName = 'Alpha'"), "x");
  EXPECT_EQ(store.Query("SELECT typeof(SendAsHEX) FROM RigSetup WHERE RigName = 'Alpha'"), "integer");
  EXPECT_EQ((*store.database.Find("Beta").value())["SetFreq"], "FB;");
}

TEST(RigEditing, ANewNameTakesTheFunctionKeyRecordsAlongAndNeverAnothersPlace) {
  Store store;
  store.Run("INSERT INTO rigfn (RigName, Freq) VALUES ('ALPHA', '7.00'), ('Beta', '7.00')");
  EXPECT_EQ(store.database.Change(Rig("Alpha", "FA;"), Rig("beta", "FA;")).error().code, ErrorCode::kInvalid);
  ASSERT_TRUE(store.database.Change(Rig("Alpha", "FA;"), Rig("Gamma", "FA;")).ok());
  ASSERT_TRUE(store.database.Change(Rig("Beta", "FB;"), Rig("BETA", "FB;")).ok()) << "another spelling is no other rig";
  EXPECT_EQ(store.database.Names().value(), (std::vector<std::string>{"BETA", "Gamma"}));
  EXPECT_EQ(store.Query("SELECT group_concat(RigName) FROM (SELECT RigName FROM rigfn ORDER BY RigName)"),
            "BETA,Gamma");
  EXPECT_EQ(store.database.Change(Rig("Alpha", "FA;"), Rig("Alpha", "x")).error().code, ErrorCode::kNotFound);
}

TEST(RigEditing, InsertNeverReplacesAndRemoveTakesOneRow) {
  Store store;
  EXPECT_EQ(store.database.Insert(Rig("ALPHA", "other")).error().code, ErrorCode::kInvalid);
  ASSERT_TRUE(store.database.Insert(Rig("Gamma", "FG;")).ok());
  ASSERT_TRUE(store.database.Remove("ALPHA").ok());
  EXPECT_EQ(store.database.Remove("Alpha").error().code, ErrorCode::kNotFound);
  EXPECT_EQ(store.database.Names().value(), (std::vector<std::string>{"Beta", "Gamma"}));
}

TEST(RigEditing, ABusyStoreStaysAsItIs) {
  Store store;
  auto other = Sqlite::Open(store.database.file());
  ASSERT_TRUE(other->Run("BEGIN IMMEDIATE").ok());
  EXPECT_EQ(store.database.Change(Rig("Alpha", "FA;"), Rig("Alpha", "x")).error().code, ErrorCode::kBusy);
  EXPECT_EQ(store.database.Remove("Alpha").error().code, ErrorCode::kBusy);
  ASSERT_TRUE(other->Run("ROLLBACK").ok());
  EXPECT_EQ((*store.database.Find("Alpha").value())["SetFreq"], "FA;");
}

}  // namespace
}  // namespace kvx::config
