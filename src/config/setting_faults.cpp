#include "config/setting_faults.h"

#include <algorithm>
#include <functional>

#include "config/kept_settings.h"
#include "config/line_speeds.h"
#include "config/station_settings.h"
#include "core/appearance_limits.h"
#include "core/frequency.h"
#include "core/text.h"
#include "platform/ports_file.h"

namespace kvx::config {
namespace {

constexpr std::size_t kMostFaults = 10;
constexpr std::size_t kShown = 40;  // characters of a value

struct Row {
  std::string key;
  int low;
  int high;
  bool is_speed = false;
};

/// A value that is one of some words, or read in a way of its own.
struct WordRow {
  std::string key;
  std::string wanted;
  std::function<bool(const std::string& value)> fits;
};

std::vector<Row> MakeRows() {
  constexpr int kMostStopBits = 2;
  constexpr int kAddresses = 7;
  constexpr int kMostHours = 14;
  constexpr int kLongestPulse = 1'000'000;
  constexpr int kCircle = 360;
  std::vector<Row> rows{{"RIGPORT=", 0, platform::kHighestPort},
                        {"RIGSPEED=", kSlowestLine, kFastestLine, true},
                        {"RIGSTOP=", 1, kMostStopBits},
                        {"RIGNUMBER=", 1, kAddresses},
                        {"GMT=", -kMostHours, kMostHours},
                        {"POLLTIME=", kShortestPollMilliseconds, kLongestPollMilliseconds},
                        {"BANDPLAN=", 1, 3},
                        {"TEXTSIZE=", kSmallestText, kLargestText},
                        {"ANTPORT=", 0, platform::kHighestPort},
                        {"ANTSPEED=", 1, kFastestLine, true},
                        {"MICROSEC=", 0, kLongestPulse}};
  for (int slot = 1; slot <= kSavedRigs; ++slot) {
    rows.push_back({SavedRigKey("SPEED", slot), 0, kFastestLine, true});
    rows.push_back({SavedRigKey("STOPBIT", slot), 1, kMostStopBits});
    rows.push_back({SavedRigKey("RTSON", slot), 0, 1});
    rows.push_back({SavedRigKey("DTRON", slot), 0, 1});
  }
  for (int i = 1; i <= 4; ++i) {
    rows.push_back({"ANT" + std::to_string(i) + "FROM=", 0, kCircle});
    rows.push_back({"ANT" + std::to_string(i) + "TO=", 0, kCircle});
  }
  for (const KeptSetting& setting : KeptSettings()) {
    if (setting.is_bounded()) rows.push_back({setting.key, setting.low, setting.high});
  }
  return rows;
}

template <class Words>
std::string NoneOf(const Words& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : ", ") + std::string(word);
  return "none of " + text;
}

std::vector<WordRow> MakeWordRows() {
  const auto is_khz = [](const std::string& value) { return ParseKhz(value).has_value(); };
  std::vector<WordRow> rows{
      {"PDOFFSET=", "no frequency in kHz", is_khz},
      {"THEME=", NoneOf(kThemeNames), [](const std::string& value) { return IsTheme(Lower(value)); }}};
  for (int i = 1; i <= kBandMemories; ++i) rows.push_back({BandKey("BANDREM", i), "no frequency in kHz", is_khz});
  for (const KeptSetting& setting : KeptSettings()) {
    const bool choice = setting.kind == SettingKind::kChoice || setting.kind == SettingKind::kWord;
    // The keyer tells of a port that there is not.
    if (!choice || setting.key.starts_with("KEYERPORT")) continue;
    rows.push_back({setting.key, NoneOf(*setting.choices),
                    [&setting](const std::string& value) { return ChoiceOf(setting, value) >= 0; }});
  }
  return rows;
}

const std::vector<Row>& Rows() {
  static const std::vector<Row> kRows = MakeRows();
  return kRows;
}

bool HasPort(const Settings& settings) {
  return ParseNumber(Trim(settings.text("RIGPORT=")), 1, platform::kHighestPort).has_value();
}

/// What is wrong with the value, empty when nothing is.
std::string FaultOf(const Row& row, const Settings& settings) {
  const std::string_view value = Trim(settings.text(row.key));
  // Zero is how a setting that nobody has made is written; a rig line that is in use has a speed.
  if (value.empty() || (value == "0" && !(row.key == "RIGSPEED=" && HasPort(settings)))) return "";
  const auto number = ParseNumber(value, row.low, row.high);
  if (!number) return " is no whole number from " + std::to_string(row.low) + " to " + std::to_string(row.high);
  return row.is_speed && *number != 0 && !IsUsualSpeed(static_cast<int>(*number)) ? kNoUsualSpeed : "";
}

}  // namespace

std::vector<std::string> SettingFaults(const Settings& settings) {
  static const std::vector<WordRow> kWordRows = MakeWordRows();
  std::vector<std::string> faults;
  const auto tell = [&faults, &settings](const std::string& key, const std::string& fault) {
    if (!fault.empty()) faults.push_back("rig.ini: " + key + OneLine(Trim(settings.text(key)), kShown) + fault);
  };
  for (const Row& row : Rows()) tell(row.key, FaultOf(row, settings));
  for (const WordRow& row : kWordRows) {
    const std::string value(Trim(settings.text(row.key)));
    if (!value.empty() && !row.fits(value)) tell(row.key, " is " + row.wanted);
  }
  if (faults.size() > kMostFaults) {
    faults.resize(kMostFaults);
    faults.emplace_back("rig.ini has more values that cannot be used");
  }
  return faults;
}

bool CanBeUsed(const Settings& settings, std::string_view key) {
  const auto row = std::find_if(Rows().begin(), Rows().end(), [key](const Row& known) { return known.key == key; });
  return row == Rows().end() || Trim(settings.text(key)).empty() ||
         ParseNumber(Trim(settings.text(key)), row->low, row->high);
}

}  // namespace kvx::config
