#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvx {

/// A text as one cell of CSV on one line: control characters visible, quotes where they are needed.
std::string CsvCell(std::string_view text);

struct CsvRecord {
  std::vector<std::string> cells;
  int line = 0;  ///< where it begins
};

/// Takes RFC 4180 records off a text, one after the other, without a byte-order mark, `#` lines and empty lines.
class CsvReader {
 public:
  explicit CsvReader(std::string_view csv);

  /// The next record; nothing at the end or at a fault.
  std::optional<CsvRecord> Next();

  /// Where reading has come to, or the line of the fault.
  int line() const { return line_; }
  /// Why reading cannot go on; empty while it can.
  const std::string& fault() const { return fault_; }

 private:
  void SkipIdleLines();
  std::string TakeCell();
  std::string TakePlain();
  std::string TakeQuoted();
  bool TakeComma();
  bool TakeLineEnd();

  std::string_view rest_;
  std::string fault_;
  int line_ = 1;
};

}  // namespace kvx
