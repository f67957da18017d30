#include "functions/function_columns.h"

#include "config/rig_row.h"
#include "core/text.h"

namespace kvx::functions {
namespace {

/// The member behind a column that is a plain text; null for the others.
std::string FunctionRecord::*PlainText(int column) {
  switch (column) {
    case kRigColumn:
      return &FunctionRecord::rig;
    case kFreqColumn:
      return &FunctionRecord::freq;
    case kModeColumn:
      return &FunctionRecord::mode;
    case kScanColumn:
      return &FunctionRecord::scan;
    case kDescColumn:
      return &FunctionRecord::description;
    default:
      return nullptr;
  }
}

std::optional<std::size_t> KeyFrom(int first, int column) {
  const int key = column - first;
  if (key < 0 || key >= static_cast<int>(kKeys)) return std::nullopt;
  return static_cast<std::size_t>(key);
}

}  // namespace

std::string ColumnName(int column) {
  if (const auto key = TextKey(column)) return "FNT" + std::to_string(*key + 1);
  if (const auto key = PressKey(column)) return "FNP" + std::to_string(*key + 1);
  switch (column) {
    case kRigColumn:
      return "RigName";
    case kFreqColumn:
      return "Freq";
    case kModeColumn:
      return "Mode";
    case kScanColumn:
      return "Scan";
    default:
      return "Desc";
  }
}

std::optional<int> ColumnOf(std::string_view name) {
  for (int column = 0; column < kRecordColumns; ++column) {
    if (EqualNoCase(ColumnName(column), name)) return column;
  }
  return std::nullopt;
}

std::optional<std::size_t> TextKey(int column) {
  return KeyFrom(kFirstTextColumn, column);
}

std::optional<std::size_t> PressKey(int column) {
  return KeyFrom(kFirstPressColumn, column);
}

std::string FieldText(const FunctionRecord& record, int column) {
  if (const auto key = TextKey(column)) return record.texts[*key].value_or("");
  if (const auto key = PressKey(column)) return record.presses[*key] ? "True" : "False";
  const auto member = PlainText(column);
  return member == nullptr ? "" : record.*member;
}

bool SetFieldText(FunctionRecord& record, int column, const std::string& text) {
  if (const auto key = TextKey(column)) {
    if (!text.empty() || record.texts[*key]) record.texts[*key] = text;
    return true;
  }
  if (const auto key = PressKey(column)) {
    const auto press = config::ParseYesNo(text);
    if (press) record.presses[*key] = *press;
    return press.has_value();
  }
  const auto member = PlainText(column);
  if (member != nullptr) record.*member = text;
  return member != nullptr;
}

}  // namespace kvx::functions
