#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kvx::config {

inline constexpr int kSavedRigs = 8;
inline constexpr int kBandMemories = 15;

/// Every key of rig.ini in the order in which a line is tested for them, as the file spells it ("GMT=", "F1Title=",
/// "KEYERPORT 1=", "BANDREM01="), saved-rig and band-memory keys included.
const std::vector<std::string>& SettingKeys();

/// The keys of saved-rig slot n (1 to 8): "RIG 1=" with a blank, but "RTSON1=" and "DTRON1=" without.
std::string SavedRigKey(std::string_view word, int slot);
/// "BANDREM01=", "BANDMODE15=".
std::string BandKey(std::string_view word, int index);

/// What rig.ini holds. A key is found anywhere in an upper-cased line, and its value is the text from the fixed column
/// after the key's length (for F1Title to F9Title column 8, so their value begins with "="); a later match overwrites
/// an earlier one. Values are therefore upper case.
class Settings {
 public:
  static Settings Parse(std::string_view content);

  /// The value as it stands in the file, leading blank included; empty when the key did not occur. `key` with its "=".
  const std::string& text(std::string_view key) const;
  /// Leading-number parse of the value: 0 when it is absent or no number.
  std::int64_t number(std::string_view key) const;
  /// "TRUE", "YES" or "1", blanks around it ignored.
  bool flag(std::string_view key) const;
  bool has(std::string_view key) const;
  /// "GMT=": hours added to local time; 0 or absent means 5.
  int gmt_offset() const;

 private:
  std::map<std::string, std::string, std::less<>> values_;  ///< by upper-case key
};

/// One line that a writer of rig.ini owns.
struct SettingChange {
  std::string key;              ///< with its "="
  std::string value;            ///< NumberText for a number
  bool blank_when_new = false;  ///< BANDMODEnn: appended with a blank before the value, replaced without
};

/// The content of rig.ini after a rewrite: each line that holds one of the writer's keys is replaced, unknown lines
/// stay where they are, keys that did not occur are appended. A line that begins with a longer known key (DIRECTINVERT=
/// for INVERT=) is that key's line and stays. Line ends (LF or CR LF) stay as the file has them.
std::string RewriteSettings(std::string_view old_content, const std::vector<SettingChange>& changes);

}  // namespace kvx::config
