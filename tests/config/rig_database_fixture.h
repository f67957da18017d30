#pragma once

#include <gtest/gtest.h>

#include "config/rig_csv.h"
#include "config/rig_database.h"
#include "config/sqlite.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"

namespace kvx::config {

inline RigRow Rig(const std::string& name, const std::string& set_freq) {
  RigRow row;
  row.Set("RigName", name);
  row.Set("SetFreq", set_freq);
  return row;
}

/// A station folder, and shipped data of two rigs.
struct RigStation : TemporaryFolder {
  RigStation() {
    Ship("a.csv", {Rig("TS-850S", "shipped"), Rig("Orion", "*AF<FREQ8>\r")});
    std::filesystem::create_directory(*this / "station");
  }
  void Ship(const std::string& name, const std::vector<RigRow>& rows) { Put("data/rigs/" + name, FormatRigCsv(rows)); }
  void PutOld(const std::string& name = "rigsetup.mdb") {
    std::filesystem::copy_file(std::filesystem::path(KVX_TEST_DATA) / "old-rigsetup.mdb", *this / ("station/" + name));
  }
  Status Prepare() {
    notices.clear();
    return database.Prepare(files, *this / "data", [this](const std::string& line) { notices.push_back(line); });
  }
  std::string SetFreq(const std::string& name) const {
    const auto row = database.Find(name);
    return !row ? row.error().message : *row ? (**row)["SetFreq"] : "none";
  }
  std::size_t count() const { return database.Names().value().size(); }
  std::string Query(const std::string& sql) const {
    auto store = Sqlite::Open(database.file());
    if (!store) return store.error().message;
    auto statement = store->Prepare(sql);
    if (!statement) return statement.error().message;
    const auto row = statement->Step();
    return row.ok() && *row ? statement->Text(0) : "none";
  }
  void Run(const std::string& sql) const { ASSERT_TRUE(Sqlite::Open(database.file()).value().Run(sql).ok()); }
  bool Noticed(const std::string& text) const {
    return std::any_of(notices.begin(), notices.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
  }

  SystemFiles files;
  RigDatabase database{*this / "station/rigsetup.sqlite"};
  std::vector<std::string> notices;
};

}  // namespace kvx::config
