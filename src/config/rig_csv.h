#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "config/rig_row.h"
#include "core/csv.h"
#include "core/result.h"

namespace kvx::config {

// Rig rows as CSV that people read and compare: one block a rig, one record `Field,Value` a line; "RigName" begins a
// block.
//
//   # Kenwood TS-2000: PC control command reference
//   RigName,TS-2000
//   SendAsHEX,No
//   SetFreq,FA<FREQ11>;
//
// Quoting as in RFC 4180; `#` lines and empty lines are skipped; fields that are not listed are empty. Control
// characters are written `<CR>`, `<LF>`, `<0xNN>` (ToVisible).

/// Takes the rows off such a text, which outlives it, piece by piece.
class RigCsvReader final {
 public:
  explicit RigCsvReader(std::string_view csv) : reader_(csv) {}
  /// Reads so many records more: true at the end. An error names the line and what is wrong with it.
  Result<bool> ReadSome(std::size_t records);

  std::vector<RigRow> rows;  ///< so far; the last one may lack fields until the end

 private:
  std::string Take(const CsvRecord& record);

  CsvReader reader_;
  std::set<std::string> names_;  ///< of the rows, upper case
};

/// Reads all rows; an error names the line and what is wrong with it, and then nothing is taken.
Result<std::vector<RigRow>> ParseRigCsv(std::string_view csv);
std::string FormatRigCsv(const std::vector<RigRow>& rows);

}  // namespace kvx::config
