#include "config/rig_csv.h"

#include <limits>

namespace kvx::config {
namespace {

std::string SetFlag(bool& flag, std::string_view text) {
  const auto value = ParseYesNo(text);
  if (!value) return "\"" + OneLine(text, 40) + "\" is neither Yes nor No";
  flag = *value;
  return "";
}

std::string Line(std::string_view field, const std::string& value) {
  return std::string(field) + ',' + CsvCell(value) + '\n';
}

}  // namespace

/// Puts one record into the rows; what is wrong with it, else empty.
std::string RigCsvReader::Take(const CsvRecord& record) {
  if (record.cells.size() != 2) return "a line is a field, a comma and its value (quote a value that holds a comma)";
  const std::string_view field = Trim(record.cells[0]);
  const std::string value = FromVisible(record.cells[1]);
  if (EqualNoCase(field, "RigName")) {
    if (value.empty()) return "the rig has no name";
    if (!names_.insert(Upper(value)).second) return "the rig " + OneLine(value, 60) + " is there already";
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

Result<bool> RigCsvReader::ReadSome(std::size_t records) {
  const auto failed = [](int line, const std::string& fault) {
    return Error{ErrorCode::kInvalid, "line " + std::to_string(line) + ": " + fault};
  };
  for (; records > 0; --records) {
    const auto record = reader_.Next();
    if (!record && !reader_.fault().empty()) return failed(reader_.line(), reader_.fault());
    if (!record) return true;
    if (const std::string fault = Take(*record); !fault.empty()) return failed(record->line, fault);
  }
  return false;
}

Result<std::vector<RigRow>> ParseRigCsv(std::string_view csv) {
  RigCsvReader reader(csv);
  const auto read = reader.ReadSome(std::numeric_limits<std::size_t>::max());
  if (!read) return read.error();
  return std::move(reader.rows);
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
