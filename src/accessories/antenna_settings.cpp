#include "accessories/antenna_settings.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::accessories {
namespace {

constexpr std::size_t kLongestText = 250;
constexpr const char* kFalse = "False";

constexpr std::array<AntennaFieldRow, kAntennaFields> kRows{{
    {"Rport", "ANTPORT=", "Comm port set to ", "0"},
    {"Rspeed", "ANTSPEED=", "Speed set to ", "9600"},
    {"Rstart", "ANTSTART=", "Start bits set to ", "1"},
    {"Rstop", "ANTSTOP=", "Stop bits set to ", "1"},
    {"UseRig", "ANTUSERIG=", "Use rig comm port set to ", kFalse, FieldKind::kFlag},
    {"CommString", "ANTCOMMSTR=", "Comm String = ", ""},
    {"Ant1From", "ANT1FROM=", "Antenna 1 from ", ""},
    {"Ant2From", "ANT2FROM=", "Antenna 2 from ", ""},
    {"Ant3From", "ANT3FROM=", "Antenna 3 from ", ""},
    {"Ant4From", "ANT4FROM=", "Antenna 4 from ", ""},
    {"Ant1To", "ANT1TO=", "Antenna 1 to ", ""},
    {"Ant2To", "ANT2TO=", "Antenna 2 to ", ""},
    {"Ant3To", "ANT3TO=", "Antenna 3 to ", ""},
    {"Ant4To", "ANT4TO=", "Antenna 4 to ", ""},
    {"MSec", "MICROSEC=", "Micro seconds = ", "0"},
    {"PPort", "ANTLPT", "Parallel interface set to L P T ", "1", FieldKind::kParallelPort},
    {"DirectText", "DIRECTTEXT=", "Caption = ", ""},
    {"DirectText1", "DIRECTTEXT1=", "Caption = ", ""},
    {"Check1", "DIRECTINVERT=", "Invert signal ", kFalse, FieldKind::kFlag},
    {"DirectPort", "DIRECTOPT", "Port ", "1", FieldKind::kParallelPort},
    {"Locator", "LOCATOR=", "Own locator = ", ""},
    {"AntLock", "ANTLOCK=", "Antenna lock ", kFalse, FieldKind::kFlag},
}};

/// A parallel port has a line for each of its two numbers.
std::string PortKey(const AntennaFieldRow& row, const char* number) {
  return std::string(row.key) + number + "=";
}

std::string Read(const AntennaFieldRow& row, const config::Settings& settings) {
  if (row.kind == FieldKind::kParallelPort) {
    const auto chosen = [&](const char* number) { return ContainsNoCase(settings.text(PortKey(row, number)), "TRUE"); };
    return chosen("2") ? "2" : chosen("1") ? "1" : row.start;
  }
  if (row.kind == FieldKind::kFlag) return settings.flag(row.key) ? "True" : kFalse;
  if (!settings.has(row.key)) return row.start;
  // A command may end in a blank.
  const std::string& text = settings.text(row.key);
  return row.key == std::string_view("ANTCOMMSTR=") ? text : std::string(Trim(text));
}

}  // namespace

const AntennaFieldRow& RowOf(AntennaField field) {
  return kRows[static_cast<std::size_t>(field)];
}

std::optional<AntennaField> FindAntennaField(std::string_view name) {
  const auto row = std::find_if(kRows.begin(), kRows.end(),
                                [name](const AntennaFieldRow& known) { return EqualNoCase(known.name, name); });
  if (row == kRows.end()) return std::nullopt;
  return static_cast<AntennaField>(row - kRows.begin());
}

AntennaFields ReadAntennaFields(const config::Settings& settings) {
  AntennaFields fields;
  std::transform(kRows.begin(), kRows.end(), fields.begin(), [&](const auto& row) { return Read(row, settings); });
  return fields;
}

std::vector<config::SettingChange> AntennaChanges(const AntennaFields& fields) {
  std::vector<config::SettingChange> changes;
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    if (kRows[i].kind != FieldKind::kParallelPort) {
      changes.push_back({kRows[i].key, fields[i]});
      continue;
    }
    for (const char* number : {"1", "2"})
      changes.push_back({PortKey(kRows[i], number), fields[i] == number ? "True" : kFalse});
  }
  return changes;
}

std::optional<std::string> FieldText(AntennaField field, std::string_view text) {
  const FieldKind kind = RowOf(field).kind;
  const std::string_view word = Trim(text);
  const auto is_any = [word](std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(), [word](std::string_view known) { return EqualNoCase(word, known); });
  };
  if (kind == FieldKind::kFlag) {
    if (is_any({"True", "on", "yes", "1"})) return "True";
    return is_any({"False", "off", "no", "0"}) ? std::optional<std::string>(kFalse) : std::nullopt;
  }
  if (kind == FieldKind::kParallelPort) return is_any({"1", "2"}) ? std::optional(std::string(word)) : std::nullopt;
  // A line that held another key would be read as that key's.
  const auto holds = [text](const std::string& key) { return ContainsNoCase(text, key); };
  const bool plain = std::none_of(text.begin(), text.end(), [](char c) { return (c & 0xE0) == 0 || c == 0x7F; });
  if (!plain || text.size() > kLongestText || std::ranges::any_of(config::SettingKeys(), holds)) return std::nullopt;
  return std::string(text);
}

}  // namespace kvx::accessories
