#pragma once

#include <array>
#include <string>
#include <vector>

#include "config/settings.h"

namespace kvx::config {

/// One of the eight saved rigs.
struct SavedRig {
  std::string name;
  std::string keyer_port;
  int speed = 0;  ///< baud; 0: not stored
  std::string start_bit;
  std::string stop_bit;
  bool operator==(const SavedRig&) const = default;
};

/// The last frequency and mode used on a band.
struct BandMemory {
  std::string frequency;  ///< kHz text; an entry whose frequency reads as 0 is empty
  std::string mode;       ///< caption
  bool operator==(const BandMemory&) const = default;
};

inline constexpr int kBandMemoryEntries = 21;  ///< index 0 to 20; the settings file keeps 1 to 15
inline constexpr int kSwitchedPorts = 9;       ///< ports 0 to 8 have stored line switches
inline constexpr int kSlowestLine = 300;       ///< baud
inline constexpr int kFastestLine = 4'000'000;
inline constexpr int kDefaultPollMilliseconds = 50;
inline constexpr int kShortestPollMilliseconds = 10;
inline constexpr int kLongestPollMilliseconds = 5000;

/// What the console reads from rig.ini, typed.
struct StationSettings {
  std::string rig = "NONE";
  std::string family;
  int rig_port = 0;  ///< 0: none
  int rig_speed = 9600;
  std::string rig_start;
  std::string rig_stop;
  std::string rig_number = "1";
  int gmt_hours = 5;  ///< as read; 0 or absent means 5
  bool gmt_is_set = false;
  int poll_milliseconds = kDefaultPollMilliseconds;  ///< "POLLTIME=": interval of the clock's beat
  int band_plan = 2;                                 ///< "BANDPLAN=": the IARU region whose band plan is shown, 1 to 3
  std::string theme = "dark";                        ///< "THEME=": name of the windows' theme, lower case
  int text_percent = 100;                            ///< "TEXTSIZE=": of the windows' text
  bool announcements = false;                        ///< "ANNOUNCEMENTS=": spoken announcements are on
  std::string offset;                                ///< kHz text
  std::int64_t screen_color = 8421504;               ///< grey 80 80 80
  std::int64_t screen_meter = 0;
  std::int64_t body_color = 12632256;               ///< grey 192 192 192
  std::array<std::string, 9> function_texts;        ///< "F1=" to "F9="
  std::array<std::string, 9> function_titles;       ///< "F1Title=" to "F9Title=": captions of the function keys
  std::array<SavedRig, kSavedRigs + 1> saved_rigs;  ///< index 1 to 8
  std::array<bool, kSwitchedPorts> rts_on{};        ///< by port number
  std::array<bool, kSwitchedPorts> dtr_on{};
  std::array<BandMemory, kBandMemoryEntries> band_memory;

  static StationSettings From(const Settings& settings);
  /// 1 or 2; anything else in the setting means 1.
  int stop_bits() const;
};

/// The lines that saving the console rewrites: rig, family, colours and the band memory.
std::vector<SettingChange> ConsoleChanges(const StationSettings& settings);
/// The lines of the windows' appearance and of the announcements.
std::vector<SettingChange> AppearanceChanges(const StationSettings& settings);
/// The lines of the rig port dialog.
std::vector<SettingChange> RigPortChanges(const StationSettings& settings);
/// The lines of one port's two switches; none for a port that has no stored ones.
std::vector<SettingChange> PortSwitchChanges(const StationSettings& settings, int port);
/// The lines of one saved rig but for its keyer port.
std::vector<SettingChange> SavedRigChanges(const StationSettings& settings, int slot);

}  // namespace kvx::config
