#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "functions/function_record.h"

namespace kvx::functions {

// The columns of a list of function-key records, by number.

inline constexpr int kRigColumn = 0;
inline constexpr int kFreqColumn = 1;
inline constexpr int kModeColumn = 2;
inline constexpr int kFirstTextColumn = 3;
inline constexpr int kFirstPressColumn = kFirstTextColumn + static_cast<int>(kKeys);
inline constexpr int kScanColumn = kFirstPressColumn + static_cast<int>(kKeys);
inline constexpr int kDescColumn = kScanColumn + 1;
inline constexpr int kRecordColumns = kDescColumn + 1;

/// "RigName", "FNT1", ...
std::string ColumnName(int column);
/// The column of that name, in any case.
std::optional<int> ColumnOf(std::string_view name);
/// 0 to 8 for a column of texts, or of marks; nothing for another one.
std::optional<std::size_t> TextKey(int column);
std::optional<std::size_t> PressKey(int column);

/// A field as text: a mark as "True" or "False", a Null as empty.
std::string FieldText(const FunctionRecord& record, int column);
/// Sets a field from text, a mark from "True", "1", "No", ...: false when it cannot be read. An empty text leaves a
/// Null as it is.
bool SetFieldText(FunctionRecord& record, int column, const std::string& text);

}  // namespace kvx::functions
