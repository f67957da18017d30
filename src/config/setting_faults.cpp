#include "config/setting_faults.h"

#include <array>

#include "config/kept_settings.h"
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
};

std::vector<Row> MakeRows() {
  constexpr int kMostStopBits = 2;
  constexpr int kAddresses = 7;
  constexpr int kMostHours = 14;
  constexpr int kLongestPulse = 1'000'000;
  constexpr int kCircle = 360;
  std::vector<Row> rows{{"RIGPORT=", 0, platform::kHighestPort},
                        {"RIGSPEED=", kSlowestLine, kFastestLine},
                        {"RIGSTOP=", 1, kMostStopBits},
                        {"RIGNUMBER=", 1, kAddresses},
                        {"GMT=", -kMostHours, kMostHours},
                        {"POLLTIME=", kShortestPollMilliseconds, kLongestPollMilliseconds},
                        {"BANDPLAN=", 1, 3},
                        {"TEXTSIZE=", kSmallestText, kLargestText},
                        {"ANTPORT=", 0, platform::kHighestPort},
                        {"ANTSPEED=", 1, kFastestLine},
                        {"MICROSEC=", 0, kLongestPulse}};
  for (int slot = 1; slot <= kSavedRigs; ++slot) rows.push_back({SavedRigKey("SPEED", slot), 0, kFastestLine});
  for (int i = 1; i <= 4; ++i) {
    rows.push_back({"ANT" + std::to_string(i) + "FROM=", 0, kCircle});
    rows.push_back({"ANT" + std::to_string(i) + "TO=", 0, kCircle});
  }
  for (const KeptSetting& setting : KeptSettings()) {
    if (setting.is_bounded()) rows.push_back({setting.key, setting.low, setting.high});
  }
  return rows;
}

}  // namespace

std::vector<std::string> SettingFaults(const Settings& settings) {
  static const std::vector<Row> kRows = MakeRows();
  std::vector<std::string> faults;
  if (!Trim(settings.text("PDOFFSET=")).empty() && !ParseKhz(settings.text("PDOFFSET=")))
    faults.push_back("rig.ini: PDOFFSET=" + OneLine(Trim(settings.text("PDOFFSET=")), kShown) +
                     " is no frequency in kHz");
  for (const Row& row : kRows) {
    const std::string_view value = Trim(settings.text(row.key));
    // Zero is how a setting that nobody has made is written.
    if (value.empty() || value == "0" || ParseNumber(value, row.low, row.high)) continue;
    if (faults.size() == kMostFaults) {
      faults.emplace_back("rig.ini has more numbers that cannot be used");
      break;
    }
    faults.push_back("rig.ini: " + row.key + OneLine(value, kShown) + " is no whole number from " +
                     std::to_string(row.low) + " to " + std::to_string(row.high));
  }
  return faults;
}

}  // namespace kvx::config
