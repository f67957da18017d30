#include "functions/function_store.h"

#include <filesystem>
#include <fstream>
#include <memory>

#include "config/rig_row.h"
#include "config/rig_store.h"
#include "core/text.h"

namespace kvx::functions {
namespace {

using config::Sqlite;
using config::SqliteStatement;

// Whoever calls waits in its own way; the window must not stand still.
constexpr std::chrono::milliseconds kPatience{10};
constexpr std::size_t kRowsInPiece = 100;

Status Step(SqliteStatement& statement) {
  const Result<bool> row = statement.Step();
  return row ? Ok() : Status(row.error());
}

/// A quote in either text would end it early and let the rest be read as a command.
Status MustHaveNoQuote(const std::string& rig, const std::string& freq) {
  if ((rig + freq).find('\'') == std::string::npos) return Ok();
  return Error{ErrorCode::kInvalid, "a name with a quote in it finds no row"};
}

Result<std::optional<FunctionRecord>> FindRow(Sqlite& store, const std::string& criterion) {
  auto statement = store.Prepare(std::string(kSelectRows) + " WHERE " + criterion + " ORDER BY place LIMIT 1");
  if (!statement) return statement.error();
  const auto row = statement->Step();
  if (!row) return row.error();
  return *row ? std::optional(ReadRecord(*statement)) : std::nullopt;
}

Result<SqliteStatement> PrepareAdd(Sqlite& store) {
  return store.Prepare(
      "INSERT INTO rigfn (RigName, Freq, FNP1, FNP2, FNP3, FNP4, FNP5, FNP6, FNP7, FNP8, FNP9)"
      " VALUES (?, ?, 0, 0, 0, 0, 0, 0, 0, 0, 0) RETURNING rowid");
}

/// The place of the row that the criterion finds, of a new one when there is none. `add` is that of PrepareAdd.
Result<std::int64_t> FindOrAdd(Sqlite& store, SqliteStatement& add, const FunctionRecord& record,
                               const std::string& criterion) {
  const auto found = FindRow(store, criterion);
  if (!found) return found.error();
  if (*found) return (*found)->place;
  add.Bind(1, record.rig);
  add.Bind(2, record.freq);
  if (const auto row = add.Step(); !row) return row.error();
  const std::int64_t place = add.Number(0);
  if (const auto end = add.Step(); !end) return end.error();
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

Error IsGone(const FunctionRecord& row) {
  return {ErrorCode::kNotFound, "the row of " + OneLine(row.freq, 40) + " is not there any more"};
}

Result<SqliteStatement> PrepareRowAt(Sqlite& store) {
  return store.Prepare(std::string(kSelectRows) + " WHERE place = ?");
}

/// A row of a list as it is now; kNotFound when there is none, or another one, at its place. `row_at` is that of
/// PrepareRowAt.
Result<FunctionRecord> ReadAgain(SqliteStatement& row_at, const FunctionRecord& row) {
  row_at.Bind(1, row.place);
  const auto there = row_at.Step();
  if (!there) return there.error();
  if (!*there) return IsGone(row);
  FunctionRecord now = ReadRecord(row_at);
  if (const Status end = Step(row_at); !end) return end.error();
  if (now.rig != row.rig || now.freq != row.freq) return IsGone(row);
  return now;
}

Result<SqliteStatement> PrepareDelete(Sqlite& store) {
  return store.Prepare("DELETE FROM rigfn WHERE rowid = ?");
}

Status DeleteAt(SqliteStatement& remove, std::int64_t place) {
  remove.Bind(1, place);
  return Step(remove);
}

/// Whether the statement, whose values are bound, gives a row; it can be bound again then.
Result<bool> GivesRow(SqliteStatement& statement) {
  const auto row = statement.Step();
  if (!row || !*row) return row;
  const auto end = statement.Step();
  return end ? row : end;
}

/// The places that rows get when they are put back: that from which they were taken, as long as nothing has come into
/// their stead; else 0, which is behind all others.
Result<std::vector<std::int64_t>> PlacesFor(Sqlite& store, const std::vector<FunctionRecord>& rows) {
  auto stead = store.Prepare("SELECT 1 FROM rigfn WHERE rowid = ?1 OR (RigName = ?2 COLLATE NOCASE AND Freq = ?3)");
  if (!stead) return stead.error();
  std::vector<std::int64_t> places;
  for (const FunctionRecord& row : rows) {
    stead->Bind(1, row.place);
    stead->Bind(2, row.rig);
    stead->Bind(3, row.freq);
    const auto taken = GivesRow(*stead);
    if (!taken) return taken.error();
    places.push_back(*taken ? 0 : row.place);
  }
  return places;
}

Result<SqliteStatement> PrepareInsert(Sqlite& store) {
  std::string names = "rowid, RigName, Freq, Mode, Scan, \"Desc\"";
  std::string values = "?, ?, ?, ?, ?, ?";
  for (const char* group : {"FNT", "FNP"}) {
    for (std::size_t key = 1; key <= kKeys; ++key) {
      names += std::string(", ") + group + std::to_string(key);
      values += ", ?";
    }
  }
  return store.Prepare("INSERT INTO rigfn (" + names + ") VALUES (" + values + ")");
}

Status InsertAt(SqliteStatement& insert, std::int64_t place, const FunctionRecord& row) {
  int index = 0;
  const auto bind = [&](bool there, const auto& value) {
    there ? insert.Bind(++index, value) : insert.BindNull(++index);
  };
  bind(place > 0, place);
  for (const std::string* text : {&row.rig, &row.freq, &row.mode, &row.scan, &row.description}) bind(true, *text);
  for (const auto& text : row.texts) bind(text.has_value(), text.value_or(""));
  for (const bool press : row.presses) bind(true, std::int64_t{press});
  return Step(insert);
}

/// Writes the texts and marks of a row that is imported.
Result<SqliteStatement> PrepareKeys(Sqlite& store) {
  std::string sets;
  for (const char* group : {"FNT", "FNP"}) {
    for (std::size_t key = 1; key <= kKeys; ++key)
      sets += (sets.empty() ? "" : ", ") + std::string(group) + std::to_string(key) + " = ?";
  }
  return store.Prepare("UPDATE rigfn SET " + sets + " WHERE rowid = ?");
}

Status UpdateKeys(SqliteStatement& keys, std::int64_t place, const FunctionRecord& record) {
  int index = 0;
  for (const auto& text : record.texts) keys.Bind(++index, text.value_or(""));
  for (const bool press : record.presses) keys.Bind(++index, std::int64_t{press});
  keys.Bind(++index, place);
  return Step(keys);
}

/// Given up, it leaves the table as it was.
struct ImportUnderWay {
  std::optional<Sqlite> store;
  std::optional<SqliteStatement> add;
  std::optional<SqliteStatement> keys;
  std::size_t next = 0;

  void Reset() {
    keys.reset();
    add.reset();
    store.reset();
    next = 0;
  }
};

Status Begin(ImportUnderWay& import, const platform::Path& file) {
  auto store = Sqlite::Open(file, kPatience);
  if (!store) return store.error();
  import.store.emplace(std::move(*store));
  // What has been changed stays in memory until the end: others can read meanwhile.
  if (const Status set = import.store->Run("PRAGMA cache_spill = OFF"); !set) return set;
  if (const Status begun = import.store->Run("BEGIN IMMEDIATE"); !begun) return begun;
  if (const Status complete = config::CompleteTables(*import.store); !complete) return complete;
  auto add = PrepareAdd(*import.store);
  if (!add) return add.error();
  auto keys = PrepareKeys(*import.store);
  if (!keys) return keys.error();
  import.add.emplace(std::move(*add));
  import.keys.emplace(std::move(*keys));
  return Ok();
}

Status TakeRow(ImportUnderWay& import, const FunctionRecord& record) {
  if (const Status fit = MustHaveNoQuote(record.rig, record.freq); !fit) return fit;
  const auto place = FindOrAdd(*import.store, *import.add, record, ImportCriterion(record.rig, record.freq));
  return place ? UpdateKeys(*import.keys, *place, record) : Status(place.error());
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
  if (error) return "";
  // Two writes may come within one tick of the file's time: SQLite counts them in its header.
  constexpr std::streamoff kCounter = 24;
  char counter[4] = {};
  std::ifstream(file_, std::ios::binary).seekg(kCounter).read(counter, sizeof(counter));
  return std::to_string(time.time_since_epoch().count()) + ' ' + std::to_string(size) + ' ' +
         std::string(counter, sizeof(counter));
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

Result<std::optional<FunctionRecord>> FunctionStore::At(std::int64_t place) const {
  auto store = Sqlite::Open(file_, kPatience);
  if (!store) return store.error();
  return FindRow(*store, "place = " + std::to_string(place));
}

Status FunctionStore::Store(const FunctionRecord& record, int pressed_key) {
  if (const Status fit = MustHaveNoQuote(record.rig, record.freq); !fit) return fit;
  return InTransaction([&](Sqlite& store) -> Status {
    auto add = PrepareAdd(store);
    if (!add) return add.error();
    const auto place = FindOrAdd(store, *add, record, RowCriterion(record.rig, record.freq));
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

Result<std::optional<FunctionRecord>> FunctionStore::Delete(const std::string& rig, const std::string& freq) {
  if (const Status fit = MustHaveNoQuote(rig, freq); !fit) return fit.error();
  std::optional<FunctionRecord> deleted;
  const Status done = InTransaction([&](Sqlite& store) -> Status {
    auto found = FindRow(store, RowCriterion(rig, freq));
    if (!found) return found.error();
    deleted = std::move(*found);
    if (!deleted) return Ok();
    auto remove = PrepareDelete(store);
    return remove ? DeleteAt(*remove, deleted->place) : Status(remove.error());
  });
  if (!done) return done.error();
  return deleted;
}

Result<std::vector<FunctionRecord>> FunctionStore::DeleteRows(const std::vector<FunctionRecord>& rows) {
  std::vector<FunctionRecord> deleted;
  const Status done = InTransaction([&](Sqlite& store) -> Status {
    auto row_at = PrepareRowAt(store);
    if (!row_at) return row_at.error();
    auto remove = PrepareDelete(store);
    if (!remove) return remove.error();
    for (const FunctionRecord& row : rows) {
      auto now = ReadAgain(*row_at, row);
      if (!now) return now.error();
      if (const Status gone = DeleteAt(*remove, row.place); !gone) return gone;
      deleted.push_back(std::move(*now));
    }
    return Ok();
  });
  if (!done) return done.error();
  return deleted;
}

Result<int> FunctionStore::PutBack(const std::vector<FunctionRecord>& rows) {
  int doubled = 0;
  const Status done = InTransaction([&](Sqlite& store) -> Status {
    const auto places = PlacesFor(store, rows);
    if (!places) return places.error();
    auto insert = PrepareInsert(store);
    if (!insert) return insert.error();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (const Status put = InsertAt(*insert, (*places)[i], rows[i]); !put) return put;
      doubled += (*places)[i] == 0 ? 1 : 0;
    }
    return Ok();
  });
  if (!done) return done.error();
  return doubled;
}

Status FunctionStore::Change(const FunctionRecord& before, const FunctionRecord& after) {
  return InTransaction([&](Sqlite& store) -> Status {
    auto row_at = PrepareRowAt(store);
    if (!row_at) return row_at.error();
    if (const auto now = ReadAgain(*row_at, before); !now) return now.error();
    return Difference(before, after).Run(store, before.place);
  });
}

Status FunctionStore::Import(const std::vector<FunctionRecord>& records) {
  const auto importer = Importer(records);
  while (true) {
    const auto last = importer();
    if (!last) return last.error();
    if (*last) return Ok();
  }
}

std::function<Result<bool>()> FunctionStore::Importer(std::vector<FunctionRecord> records) const {
  return [import = std::make_shared<ImportUnderWay>(), records = std::move(records), file = file_]() -> Result<bool> {
    if (!import->keys) {
      if (const Status begun = Begin(*import, file); !begun) {
        import->Reset();  // which takes everything back
        return begun.error();
      }
    }
    for (std::size_t i = 0; i < kRowsInPiece && import->next < records.size(); ++i) {
      if (const Status taken = TakeRow(*import, records[import->next]); !taken) return taken.error();
      ++import->next;
    }
    if (import->next < records.size()) return false;
    if (const Status written = import->store->Run("COMMIT"); !written) return written.error();
    import->Reset();
    return true;
  };
}

}  // namespace kvx::functions
