#include "config/rig_database.h"

#include "config/rig_store.h"
#include "config/sqlite.h"
#include "config/store_maker.h"

namespace kvx::config {

Status RigDatabase::Prepare(platform::Files& files, const platform::Path& data, const Notice& notice) {
  return StoreMaker(files, file_, data, notice).Prepare();
}

Result<std::optional<RigRow>> RigDatabase::Find(const std::string& name) const {
  Result<Sqlite> store = Sqlite::Open(file_);
  if (!store) return store.error();
  if (name.find('\'') != std::string::npos) return std::optional<RigRow>();
  Result<SqliteStatement> statement =
      store->Prepare("SELECT * FROM RigSetup WHERE RigName = ? COLLATE NOCASE ORDER BY rowid LIMIT 1");
  if (!statement) return statement.error();
  statement->Bind(1, name);
  const Result<bool> row = statement->Step();
  if (!row) return row.error();
  return *row ? std::optional<RigRow>(ReadRig(*statement)) : std::nullopt;
}

Result<std::vector<std::string>> RigDatabase::Names() const {
  Result<Sqlite> store = Sqlite::Open(file_);
  if (!store) return store.error();
  Result<SqliteStatement> statement =
      store->Prepare("SELECT RigName FROM RigSetup WHERE RigName <> '' ORDER BY RigName COLLATE NOCASE, rowid");
  if (!statement) return statement.error();
  std::vector<std::string> names;
  while (true) {
    const Result<bool> row = statement->Step();
    if (!row) return row.error();
    if (!*row) return names;
    names.push_back(statement->Text(0));
  }
}

Result<int> RigDatabase::Add(const std::vector<RigRow>& rows, bool replace) {
  Result<Sqlite> store = Sqlite::Open(file_);
  if (!store) return store.error();
  const Status begun = store->Run("BEGIN IMMEDIATE");
  if (!begun.ok()) return begun.error();
  const Status complete = CompleteTables(*store);
  if (!complete.ok()) return complete.error();
  const Result<int> count = InsertRigs(*store, rows, replace);
  if (!count) return count.error();
  const Status committed = store->Run("COMMIT");
  if (!committed.ok()) return committed.error();
  return *count;
}

}  // namespace kvx::config
