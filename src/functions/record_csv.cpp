#include "functions/record_csv.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "config/rig_row.h"
#include "core/lines.h"
#include "core/text.h"
#include "core/utf8.h"

namespace kvx::functions {
namespace {

constexpr std::size_t kFirstPress = kKeys;
constexpr std::size_t kRig = 2 * kKeys;
constexpr std::size_t kFreq = kRig + 1;
constexpr std::size_t kMode = kRig + 2;
constexpr std::size_t kScan = kRig + 3;
constexpr std::size_t kDescription = kRig + 4;

std::string Field(const std::string& text) {
  const bool plain = std::none_of(text.begin(), text.end(),
                                  [](unsigned char c) { return c == ',' || c == '"' || c < 0x20 || c == 0x7F; });
  return plain ? text : '"' + ReplaceAll(ToVisible(text), "\"", "\"\"") + '"';
}

std::string FormatRecord(const FunctionRecord& record) {
  std::string line;
  for (const auto& text : record.texts) line += Field(text.value_or("")) + ',';
  for (const bool press : record.presses) line += press ? "True," : "False,";
  return line + Field(record.rig) + ',' + Field(record.freq) + ',' + Field(record.mode) + ',' + Field(record.scan) +
         ',' + Field(record.description) + '\n';
}

/// The end of the quoted field that the text begins with; npos when no comma and no end of line follows its closing
/// quote, and the quote at the beginning is a character like any other.
std::size_t QuotedEnd(std::string_view text) {
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] != '"') continue;
    if (i + 1 == text.size() || text[i + 1] == ',') return i + 1;
    if (text[i + 1] != '"') return std::string_view::npos;
    ++i;
  }
  return std::string_view::npos;
}

std::vector<std::string> SplitLine(std::string_view line) {
  std::vector<std::string> fields;
  while (true) {
    const std::size_t quoted = line.starts_with('"') ? QuotedEnd(line) : std::string_view::npos;
    const std::size_t end = std::min(quoted != std::string_view::npos ? quoted : line.find(','), line.size());
    const std::string_view text = line.substr(0, end);
    fields.push_back(quoted == std::string_view::npos
                         ? std::string(text)
                         : FromVisible(ReplaceAll(std::string(text.substr(1, end - 2)), "\"\"", "\"")));
    if (end == line.size()) return fields;
    line.remove_prefix(end + 1);
  }
}

/// Puts the fields of one line into the record; what is wrong with it, else empty.
std::string TakeFields(const std::vector<std::string>& fields, FunctionRecord& record) {
  if (fields.size() <= kFreq) {
    return "it has " + std::to_string(fields.size()) + (fields.size() == 1 ? " field" : " fields") +
           ", but a record has 23, of which the first 20 are needed";
  }
  for (std::size_t i = 0; i < kKeys; ++i) {
    record.texts[i] = fields[i];
    const auto press = config::ParseYesNo(fields[kFirstPress + i]);
    if (!press) {
      return "FNP" + std::to_string(i + 1) + " is \"" + OneLine(fields[kFirstPress + i], 40) +
             "\" and neither True nor False";
    }
    record.presses[i] = *press;
  }
  record.rig = Trim(fields[kRig]);
  record.freq = Trim(fields[kFreq]);
  if (fields.size() > kMode) record.mode = fields[kMode];
  if (fields.size() > kScan) record.scan = fields[kScan];
  for (std::size_t i = kDescription; i < fields.size(); ++i)
    record.description += (i > kDescription ? "," : "") + fields[i];
  return "";
}

}  // namespace

std::string FormatRecords(const std::vector<FunctionRecord>& records) {
  std::string csv;
  for (const FunctionRecord& record : records) csv += FormatRecord(record);
  return csv;
}

RecordReader::RecordReader(std::string_view csv) : is_text_(IsText(csv)), text_(Utf8Of(csv)) {
  at_ = text_.size() - WithoutByteOrderMark(text_).size();
}

Result<bool> RecordReader::ReadSome(std::size_t lines) {
  if (!is_text_) return Error{ErrorCode::kDamaged, "it holds no text"};
  std::string_view rest = std::string_view(text_).substr(at_);
  for (; lines > 0 && !rest.empty(); --lines) {
    const std::string_view line = TakeLine(rest).text;
    ++line_;
    if (Trim(line).empty()) continue;
    const std::string fault = TakeFields(SplitLine(line), records.emplace_back());
    if (!fault.empty()) return Error{ErrorCode::kInvalid, "line " + std::to_string(line_) + ": " + fault};
  }
  at_ = text_.size() - rest.size();
  return rest.empty();
}

Result<std::vector<FunctionRecord>> ParseRecords(std::string_view csv) {
  RecordReader reader(csv);
  const auto read = reader.ReadSome(std::numeric_limits<std::size_t>::max());
  if (!read) return read.error();
  return std::move(reader.records);
}

}  // namespace kvx::functions
