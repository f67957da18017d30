#include "config/station_settings.h"

#include <algorithm>

#include "core/appearance_limits.h"
#include "core/text.h"
#include "platform/ports_file.h"

namespace kvx::config {
namespace {

std::string Trimmed(const Settings& settings, std::string_view key) {
  return std::string(Trim(settings.text(key)));
}

int Bounded(const Settings& settings, std::string_view key, int low, int high) {
  return static_cast<int>(std::clamp<std::int64_t>(settings.number(key), low, high));
}

int Within(const Settings& settings, std::string_view key, int low, int high, int otherwise) {
  return static_cast<int>(ParseNumber(Trim(settings.text(key)), low, high).value_or(otherwise));
}

SavedRig ReadSavedRig(const Settings& settings, int slot) {
  return {.name = Trimmed(settings, SavedRigKey("RIG", slot)),
          .keyer_port = Trimmed(settings, SavedRigKey("KEYERPORT", slot)),
          .speed = Within(settings, SavedRigKey("SPEED", slot), 0, kFastestLine, 0),
          .start_bit = Trimmed(settings, SavedRigKey("STARTBIT", slot)),
          .stop_bit = Trimmed(settings, SavedRigKey("STOPBIT", slot))};
}

}  // namespace

StationSettings StationSettings::From(const Settings& settings) {
  StationSettings station;
  if (const std::string rig = Trimmed(settings, "XRIG="); !rig.empty()) station.rig = rig;
  station.family = Trimmed(settings, "RIGTYPE=");
  // A port or a speed that there is not does not become the nearest one: another device may be there.
  station.rig_port = Within(settings, "RIGPORT=", 0, platform::kHighestPort, station.rig_port);
  station.rig_speed = Within(settings, "RIGSPEED=", kSlowestLine, kFastestLine, station.rig_speed);
  station.rig_start = Trimmed(settings, "RIGSTART=");
  station.rig_stop = Trimmed(settings, "RIGSTOP=");
  const std::string number = Trimmed(settings, "RIGNUMBER=");
  if (number.size() == 1 && number[0] >= '1' && number[0] <= '7') station.rig_number = number;
  station.gmt_hours = settings.gmt_offset();
  station.gmt_is_set = settings.number("GMT=") != 0;
  if (settings.number("POLLTIME=") > 0)
    station.poll_milliseconds = Bounded(settings, "POLLTIME=", kShortestPollMilliseconds, kLongestPollMilliseconds);
  if (settings.number("BANDPLAN=") > 0) station.band_plan = Bounded(settings, "BANDPLAN=", 1, 3);
  if (const std::string theme = Lower(Trimmed(settings, "THEME=")); !theme.empty()) station.theme = theme;
  if (settings.number("TEXTSIZE=") > 0)
    station.text_percent = Bounded(settings, "TEXTSIZE=", kSmallestText, kLargestText);
  station.announcements = settings.flag("ANNOUNCEMENTS=");
  station.offset = Trimmed(settings, "PDOFFSET=");
  if (settings.has("SCREENCOLOR=")) station.screen_color = settings.number("SCREENCOLOR=");
  station.screen_meter = settings.number("SCREENMETER=");
  if (settings.has("BODYCOLOR=")) station.body_color = settings.number("BODYCOLOR=");
  for (std::size_t i = 0; i < station.function_texts.size(); ++i) {
    station.function_texts[i] = Trimmed(settings, "F" + std::to_string(i + 1) + "=");
    const std::string title = Trimmed(settings, "F" + std::to_string(i + 1) + "Title=");
    station.function_titles[i] = Trim(std::string_view(title).substr(title.starts_with('=') ? 1 : 0));
  }
  for (int slot = 1; slot <= kSavedRigs; ++slot) {
    const auto index = static_cast<std::size_t>(slot);
    station.saved_rigs[index] = ReadSavedRig(settings, slot);
    station.rts_on[index] = settings.number(SavedRigKey("RTSON", slot)) == 1;
    station.dtr_on[index] = settings.number(SavedRigKey("DTRON", slot)) == 1;
  }
  for (int i = 1; i <= kBandMemories; ++i) {
    station.band_memory[static_cast<std::size_t>(i)] = {Trimmed(settings, BandKey("BANDREM", i)),
                                                        Trimmed(settings, BandKey("BANDMODE", i))};
  }
  return station;
}

int StationSettings::stop_bits() const {
  return LeadingNumber(rig_stop) == 2 ? 2 : 1;
}

std::vector<SettingChange> ConsoleChanges(const StationSettings& settings) {
  std::vector<SettingChange> changes{{"XRIG=", settings.rig},
                                     {"RIGTYPE=", settings.family},
                                     {"SCREENCOLOR=", NumberText(settings.screen_color)},
                                     {"SCREENMETER=", NumberText(settings.screen_meter)},
                                     {"BODYCOLOR=", NumberText(settings.body_color)}};
  for (int i = 1; i <= kBandMemories; ++i) {
    const BandMemory& memory = settings.band_memory[static_cast<std::size_t>(i)];
    changes.push_back({BandKey("BANDREM", i), memory.frequency});
    changes.push_back({BandKey("BANDMODE", i), memory.mode, true});
  }
  return changes;
}

std::vector<SettingChange> AppearanceChanges(const StationSettings& settings) {
  return {{"THEME=", Upper(settings.theme)},
          {"TEXTSIZE=", NumberText(settings.text_percent)},
          {"SCREENCOLOR=", NumberText(settings.screen_color)},
          {"BODYCOLOR=", NumberText(settings.body_color)},
          {"ANNOUNCEMENTS=", settings.announcements ? "1" : "0"}};
}

std::vector<SettingChange> RigPortChanges(const StationSettings& settings) {
  return {{"RIGPORT=", NumberText(settings.rig_port)},
          {"RIGSPEED=", NumberText(settings.rig_speed)},
          {"RIGSTART=", settings.rig_start},
          {"RIGSTOP=", settings.rig_stop}};
}

std::vector<SettingChange> PortSwitchChanges(const StationSettings& settings, int port) {
  if (port < 1 || port >= kSwitchedPorts) return {};
  const auto index = static_cast<std::size_t>(port);
  return {{SavedRigKey("RTSON", port), settings.rts_on[index] ? "1" : "0"},
          {SavedRigKey("DTRON", port), settings.dtr_on[index] ? "1" : "0"}};
}

std::vector<SettingChange> SavedRigChanges(const StationSettings& settings, int slot) {
  const SavedRig& rig = settings.saved_rigs.at(static_cast<std::size_t>(slot));
  return {{SavedRigKey("RIG", slot), rig.name},
          {SavedRigKey("SPEED", slot), NumberText(rig.speed)},
          {SavedRigKey("STARTBIT", slot), rig.start_bit},
          {SavedRigKey("STOPBIT", slot), rig.stop_bit}};
}

}  // namespace kvx::config
