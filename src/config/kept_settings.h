#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "config/settings.h"
#include "core/result.h"

namespace kvx::config {

/// Whose settings they are.
enum class SettingOwner { kKeyer, kLinks };

/// What a value may be, and how the file has it.
enum class SettingKind {
  kFlag,    ///< "True" or "False"
  kYesNo,   ///< "YES" or "NO"
  kOnOff,   ///< a switch, in the file a whole number: 0 is off
  kNumber,  ///< whole number from low to high, with a blank before it
  kPort,    ///< the same: a port number, 0 for none
  kChoice,  ///< one word of choices
  kWord,    ///< one word of choices, in the file its place among them: 0 is the first
  kText,
  kAddress,  ///< a numeric network address, or "localhost"
};

/// One line of rig.ini that belongs to the keyer or to the links to other programs.
struct KeptSetting {
  SettingOwner owner;
  const char* group;  ///< rows of a group follow each other
  std::string key;    ///< with its "=", as SettingKeys() has it
  const char* label;
  const char* hint;
  SettingKind kind;
  int low = 0;
  int high = 0;
  const std::vector<std::string>* choices = nullptr;
  int step = 0;                   ///< kWord: a file may also have the place multiplied by this
  const char* missing = nullptr;  ///< what a missing line means, where it is not as ShownValue has it

  /// The key without its "=": what the operator calls it.
  std::string name() const { return key.substr(0, key.size() - 1); }
  bool is_switch() const {
    return kind == SettingKind::kFlag || kind == SettingKind::kYesNo || kind == SettingKind::kOnOff;
  }
  /// Whether the number's bounds are known, beyond being a number.
  bool is_bounded() const;
};

/// All of them, in the order in which they are shown.
const std::vector<KeptSetting>& KeptSettings();
/// The setting of that key, any case, with or without its "="; null when there is none.
const KeptSetting* FindKeptSetting(std::string_view key);

/// Whether a switch is on in the file.
bool IsOn(const KeptSetting& setting, const Settings& stored);
/// What the list of keyer ports calls the rig port, without its blanks.
inline constexpr std::string_view kRigPortCaption = "USERIGPORT";

/// The place of a value among the choices, by its word in any case or, for kWord, by its number; -1 for any other. An
/// empty one means the first.
int ChoiceOf(const KeptSetting& setting, std::string_view value);

/// The value that counts: what stands in the file, blanks around it ignored, or what a missing line means ("0",
/// "False", "NO", the first choice, an empty text). A switch reads "True" or "False", "YES" or "NO", and a kWord its
/// word, whatever the file spells; any other value is shown as it stands, also one that could not be set.
std::string ShownValue(const KeptSetting& setting, const Settings& stored);

/// The value as the file has it. kInvalid, with one sentence, when it cannot be set: a file that held it would be read
/// as something else.
Result<std::string> ValueForFile(const KeptSetting& setting, std::string_view value);

}  // namespace kvx::config
