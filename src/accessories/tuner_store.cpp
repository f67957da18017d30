#include "accessories/tuner_store.h"

#include <algorithm>
#include <filesystem>

#include "accessories/tuner_exchange.h"
#include "config/sqlite.h"
#include "core/text.h"

namespace kvx::accessories {
namespace {

using config::Sqlite;
using config::SqliteStatement;

constexpr const char* kTemplate = "Tuner.sqlite";
constexpr std::string_view kOldName = "TunerSUB.mdb";
constexpr const char* kRecords = "Tuner";
constexpr const char* kDrafts = "TunerDraft";
constexpr int kFirstValue = 2;  // of a bound statement, behind the key

/// "Desc1 = ?2, xmtr1 = ?3, ...", or with another text behind each column.
std::string Columns(bool with_values = false) {
  std::string list;
  for (std::size_t i = 0; i < kTunerFields.size(); ++i) {
    list += (i == 0 ? "" : ", ") + std::string(kTunerFields[i].column);
    if (with_values) list += " = ?" + std::to_string(static_cast<int>(i) + kFirstValue);
  }
  return list;
}

Status Step(Result<SqliteStatement>& statement) {
  if (!statement) return statement.error();
  const Result<bool> row = statement->Step();
  return row ? Ok() : Status(row.error());
}

TunerValues ValuesOf(const SqliteStatement& row) {
  TunerValues values;
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = row.Text(static_cast<int>(i) + 1);
  return values;
}

/// Edits the record of the key, or adds one.
Status Put(Sqlite& store, const std::string& table, const std::string& key, const TunerValues& values) {
  auto seek = store.Prepare("SELECT rowid FROM " + table + " WHERE freq = ?1 ORDER BY rowid LIMIT 1");
  if (!seek) return seek.error();
  seek->Bind(1, key);
  const Result<bool> found = seek->Step();
  if (!found) return found.error();
  if (!*found) {
    auto add = store.Prepare("INSERT INTO " + table + " (freq) VALUES (?1) RETURNING rowid");
    if (!add) return add.error();
    add->Bind(1, key);
    const Result<bool> added = add->Step();
    if (!added) return added.error();
    seek = std::move(add);
  }
  auto edit = store.Prepare("UPDATE " + table + " SET " + Columns(true) + " WHERE rowid = ?1");
  if (!edit) return edit.error();
  edit->Bind(1, seek->Number(0));
  for (std::size_t i = 0; i < values.size(); ++i) edit->Bind(static_cast<int>(i) + kFirstValue, values[i]);
  return Step(edit);
}

Status Remove(Sqlite& store, const std::string& table, const std::string& key) {
  auto remove = store.Prepare("DELETE FROM " + table + " WHERE freq = ?1");
  if (remove) remove->Bind(1, key);
  return Step(remove);
}

template <class Work>
Status InTransaction(const platform::Path& file, std::chrono::milliseconds patience, Work work) {
  auto store = Sqlite::Open(file, patience);
  if (!store) return store.error();
  if (const Status begun = store->Run("BEGIN IMMEDIATE"); !begun) return begun;
  const std::string drafts =
      std::string("CREATE TABLE IF NOT EXISTS ") + kDrafts + " (freq TEXT PRIMARY KEY, " + Columns() + ")";
  if (const Status made = store->Run(drafts); !made) return made;
  if (const Status done = work(*store); !done) return done;  // closing the store takes everything back
  return store->Run("COMMIT");
}

/// The old notebook in that folder, whatever the case of its name; empty when there is none.
platform::Path FindOld(const platform::Path& folder) {
  std::error_code error;
  for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (EqualNoCase(it->path().filename().string(), kOldName)) return it->path();
  }
  return {};
}

}  // namespace

std::optional<std::size_t> TunerFieldOf(std::string_view name) {
  for (std::size_t i = 0; i < kTunerFields.size(); ++i) {
    if (EqualNoCase(name, kTunerFields[i].column) || EqualNoCase(name, kTunerFields[i].control)) return i;
  }
  return std::nullopt;
}

Result<std::string> TunerStore::Prepare() {
  if (!files_.Exists(file_)) return Make();
  const Status usable = Check();
  if (usable) return std::string();
  const ErrorCode code = usable.error().code;
  if (code != ErrorCode::kDamaged && code != ErrorCode::kInvalid) return usable.error();
  const platform::Path aside = platform::SetAsideName(files_, file_);
  if (const Status moved = files_.Rename(file_, aside); !moved) return moved.error();
  const auto made = Make();
  if (!made) return made.error();
  return usable.error().message + ". It is now " + aside.string() + ", and " + file_.filename().string() +
         " is made anew" + (made->empty() ? "" : ". " + *made);
}

