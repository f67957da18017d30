#include "functions/function_store.h"

#include <filesystem>

#include "config/rig_row.h"
#include "config/rig_store.h"
#include "core/text.h"

namespace kvx::functions {
namespace {

using config::Sqlite;
using config::SqliteStatement;

// Rig names are compared in any case, as the table's index has them; a criterion that is put behind this finds its row
// by that index.
constexpr const char* kRows =
    "SELECT * FROM (SELECT rowid AS place, RigName COLLATE NOCASE AS RigName, Freq, Mode, Scan, \"Desc\","
    " FNT1, FNT2, FNT3, FNT4, FNT5, FNT6, FNT7, FNT8, FNT9, FNP1, FNP2, FNP3, FNP4, FNP5, FNP6, FNP7, FNP8, FNP9"
    " FROM rigfn)";
// Whoever calls waits in its own way; the window must not stand still.
constexpr std::chrono::milliseconds kPatience{10};
constexpr int kFirstText = 6;
constexpr int kFirstPress = kFirstText + static_cast<int>(kKeys);

Status Step(SqliteStatement& statement) {
  const Result<bool> row = statement.Step();
  return row ? Ok() : Status(row.error());
}

FunctionRecord Read(const SqliteStatement& row) {
  FunctionRecord record{.place = row.Number(0),
                        .rig = row.Text(1),
                        .freq = row.Text(2),
                        .mode = row.Text(3),
                        .scan = row.Text(4),
                        .description = row.Text(5)};
  for (std::size_t i = 0; i < kKeys; ++i) {
    const int n = static_cast<int>(i);
    if (!row.IsNull(kFirstText + n)) record.texts[i] = row.Text(kFirstText + n);
    record.presses[i] = config::ParseYesNo(row.Text(kFirstPress + n)).value_or(false);
  }
  return record;
}

Result<std::vector<FunctionRecord>> ReadAll(Sqlite& store, const std::string& sql) {
  Result<SqliteStatement> statement = store.Prepare(sql);
  if (!statement) return statement.error();
  std::vector<FunctionRecord> records;
  while (true) {
    const Result<bool> row = statement->Step();
    if (!row) return row.error();
    if (!*row) return records;
    records.push_back(Read(*statement));
  }
}

/// A quote in either text would end it early and let the rest be read as a command.
Status MustHaveNoQuote(const std::string& rig, const std::string& freq) {
  if ((rig + freq).find('\'') == std::string::npos) return Ok();
  return Error{ErrorCode::kInvalid, "a name with a quote in it finds no row"};
}

Result<std::optional<FunctionRecord>> FindRow(Sqlite& store, const std::string& criterion) {
  const auto rows = ReadAll(store, std::string(kRows) + " WHERE " + criterion + " ORDER BY place LIMIT 1");
  if (!rows) return rows.error();
  return rows->empty() ? std::nullopt : std::optional(rows->front());
}

/// The place of the row that the criterion finds, of a new one when there is none.
Result<std::int64_t> FindOrAdd(Sqlite& store, const FunctionRecord& record, const std::string& criterion) {
  const auto found = FindRow(store, criterion);
  if (!found) return found.error();
  if (*found) return (*found)->place;
  auto add = store.Prepare(
      "INSERT INTO rigfn (RigName, Freq, FNP1, FNP2, FNP3, FNP4, FNP5, FNP6, FNP7, FNP8, FNP9)"
      " VALUES (?, ?, 0, 0, 0, 0, 0, 0, 0, 0, 0) RETURNING rowid");
  if (!add) return add.error();
  add->Bind(1, record.rig);
  add->Bind(2, record.freq);
  if (const auto row = add->Step(); !row) return row.error();
  const std::int64_t place = add->Number(0);
  if (const auto end = add->Step(); !end) return end.error();
  return place;
}

/// New values for some columns of one row.
class Update {
 public:
  void Text(const std::string& column, std::optional<std::string> value) { Add(column, std::move(value)); }
  void Flag(std::size_t key, bool value) { Add("FNP" + std::to_string(key + 1), value ? "1" : "0"); }
  void Key(std::size_t key, std::optional<std::string> value) {
    Add("FNT" + std::to_string(key + 1), std::move(value));
  }

  Status Run(Sqlite& store, std::int64_t place) const {
    if (values_.empty()) return Ok();
    auto statement = store.Prepare("UPDATE rigfn SET " + sets_ + " WHERE rowid = ?");
    if (!statement) return statement.error();
    int index = 0;
    for (const auto& value : values_) {
      ++index;
      if (value) statement->Bind(index, *value);  // what is not bound is Null
    }
    statement->Bind(++index, place);
    return Step(*statement);
  }

 private:
  void Add(const std::string& column, std::optional<std::string> value) {
    sets_ += (sets_.empty() ? "\"" : ", \"") + column + "\" = ?";
    values_.push_back(std::move(value));
  }

