#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "config/sqlite.h"
#include "core/result.h"
#include "functions/function_record.h"
#include "platform/files.h"

namespace kvx::functions {

/// What every read of table `rigfn` begins with; a criterion is put behind it. Rig names are compared in any case, as
/// the table's index has them, which finds the row then.
extern const char* const kSelectRows;
/// The row on which such a statement stands.
FunctionRecord ReadRecord(const config::SqliteStatement& row);

/// Which rows are wanted.
enum class RowChoice { kAll, kMarkedForScan };

/// Reads the rows of the store in the order in which they were stored, in pieces of some milliseconds, so that a table
/// of any size holds nothing up. Between two pieces nobody is kept out: a row that is written meanwhile may come as it
/// was or as it is.
class RowReader final {
 public:
  explicit RowReader(platform::Path file, RowChoice choice = RowChoice::kAll)
      : file_(std::move(file)), choice_(choice) {}

  /// Leaves out that many rows at the beginning.
  void Skip(std::int64_t count) { skip_ = count; }
  /// Reads the next rows: true when there are none behind them. A piece that failed can be read again.
  Result<bool> ReadSome();
  std::vector<FunctionRecord> rows;  ///< the wanted ones among those that were read last

 private:
  Status Open();

  platform::Path file_;
  RowChoice choice_;
  std::int64_t skip_ = 0;
  std::int64_t last_ = std::numeric_limits<std::int64_t>::min();  ///< place of the row read last
  std::optional<config::Sqlite> store_;
  std::optional<config::SqliteStatement> piece_;
};

}  // namespace kvx::functions
