#include "config/rig_batches.h"

#include <algorithm>

#include "config/rig_store.h"
#include "config/sqlite.h"

namespace kvx::config {
namespace {

constexpr std::chrono::milliseconds kPatience{10};  // whoever imports waits in his own way
constexpr std::chrono::milliseconds kGlance{5};     // at the thread that writes
constexpr std::size_t kRowsInPiece = 50;

/// A store in a transaction, with all tables.
Result<Sqlite> Begin(const platform::Path& file) {
  Result<Sqlite> store = Sqlite::Open(file, kPatience);
  if (!store) return store;
  // What has been changed stays in memory until the end: others can read meanwhile.
  if (const Status set = store->Run("PRAGMA cache_spill = OFF"); !set) return set.error();
  if (const Status begun = store->Run("BEGIN IMMEDIATE"); !begun) return begun.error();
  if (const Status complete = CompleteTables(*store); !complete) return complete.error();
  return store;
}

}  // namespace

Result<std::vector<RigRow>> FindRigs(const platform::Path& store, const std::vector<std::string>& names) {
  Result<Sqlite> database = Sqlite::Open(store);
  if (!database) return database.error();
  Result<SqliteStatement> find =
      database->Prepare("SELECT * FROM RigSetup WHERE RigName = ? COLLATE NOCASE ORDER BY rowid LIMIT 1");
  if (!find) return find.error();
  std::vector<RigRow> rows;
  for (const std::string& name : names) {
    if (name.find('\'') != std::string::npos) continue;
    find->Bind(1, name);
    const Result<bool> row = find->Step();
    if (!row) return row.error();
    if (!*row) continue;
    rows.push_back(ReadRig(*find));
    if (const Result<bool> end = find->Step(); !end) return end.error();
  }
  return rows;
}

Result<bool> RigImport::DoSome() {
  if (!store_) {
    Result<Sqlite> store = Begin(file_);
    if (!store) return store.error();
    store_ = std::make_shared<Sqlite>(std::move(*store));
  }
  if (next_ < rows_->size()) {
    const auto at = [this](std::size_t row) { return rows_->begin() + static_cast<std::ptrdiff_t>(row); };
    const std::size_t end = std::min(rows_->size(), next_ + kRowsInPiece);
    if (const auto count = InsertRigs(*store_, {at(next_), at(end)}, true); !count) return count.error();
    next_ = end;
    return false;
  }
  if (!is_ending()) written_ = std::async(std::launch::async, [store = store_] { return store->Run("COMMIT"); });
  if (written_.wait_for(kGlance) != std::future_status::ready) return false;
  if (const Status written = written_.get(); !written) return written.error();
  return true;
}

}  // namespace kvx::config