  std::string sets_;
  std::vector<std::optional<std::string>> values_;
};

/// The row of a list is still the one that the list showed.
Status MustBeThere(Sqlite& store, const FunctionRecord& row) {
  auto statement =
      store.Prepare("SELECT 1 FROM rigfn WHERE rowid = ? AND ifnull(RigName, '') = ? AND ifnull(Freq, '') = ?");
  if (!statement) return statement.error();
  statement->Bind(1, row.place);
  statement->Bind(2, row.rig);
  statement->Bind(3, row.freq);
  const auto there = statement->Step();
  if (!there) return there.error();
  if (*there) return Ok();
  return Error{ErrorCode::kNotFound, "the row of " + OneLine(row.freq, 40) + " is not there any more"};
}

Status DeleteAt(Sqlite& store, std::int64_t place) {
  auto statement = store.Prepare("DELETE FROM rigfn WHERE rowid = ?");
  if (!statement) return statement.error();
  statement->Bind(1, place);
  return Step(*statement);
}

Update Difference(const FunctionRecord& before, const FunctionRecord& after) {
  struct Column {
    const char* name;
    std::string FunctionRecord::*value;
  };
  Update update;
  for (const Column& column : {Column{"RigName", &FunctionRecord::rig}, Column{"Freq", &FunctionRecord::freq},
                               Column{"Mode", &FunctionRecord::mode}, Column{"Scan", &FunctionRecord::scan},
                               Column{"Desc", &FunctionRecord::description}}) {
    if (before.*column.value != after.*column.value) update.Text(column.name, after.*column.value);
  }
  for (std::size_t i = 0; i < kKeys; ++i) {
    if (before.texts[i] != after.texts[i]) update.Key(i, after.texts[i]);
    if (before.presses[i] != after.presses[i]) update.Flag(i, after.presses[i]);
  }
  return update;
}

}  // namespace

std::string RowCriterion(const std::string& rig, const std::string& freq) {
  return "RigName = '" + rig + "'" + "AND Freq = '" + freq + "'";
}

std::string ImportCriterion(const std::string& rig, const std::string& freq) {
  return "RigName = '" + rig + "'" + " AND Freq = '" + freq + "'";
}

std::string FunctionStore::Stamp() const {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(file_, error);
  const auto size = std::filesystem::file_size(file_, error);
  return error ? "" : std::to_string(time.time_since_epoch().count()) + ' ' + std::to_string(size);
}

Status FunctionStore::InTransaction(const std::function<Status(Sqlite&)>& work) const {
  auto store = Sqlite::Open(file_, kPatience);
  if (!store) return store.error();
  if (const Status begun = store->Run("BEGIN IMMEDIATE"); !begun) return begun;
  if (const Status complete = config::CompleteTables(*store); !complete) return complete;
  if (const Status done = work(*store); !done) return done;  // closing the store takes everything back
  return store->Run("COMMIT");
}

Result<std::optional<FunctionRecord>> FunctionStore::Find(const std::string& rig, const std::string& freq) {
  if (const Status fit = MustHaveNoQuote(rig, freq); !fit) return fit.error();
  // Another file under the same name, or one that is gone, is not seen through an open connection.
  std::string stamp = Stamp();
  if (!reader_ || stamp != reader_stamp_) {
    reader_.reset();
    auto store = Sqlite::Open(file_, kPatience);
    if (!store) return store.error();
    reader_.emplace(std::move(*store));
    reader_stamp_ = std::move(stamp);
  }
  auto found = FindRow(*reader_, RowCriterion(rig, freq));
  if (!found) reader_.reset();
  return found;
}

Result<std::vector<FunctionRecord>> FunctionStore::Rows(const std::string& where) const {
  auto store = Sqlite::Open(file_, kPatience);
  if (!store) return store.error();
  return ReadAll(*store, kRows + where + " ORDER BY place");
}

Status FunctionStore::Store(const FunctionRecord& record, int pressed_key) {
  if (const Status fit = MustHaveNoQuote(record.rig, record.freq); !fit) return fit;
  return InTransaction([&](Sqlite& store) -> Status {
    const auto place = FindOrAdd(store, record, RowCriterion(record.rig, record.freq));
    if (!place) return place.error();
    Update update;
    for (std::size_t i = 0; i < kKeys; ++i) update.Key(i, record.texts[i]);
    if (pressed_key >= 1 && pressed_key <= static_cast<int>(kKeys))
      update.Flag(static_cast<std::size_t>(pressed_key - 1), true);
    update.Text("Mode", record.mode);
    update.Text("Desc", record.description);
    return update.Run(store, *place);
  });
}

Result<bool> FunctionStore::Delete(const std::string& rig, const std::string& freq) {
  if (const Status fit = MustHaveNoQuote(rig, freq); !fit) return fit.error();
  bool deleted = false;
  const Status done = InTransaction([&](Sqlite& store) -> Status {
    const auto found = FindRow(store, RowCriterion(rig, freq));
    if (!found) return found.error();
    deleted = found->has_value();
    return deleted ? DeleteAt(store, (*found)->place) : Ok();
  });
  if (!done) return done.error();
  return deleted;
}

Status FunctionStore::DeleteRows(const std::vector<FunctionRecord>& rows) {
  return InTransaction([&](Sqlite& store) {
    for (const FunctionRecord& row : rows) {
      if (const Status there = MustBeThere(store, row); !there) return there;
      if (const Status deleted = DeleteAt(store, row.place); !deleted) return deleted;
    }
    return Ok();
  });
}

Status FunctionStore::Change(const FunctionRecord& before, const FunctionRecord& after) {
  return InTransaction([&](Sqlite& store) {
    if (const Status there = MustBeThere(store, before); !there) return there;
    return Difference(before, after).Run(store, before.place);
  });
}

Status FunctionStore::Import(const std::vector<FunctionRecord>& records) {
  return InTransaction([&](Sqlite& store) {
    for (const FunctionRecord& record : records) {
      if (const Status fit = MustHaveNoQuote(record.rig, record.freq); !fit) return fit;
      const auto place = FindOrAdd(store, record, ImportCriterion(record.rig, record.freq));
      if (!place) return Status(place.error());
      Update update;
      for (std::size_t i = 0; i < kKeys; ++i) {
        update.Key(i, record.texts[i].value_or(""));
        update.Flag(i, record.presses[i]);
      }
      if (const Status updated = update.Run(store, *place); !updated) return updated;
    }
    return Ok();
  });
}

}  // namespace kvx::functions
