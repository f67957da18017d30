#include "config/rig_csv.h"

#include <algorithm>
#include <optional>

namespace kvx::config {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kHexField = "SendAsHEX";
constexpr std::string_view kReverseField = "RevData";

struct Record {
  std::vector<std::string> cells;
  int line = 0;  ///< where it begins
};

/// Takes RFC 4180 records off a text, one after the other, without comments and empty lines.
class Reader {
 public:
  explicit Reader(std::string_view csv) : rest_(csv) {}

  /// The next record; nothing at the end or at a fault.
  std::optional<Record> Next() {
    SkipIdleLines();
    if (rest_.empty() || !fault_.empty()) return std::nullopt;
    Record record{.cells = {}, .line = line_};
    do {
      record.cells.push_back(TakeCell());
    } while (fault_.empty() && TakeComma());
    if (fault_.empty() && !TakeLineEnd()) fault_ = "there is something behind a closing quote";
    if (!fault_.empty()) return std::nullopt;
    return record;
  }

  int line() const { return line_; }
  const std::string& fault() const { return fault_; }

 private:
  void SkipIdleLines() {
    while (!rest_.empty()) {
      const std::string_view line = rest_.substr(0, rest_.find('\n'));
      const bool blank = line.find_first_not_of(" \t\r") == std::string_view::npos;
      if (!blank && line.front() != '#') return;
      rest_.remove_prefix(std::min(line.size() + 1, rest_.size()));
      ++line_;
    }
  }

  std::string TakeCell() { return rest_.starts_with('"') ? TakeQuoted() : TakePlain(); }

  std::string TakePlain() {
    std::string_view cell = rest_.substr(0, rest_.find_first_of(",\n"));
    rest_.remove_prefix(cell.size());
    if (cell.ends_with('\r')) cell.remove_suffix(1);
    return std::string(cell);
  }

  std::string TakeQuoted() {
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
    return cell;
  }

  bool TakeComma() {
    const bool there = rest_.starts_with(',');
    if (there) rest_.remove_prefix(1);
    return there;
  }

  bool TakeLineEnd() {
    if (rest_.starts_with('\r')) rest_.remove_prefix(1);
    if (!rest_.empty() && rest_.front() != '\n') return false;
    if (!rest_.empty()) rest_.remove_prefix(1);
    ++line_;
    return true;
  }

  std::string_view rest_;
  std::string fault_;
  int line_ = 1;
};

std::optional<bool> ReadYesNo(std::string_view text) {
  for (const std::string_view yes : {"Yes", "True", "1", "-1"}) {
    if (EqualNoCase(Trim(text), yes)) return true;
  }
  for (const std::string_view no : {"No", "False", "0", ""}) {
    if (EqualNoCase(Trim(text), no)) return false;
  }
  return std::nullopt;
}

std::string SetFlag(bool& flag, std::string_view text) {
  const auto value = ReadYesNo(text);
  if (!value) return "\"" + OneLine(text, 40) + "\" is neither Yes nor No";
  flag = *value;
  return "";
}

/// Puts one record into the rows; what is wrong with it, else empty.
std::string TakeRecord(const Record& record, std::vector<RigRow>& rows) {
  if (record.cells.size() != 2) return "a line is a field, a comma and its value (quote a value that holds a comma)";
  const std::string_view field = Trim(record.cells[0]);
  const std::string value = FromVisible(record.cells[1]);
  if (EqualNoCase(field, "RigName")) {
    const auto same = [&value](const RigRow& row) { return EqualNoCase(row.name(), value); };
    if (value.empty()) return "the rig has no name";
    if (std::any_of(rows.begin(), rows.end(), same)) return "the rig " + OneLine(value, 60) + " is there already";
    rows.emplace_back().Set("RigName", value);
    return "";
  }
  if (rows.empty()) return "a rig begins with RigName";
  RigRow& row = rows.back();
  if (EqualNoCase(field, kHexField)) return SetFlag(row.send_as_hex, value);
  if (EqualNoCase(field, kReverseField)) return SetFlag(row.rev_data, value);
  if (!row[field].empty()) return "the field " + std::string(field) + " is there already";
  return row.Set(field, value) ? "" : "there is no field \"" + OneLine(field, 40) + "\"";
}

std::string Quoted(const std::string& value) {
  const bool plain = value.find_first_of(",\"") == std::string::npos && Trim(value).size() == value.size();
  return plain ? value : '"' + ReplaceAll(value, "\"", "\"\"") + '"';
}

std::string Line(std::string_view field, const std::string& value) {
  return std::string(field) + ',' + Quoted(ToVisible(value)) + '\n';
}

}  // namespace

Result<std::vector<RigRow>> ParseRigCsv(std::string_view csv) {
  if (csv.starts_with(kByteOrderMark)) csv.remove_prefix(kByteOrderMark.size());
  std::vector<RigRow> rows;
  Reader reader(csv);
  const auto failed = [](int line, const std::string& fault) {
    return Error{ErrorCode::kInvalid, "line " + std::to_string(line) + ": " + fault};
  };
  while (const auto record = reader.Next()) {
    const std::string fault = TakeRecord(*record, rows);
    if (!fault.empty()) return failed(record->line, fault);
  }
  if (!reader.fault().empty()) return failed(reader.line(), reader.fault());
  return rows;
}

std::string FormatRigCsv(const std::vector<RigRow>& rows) {
  std::string csv;
  for (const RigRow& row : rows) {
    if (row.name().empty()) continue;  // no block could begin
    if (!csv.empty()) csv += '\n';
    csv += Line("RigName", row.name()) + Line("RigType", row["RigType"]);
    csv += Line(kHexField, row.send_as_hex ? "Yes" : "No") + Line(kReverseField, row.rev_data ? "Yes" : "No");
    for (const std::string_view field : kRigTextFields) {
      const bool written = field == "RigName" || field == "RigType";
      if (!written && !row[field].empty()) csv += Line(field, row[field]);
    }
  }
  return csv;
}

}  // namespace kvx::config