/// The file is small enough to be looked at as a whole.
Status TunerStore::Check() const {
  auto store = Sqlite::Open(file_, kPatience);
  if (!store) return store.error();
  const auto row = store->HasRow("SELECT freq, " + Columns() + " FROM " + kRecords);
  if (!row) return row.error();
  auto sound = store->Prepare("PRAGMA quick_check(1)");
  if (const Status checked = Step(sound); !checked) return checked;
  if (sound->Text(0) == "ok") return Ok();
  return Error{ErrorCode::kDamaged, file_.string() + ": " + OneLine(sound->Text(0))};
}

/// Put in place in one step, records of an old notebook included.
Result<std::string> TunerStore::Make() {
  const auto shipped = files_.Read(data_ / kTemplate);
  if (!shipped) return shipped.error();
  if (const Status aside = config::SetAsideCompanions(files_, file_); !aside) return aside.error();
  const platform::Path old = FindOld(folder_);
  const auto records = old.empty() ? Result<TunerRecords>(TunerRecords()) : ReadTunerMdb(old);
  if (!records || records->empty()) {
    if (const Status copied = files_.Write(file_, *shipped); !copied) return copied.error();
    return records ? std::string() : records.error().message + "; the notebook is empty";
  }
  auto store = Sqlite::OpenInMemory(file_.string(), *shipped);
  if (!store) return store.error();
  for (const auto& [key, values] : *records) {
    if (const Status put = Put(*store, kRecords, key, values); !put) return put.error();
  }
  const auto bytes = store->Serialize();
  if (!bytes) return bytes.error();
  if (const Status written = files_.Write(file_, *bytes); !written) return written.error();
  return std::to_string(records->size()) + (records->size() == 1 ? " segment" : " segments") + " taken from " +
         old.filename().string();
}

Result<std::optional<TunerValues>> TunerStore::Find(std::string_view key) const {
  auto store = Sqlite::Open(file_, kPatience);
  if (!store) return store.error();
  auto seek =
      store->Prepare("SELECT freq, " + Columns() + " FROM " + kRecords + " WHERE freq = ?1 ORDER BY rowid LIMIT 1");
  if (!seek) return seek.error();
  seek->Bind(1, key);
  const Result<bool> found = seek->Step();
  if (!found) return found.error();
  return *found ? std::optional(ValuesOf(*seek)) : std::nullopt;
}

Result<TunerRecords> TunerStore::Records() const {
  return ReadTable(kRecords);
}

Result<TunerRecords> TunerStore::Drafts() const {
  auto records = ReadTable(kDrafts);
  if (!records && records.error().code == ErrorCode::kInvalid) return TunerRecords();  // there never was one
  return records;
}

Result<TunerRecords> TunerStore::ReadTable(const std::string& table) const {
  auto store = Sqlite::Open(file_, kPatience);
  if (!store) return store.error();
  auto rows = store->Prepare("SELECT freq, " + Columns() + " FROM " + table + " ORDER BY rowid");
  if (!rows) return rows.error();
  TunerRecords records;
  while (true) {
    const Result<bool> row = rows->Step();
    if (!row) return row.error();
    if (!*row) return records;
    records.emplace(rows->Text(0), ValuesOf(*rows));  // of several with one key the first counts, as when it is sought
  }
}

Status TunerStore::Save(const TunerRecords& records) {
  return InTransaction(file_, kPatience, [&records](Sqlite& store) -> Status {
    for (const auto& [key, values] : records) {
      if (const Status put = Put(store, kRecords, key, values); !put) return put;
      if (const Status removed = Remove(store, kDrafts, key); !removed) return removed;
    }
    return Ok();
  });
}

Status TunerStore::KeepDrafts(const std::map<std::string, std::optional<TunerValues>>& drafts,
                              std::chrono::milliseconds patience) {
  return InTransaction(file_, patience, [&drafts](Sqlite& store) -> Status {
    for (const auto& [key, values] : drafts) {
      const Status done = values ? Put(store, kDrafts, key, *values) : Remove(store, kDrafts, key);
      if (!done) return done;
    }
    return Ok();
  });
}

}  // namespace kvx::accessories
