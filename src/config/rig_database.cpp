#include "config/rig_database.h"

#include "config/rig_store.h"
#include "config/sqlite.h"
#include "config/store_maker.h"

namespace kvx::config {
namespace {

Status NoRig(const std::string& name, const platform::Path& file) {
  return Error{ErrorCode::kNotFound, "there is no rig " + OneLine(name, 60) + " in " + file.string()};
}

/// Runs a statement whose values are bound.
Status Run(SqliteStatement& statement) {
  const Result<bool> row = statement.Step();
  return row ? Ok() : Status(row.error());
}

/// The place of the row that Find would give; 0 when there is none.
Result<std::int64_t> RowOf(Sqlite& store, const std::string& name) {
  Result<SqliteStatement> statement =
      store.Prepare("SELECT rowid FROM RigSetup WHERE RigName = ? COLLATE NOCASE ORDER BY rowid LIMIT 1");
  if (!statement) return statement.error();
  statement->Bind(1, name);
  const Result<bool> row = statement->Step();
  if (!row) return row.error();
  return *row ? statement->Number(0) : 0;
}

Status MustBeFree(Sqlite& store, const std::string& name) {
  const Result<std::int64_t> taken = RowOf(store, name);
  if (!taken) return taken.error();
  if (*taken == 0) return Ok();
  return Error{ErrorCode::kInvalid, "there is a rig " + OneLine(name, 60) + " already"};
}

/// Writes the fields in which the rows differ.
Status UpdateFields(Sqlite& store, std::int64_t place, const RigRow& before, const RigRow& after) {
  std::vector<std::string> values;
  std::string sets;
  const auto set = [&](std::string_view field, std::string value) {
    sets += (sets.empty() ? "\"" : ", \"") + std::string(field) + "\" = ?";
    values.push_back(std::move(value));
  };
  for (const std::string_view field : kRigTextFields) {
    if (before[field] != after[field]) set(field, after[field]);
  }
  // The columns of the flags have the type INTEGER, so that "1" becomes the number.
  if (before.send_as_hex != after.send_as_hex) set(kHexField, after.send_as_hex ? "1" : "0");
  if (before.rev_data != after.rev_data) set(kReverseField, after.rev_data ? "1" : "0");
  if (values.empty()) return Ok();
  Result<SqliteStatement> statement = store.Prepare("UPDATE RigSetup SET " + sets + " WHERE rowid = ?");
  if (!statement) return statement.error();
  int index = 0;
  for (const std::string& value : values) statement->Bind(++index, value);
  statement->Bind(++index, place);
  return Run(*statement);
}

Status RenameFunctionRecords(Sqlite& store, const std::string& from, const std::string& to) {
  Result<SqliteStatement> statement = store.Prepare("UPDATE rigfn SET RigName = ? WHERE RigName = ? COLLATE NOCASE");
  if (!statement) return statement.error();
  statement->Bind(1, to);
  statement->Bind(2, from);
  return Run(*statement);
}

Status ChangeRow(Sqlite& store, const platform::Path& file, const RigRow& before, const RigRow& after) {
  const Result<std::int64_t> place = RowOf(store, before.name());
  if (!place) return place.error();
  if (*place == 0) return NoRig(before.name(), file);
  if (!EqualNoCase(before.name(), after.name())) {
    if (const Status free = MustBeFree(store, after.name()); !free) return free;
  }
  if (const Status updated = UpdateFields(store, *place, before, after); !updated) return updated;
  if (before.name() == after.name()) return Ok();
  return RenameFunctionRecords(store, before.name(), after.name());
}

Status RemoveRow(Sqlite& store, const platform::Path& file, const std::string& name) {
  const Result<std::int64_t> place = RowOf(store, name);
  if (!place) return place.error();
  if (*place == 0) return NoRig(name, file);
  Result<SqliteStatement> statement = store.Prepare("DELETE FROM RigSetup WHERE rowid = ?");
  if (!statement) return statement.error();
  statement->Bind(1, *place);
  return Run(*statement);
}

}  // namespace

Status RigDatabase::Prepare(platform::Files& files, const platform::Path& data, const Notice& notice) {
  StoreMaker maker(files, file_, data, notice);
  Status prepared = maker.Prepare();
  stand_in_ = maker.TakeUnwritten();
  return prepared;
}

Result<Sqlite> RigDatabase::OpenToRead() const {
  Result<Sqlite> store = Sqlite::Open(file_);
  const bool missing = !store && store.error().code == ErrorCode::kNotFound;
  if (missing && !stand_in_.empty()) return Sqlite::OpenInMemory(file_.string(), stand_in_);
  return store;
}

Result<std::optional<RigRow>> RigDatabase::Find(const std::string& name) const {
  Result<Sqlite> store = OpenToRead();
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
  Result<Sqlite> store = OpenToRead();
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

Status RigDatabase::InTransaction(const std::function<Status(Sqlite&)>& work) const {
  Result<Sqlite> store = Sqlite::Open(file_);
  if (!store) return store.error();
  if (const Status begun = store->Run("BEGIN IMMEDIATE"); !begun) return begun;
  if (const Status complete = CompleteTables(*store); !complete) return complete;
  if (const Status done = work(*store); !done) return done;  // closing the store takes everything back
  return store->Run("COMMIT");
}

Result<int> RigDatabase::Add(const std::vector<RigRow>& rows, bool replace) {
  int written = 0;
  const Status added = InTransaction([&](Sqlite& store) {
    const Result<int> count = InsertRigs(store, rows, replace);
    if (!count) return Status(count.error());
    written = *count;
    return Ok();
  });
  if (!added) return added.error();
  return written;
}

Status RigDatabase::Insert(const RigRow& row) {
  return InTransaction([&](Sqlite& store) {
    if (const Status free = MustBeFree(store, row.name()); !free) return free;
    const Result<int> count = InsertRigs(store, {row}, false);
    return count ? Ok() : Status(count.error());
  });
}

Status RigDatabase::Change(const RigRow& before, const RigRow& after) {
  return InTransaction([&](Sqlite& store) { return ChangeRow(store, file_, before, after); });
}

Status RigDatabase::Remove(const std::string& name) {
  return InTransaction([&](Sqlite& store) { return RemoveRow(store, file_, name); });
}

}  // namespace kvx::config
