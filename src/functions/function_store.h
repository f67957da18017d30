#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "config/sqlite.h"
#include "core/listeners.h"
#include "core/result.h"
#include "functions/function_record.h"
#include "functions/row_reader.h"
#include "platform/files.h"

namespace kvx::functions {

/// The criterion of a row, with no blank before its AND. A rig name with a quote in it breaks it.
std::string RowCriterion(const std::string& rig, const std::string& freq);
/// The same as an import writes it.
std::string ImportCriterion(const std::string& rig, const std::string& freq);

/// Table `rigfn` of the station's store. Every operation is done or not done as a whole, whatever happens meanwhile;
/// kBusy when another program is writing just then, and then the call can be repeated. Never waits longer than 10 ms
/// for that.
class FunctionStore final {
 public:
  explicit FunctionStore(platform::Path file) : file_(std::move(file)) {}

  /// The first row of that rig (in any case) and exactly that frequency text. Cheap enough for every step of the knob:
  /// its connection stays open, which keeps nobody out, until the file changes.
  Result<std::optional<FunctionRecord>> Find(const std::string& rig, const std::string& freq);
  /// The row at that place.
  Result<std::optional<FunctionRecord>> At(std::int64_t place) const;
  /// The rows, in the order in which they were stored.
  RowReader Reader(RowChoice choice = RowChoice::kAll) const { return RowReader(file_, choice); }

  /// Adds the row or changes it: texts, mode and description. `pressed_key` 1 to 9 is marked for pressing; no mark is
  /// ever taken away, and `scan` stays.
  Status Store(const FunctionRecord& record, int pressed_key);
  /// Deletes the row of that rig and frequency: the row, if there was one.
  Result<std::optional<FunctionRecord>> Delete(const std::string& rig, const std::string& freq);
  /// Deletes rows of a list, all or none, and gives them as they were. kNotFound when one is not there any more.
  Result<std::vector<FunctionRecord>> DeleteRows(const std::vector<FunctionRecord>& rows);
  /// Puts deleted rows back, each to its place. Where another row has come into its stead meanwhile, that one goes on
  /// counting and the old one comes behind all others; how many these are.
  Result<int> PutBack(const std::vector<FunctionRecord>& rows);
  /// Turns a row of a list into `after`, writing only what differs. kNotFound when it is not there any more.
  Status Change(const FunctionRecord& before, const FunctionRecord& after);
  /// Adds the rows, or changes those that are there, all or none: texts and marks; mode, scan and description of a row
  /// stay as they are.
  Status Import(const std::vector<FunctionRecord>& records);
  /// The same in pieces of some milliseconds: each call does one, and the last one gives true. Nothing of it is in the
  /// table before, nor when it is given up.
  std::function<Result<bool>()> Importer(std::vector<FunctionRecord> records) const;

  /// Told when rows have been stored, changed, deleted or imported by this program.
  Listeners changed;

  const platform::Path& file() const { return file_; }
  /// Changes whenever the file does, by whomever.
  std::string Stamp() const;

 private:
  Status InTransaction(const std::function<Status(config::Sqlite&)>& work) const;

  platform::Path file_;
  std::optional<config::Sqlite> reader_;
  std::string reader_stamp_;
};

}  // namespace kvx::functions
