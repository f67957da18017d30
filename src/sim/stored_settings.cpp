#include "sim/stored_settings.h"

#include <cassert>

#include "core/text.h"
#include "sim/text_line.h"

namespace kvx::sim {
namespace {

std::optional<int> ReadNumber(const StoredSetting& setting, std::string_view text) {
  if (setting.digits > 0) return FixedDigits(text, setting.digits);
  const bool negative = !text.empty() && text[0] == '-';
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) text.remove_prefix(1);
  const auto number = FixedDigits(text, text.size());
  if (!number) return std::nullopt;
  return negative ? -*number : *number;
}

}  // namespace

StoredSettings::StoredSettings(std::span<const StoredSetting> table) : table_(table) {
  for (const StoredSetting& setting : table_) values_.push_back(setting.initial);
}

std::string StoredSettings::Format(std::size_t index) const {
  const StoredSetting& setting = table_[index];
  std::string text(setting.name);
  text += setting.digits > 0 ? PadNumber(values_[index], setting.digits) : std::to_string(values_[index]);
  return text.append(setting.tail);
}

std::optional<std::string> StoredSettings::Answer(std::string_view query) const {
  for (std::size_t i = 0; i < table_.size(); ++i) {
    if (query == (table_[i].query.empty() ? table_[i].name : table_[i].query)) return Format(i);
  }
  return std::nullopt;
}

StoredSettings::Outcome StoredSettings::Store(std::string_view command) {
  Outcome outcome = Outcome::kUnknown;
  for (std::size_t i = 0; i < table_.size(); ++i) {
    if (!command.starts_with(table_[i].name)) continue;
    outcome = Outcome::kRefused;
    const auto number = ReadNumber(table_[i], command.substr(table_[i].name.size()));
    if (!number || *number < table_[i].low || *number > table_[i].high) continue;
    values_[i] = *number;
    return Outcome::kStored;
  }
  return outcome;
}

std::size_t StoredSettings::Find(std::string_view name) const {
  std::size_t index = 0;
  while (index < table_.size() && table_[index].name != name) ++index;
  assert(index < table_.size());
  return index;
}

int StoredSettings::Get(std::string_view name) const {
  return values_[Find(name)];
}
void StoredSettings::Set(std::string_view name, int value) {
  values_[Find(name)] = value;
}
std::string StoredSettings::Text(std::string_view name) const {
  return Format(Find(name));
}

}  // namespace kvx::sim
