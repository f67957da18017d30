#include "accessories/tuner_exchange.h"

#include "accessories/tuner_segments.h"
#include "config/mdb_import.h"
#include "core/csv.h"
#include "core/text.h"
#include "core/utf8.h"

namespace kvx::accessories {
namespace {

constexpr const char* kTable = "Tuner";
constexpr const char* kKeyColumn = "freq";

Error Fault(int line, const std::string& why) {
  return {ErrorCode::kInvalid, "line " + std::to_string(line) + ": " + why};
}

/// What a column of a heading is: the key, a field, or nothing that is read.
struct Columns {
  std::optional<std::size_t> key;
  std::vector<std::optional<std::size_t>> fields;
};

Columns ColumnsOf(const std::vector<std::string>& heading) {
  Columns columns;
  for (std::size_t i = 0; i < heading.size(); ++i) {
    const std::string_view name = Trim(heading[i]);
    if (EqualNoCase(name, kKeyColumn)) columns.key = i;
    columns.fields.push_back(TunerFieldOf(name));
  }
  return columns;
}

}  // namespace

std::string FormatTunerCsv(const TunerRecords& records) {
  std::string csv = kKeyColumn;
  for (const TunerField& field : kTunerFields) csv += std::string(",") + field.column;
  csv += '\n';
  for (const TunerSegment& segment : kTunerSegments) {
    const auto record = records.find(segment.key);
    if (record == records.end()) continue;
    csv += segment.key;
    for (const std::string& value : record->second) csv += ',' + CsvCell(value);
    csv += '\n';
  }
  return csv;
}

Result<TunerRecords> ParseTunerCsv(std::string_view csv) {
  if (!IsText(csv)) return Error{ErrorCode::kDamaged, "it holds no text"};
  const std::string text = Utf8Of(csv);
  CsvReader reader(text);
  const auto heading = reader.Next();
  const Columns columns = ColumnsOf(heading ? heading->cells : std::vector<std::string>());
  if (!columns.key) return Fault(1, "the heading names no column freq");
  TunerRecords records;
  while (const auto row = reader.Next()) {
    const std::string key(*columns.key < row->cells.size() ? Trim(row->cells[*columns.key]) : "");
    if (SegmentOfKey(key) == nullptr) return Fault(row->line, "\"" + OneLine(key, 40) + "\" is the key of no segment");
    const auto [record, is_new] = records.try_emplace(key);
    if (!is_new) return Fault(row->line, "the segment " + key + " is there already");
    for (std::size_t i = 0; i < row->cells.size() && i < columns.fields.size(); ++i) {
      if (columns.fields[i]) record->second[*columns.fields[i]] = FromVisible(row->cells[i]);
    }
  }
  if (!reader.fault().empty()) return Fault(reader.line(), reader.fault());
  return records;
}

Result<TunerRecords> ReadTunerMdb(const platform::Path& file) {
  auto tables = config::ReadMdbTables(file, {kTable});
  if (!tables) return tables.error();
  TunerRecords records;
  for (const config::MdbRow& row : (*tables)[kTable]) {
    std::string key;
    TunerValues values;
    for (const auto& [column, value] : row) {
      if (EqualNoCase(column, kKeyColumn)) key = Trim(value);
      if (const auto field = TunerFieldOf(column)) values[*field] = value;
    }
    if (SegmentOfKey(key) != nullptr) records.emplace(key, values);
  }
  return records;
}

}  // namespace kvx::accessories
