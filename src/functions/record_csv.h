#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "functions/function_record.h"

namespace kvx::functions {

// Function-key records as CSV, one a line, without a heading: FNT1 to FNT9, FNP1 to FNP9 (True or False), RigName,
// Freq, Mode, Scan, Desc. A field is written as it stands; only one that holds a comma, a quote or a control character
// is put in quotes, with its quotes doubled and its control characters as <CR>, <0x07>, so that a record is always one
// line.

std::string FormatRecords(const std::vector<FunctionRecord>& records);

/// Reads that form, and the plain one in which nothing was ever quoted: there a comma too many counts to the last
/// field. What follows Freq may be absent; rig name and frequency may be empty. Text that is no UTF-8 is that of older
/// programs, Windows-1252. An error names the line and what is wrong with it, and then nothing is taken.
Result<std::vector<FunctionRecord>> ParseRecords(std::string_view csv);

/// The same in pieces.
class RecordReader final {
 public:
  explicit RecordReader(std::string_view csv);
  /// Reads so many lines: true when these were the last ones.
  Result<bool> ReadSome(std::size_t lines);
  std::vector<FunctionRecord> records;  ///< read up to now

 private:
  bool is_text_;
  std::string text_;
  std::size_t at_ = 0;
  int line_ = 0;
};

}  // namespace kvx::functions
