#include "config/rig_row.h"

#include <algorithm>

namespace kvx::config {

std::optional<std::string_view> RigFieldName(std::string_view any_case) {
  const auto field = std::find_if(kRigTextFields.begin(), kRigTextFields.end(),
                                  [any_case](std::string_view name) { return EqualNoCase(name, any_case); });
  if (field == kRigTextFields.end()) return std::nullopt;
  return *field;
}

const std::string& RigRow::operator[](std::string_view field) const {
  static const std::string kEmpty;
  const auto value = fields_.find(Upper(field));
  return value != fields_.end() ? value->second : kEmpty;
}

bool RigRow::Set(std::string_view field, std::string value) {
  if (!RigFieldName(field)) return false;
  if (value.empty()) {
    fields_.erase(Upper(field));
  } else {
    fields_[Upper(field)] = std::move(value);
  }
  return true;
}

std::optional<bool> ParseYesNo(std::string_view text) {
  constexpr std::int64_t kAny = 1'000'000'000;
  text = Trim(text);
  if (EqualNoCase(text, "Yes") || EqualNoCase(text, "True")) return true;
  if (EqualNoCase(text, "No") || EqualNoCase(text, "False") || text.empty()) return false;
  if (const auto number = ParseNumber(text, -kAny, kAny)) return *number != 0;
  return std::nullopt;
}

}  // namespace kvx::config
