#include "core/csv.h"

#include <algorithm>

#include "core/lines.h"
#include "core/text.h"

namespace kvx {

std::string CsvCell(std::string_view text) {
  const std::string visible = ToVisible(text);
  const bool plain = visible.find_first_of(",\"") == std::string::npos && Trim(visible).size() == visible.size();
  return plain ? visible : '"' + ReplaceAll(visible, "\"", "\"\"") + '"';
}

CsvReader::CsvReader(std::string_view csv) : rest_(WithoutByteOrderMark(csv)) {}

std::optional<CsvRecord> CsvReader::Next() {
  SkipIdleLines();
  if (rest_.empty() || !fault_.empty()) return std::nullopt;
  CsvRecord record{.cells = {}, .line = line_};
  do {
    record.cells.push_back(TakeCell());
  } while (fault_.empty() && TakeComma());
  if (fault_.empty() && !TakeLineEnd()) fault_ = "there is something behind a closing quote";
  if (!fault_.empty()) return std::nullopt;
  return record;
}

void CsvReader::SkipIdleLines() {
  while (!rest_.empty()) {
    const std::string_view line = rest_.substr(0, rest_.find('\n'));
    const bool blank = line.find_first_not_of(" \t\r") == std::string_view::npos;
    if (!blank && line.front() != '#') return;
    rest_.remove_prefix(std::min(line.size() + 1, rest_.size()));
    ++line_;
  }
}

std::string CsvReader::TakeCell() {
  return rest_.starts_with('"') ? TakeQuoted() : TakePlain();
}

std::string CsvReader::TakePlain() {
  std::string_view cell = rest_.substr(0, rest_.find_first_of(",\n"));
  rest_.remove_prefix(cell.size());
  if (cell.ends_with('\r')) cell.remove_suffix(1);
  return std::string(cell);
}

std::string CsvReader::TakeQuoted() {
  const int opened = line_;
  std::string cell;
  for (std::size_t i = 1; i < rest_.size(); ++i) {
    if (rest_[i] == '\n') ++line_;
    if (rest_[i] != '"') {
      cell += rest_[i];
    } else if (rest_.substr(i + 1).starts_with('"')) {
      cell += rest_[++i];
    } else {
      rest_.remove_prefix(i + 1);
      return cell;
    }
  }
  fault_ = "a quote is not closed";
  line_ = opened;
  return cell;
}

bool CsvReader::TakeComma() {
  const bool there = rest_.starts_with(',');
  if (there) rest_.remove_prefix(1);
  return there;
}

bool CsvReader::TakeLineEnd() {
  if (rest_.starts_with('\r')) rest_.remove_prefix(1);
  if (!rest_.empty() && rest_.front() != '\n') return false;
  if (!rest_.empty()) rest_.remove_prefix(1);
  ++line_;
  return true;
}

}  // namespace kvx
