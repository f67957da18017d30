#include "functions/row_reader.h"

#include <chrono>

#include "config/rig_row.h"

namespace kvx::functions {
namespace {

constexpr std::chrono::milliseconds kPatience{10};
constexpr std::int64_t kRowsInPiece = 1000;
constexpr int kScan = 4;
constexpr int kFirstText = 6;
constexpr int kFirstPress = kFirstText + static_cast<int>(kKeys);

}  // namespace

const char* const kSelectRows =
    "SELECT * FROM (SELECT rowid AS place, RigName COLLATE NOCASE AS RigName, Freq, Mode, Scan, \"Desc\","
    " FNT1, FNT2, FNT3, FNT4, FNT5, FNT6, FNT7, FNT8, FNT9, FNP1, FNP2, FNP3, FNP4, FNP5, FNP6, FNP7, FNP8, FNP9"
    " FROM rigfn)";

FunctionRecord ReadRecord(const config::SqliteStatement& row) {
  FunctionRecord record{.place = row.Number(0),
                        .rig = row.Text(1),
                        .freq = row.Text(2),
                        .mode = row.Text(3),
                        .scan = row.Text(kScan),
                        .description = row.Text(5)};
  for (std::size_t i = 0; i < kKeys; ++i) {
    const int n = static_cast<int>(i);
    if (!row.IsNull(kFirstText + n)) record.texts[i] = row.Text(kFirstText + n);
    record.presses[i] = config::ParseYesNo(row.Text(kFirstPress + n)).value_or(true);
  }
  return record;
}

Status RowReader::Open() {
  auto store = config::Sqlite::Open(file_, kPatience);
  if (!store) return store.error();
  auto piece = store->Prepare(std::string(kSelectRows) + " WHERE place > ? ORDER BY place LIMIT ? OFFSET ?");
  if (!piece) return piece.error();
  store_.emplace(std::move(*store));
  piece_.emplace(std::move(*piece));
  return Ok();
}

Result<bool> RowReader::ReadSome() {
  rows.clear();
  if (!piece_) {
    if (const Status opened = Open(); !opened) return opened.error();
  }
  piece_->Bind(1, last_);
  piece_->Bind(2, kRowsInPiece);
  piece_->Bind(3, skip_);
  std::int64_t last = last_;
  for (std::int64_t read = 0;; ++read) {
    const auto row = piece_->Step();
    if (!row) {
      piece_.reset();
      return row.error();
    }
    if (!*row) {
      if (read > 0) skip_ = 0;
      last_ = last;
      return read < kRowsInPiece;
    }
    last = piece_->Number(0);
    const std::string scan = choice_ == RowChoice::kAll ? "Y" : piece_->Text(kScan);
    if (scan == "Y" || scan == "y") rows.push_back(ReadRecord(*piece_));
  }
}

}  // namespace kvx::functions
