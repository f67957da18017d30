#include "config/kept_settings.h"

#include <algorithm>
#include <array>

#include "core/text.h"
#include "platform/ports_file.h"

namespace kvx::config {
namespace {

using enum SettingOwner;
using enum SettingKind;

constexpr int kAnyNumber = 999'999'999;
constexpr int kByte = 255;  // the keyer is told it in one byte
constexpr int kPorts = platform::kHighestPort;
constexpr std::size_t kLongestText = 250;

constexpr const char* kWinkeyer = "WinKeyer";
constexpr const char* kPaddle = "Paddle";
constexpr const char* kSpeed = "Speed";
constexpr const char* kTone = "Side tone";
constexpr const char* kTimes = "Times";
constexpr const char* kSavedRigPorts = "Keyer port of each saved rig";
constexpr const char* kLogger = "Logger and skimmer";
constexpr const char* kCluster = "DX cluster";

const std::vector<std::string>& KeyerPorts() {
  static const std::vector<std::string> kPortWords{"NONE", "WINKEY", "COM1", "COM2", "COM3", "COM4",
                                                   "COM5", "COM6",   "COM7", "COM8", "LPT1", "LPT2"};
  return kPortWords;
}

// clang-format off
const std::vector<KeptSetting>& FixedSettings() {
  static const std::vector<KeptSetting> kRows{
      {kKeyer, kWinkeyer, "WINKEY1=", "WinKeyer option 1", "First of the WinKeyer's options", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kWinkeyer, "WINKEY2=", "WinKeyer option 2", "Second of the WinKeyer's options", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kWinkeyer, "KYMODX=", "Keyer mode", "The keyer's mode, as its number", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kWinkeyer, "PIN5=", "Function of pin 5", "What pin 5 of the keyer does, as its number", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kWinkeyer, "USE2ND=", "Use the second output", "The keyer's second output is used", kFlag},
      {kKeyer, kPaddle, "PADDLECOM=", "Serial port", "Number of the paddle's serial port, 0 for none", kPort, 0, kPorts},
      {kKeyer, kPaddle, "PADDLELPT=", "Parallel port", "Number of the paddle's parallel port", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kPaddle, "REVPADDLE=", "Swap the paddles", "The two sides of the paddle change places", kFlag},
      {kKeyer, kSpeed, "POT2=", "Second speed potentiometer", "There is a second speed potentiometer", kFlag},
      {kKeyer, kSpeed, "IGNOREPOT=", "Ignore the speed potentiometer", "The keyer's own speed potentiometer does not count", kFlag},
      {kKeyer, kSpeed, "XPADJUST=", "Speed adjustment", "Speed adjustment of the keyer", kYesNo},
      {kKeyer, kTone, "SIDETONE=", "Side tone", "The side tone, as the keyer's number", kNumber, 0, kByte},
      {kKeyer, kTone, "SIDETONE2=", "Second side tone option", "The other option of the side tone", kFlag},
      {kKeyer, kTone, "PADONLYSIDE=", "For the paddle only", "The side tone sounds for the paddle only", kFlag},
      {kKeyer, kTimes, "HANGTIME=", "Hang time", "The keyer's hang time", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kTimes, "XLEADTIME=", "Keying lead time", "Lead time of the keying", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kTimes, "XTAILTIME=", "Keying tail time", "Tail time of the keying", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kTimes, "PTTLEADTIME=", "PTT lead time", "PTT lead-in of the keyer", kNumber, 0, kByte},
      {kKeyer, kTimes, "PTTTAILTIME=", "PTT tail time", "PTT tail of the keyer", kNumber, 0, kByte},
      {kKeyer, kTimes, "FIRSTCHARZ=", "First character", "The keyer's setting for the first character", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kTimes, "KEYINGCOMPX=", "Keying compensation", "The keyer's compensation", kNumber, 0, kByte},
      {kLinks, kLogger, "CWSKIMMER=", "Port", "Number of the port towards the logger or the skimmer; 0 and 19 mean none", kPort, 0, kPorts},
      {kLinks, kCluster, "HOSTNAME=", "Host", "Name or address of the cluster", kText},
      {kLinks, kCluster, "COMMPORT=", "Serial port", "Number of the packet link's port, 0 for none", kPort, 0, kPorts},
      {kLinks, kCluster, "COMMSPEED=", "Speed", "Speed of the packet link's port", kNumber, 0, kAnyNumber},
      {kLinks, kCluster, "PACKETUSERIG=", "The packet link uses the rig", "The packet link goes through the rig", kFlag},
      {kLinks, kCluster, "SPOTPATH=", "Path for spots", "Link path for spots", kText},
      {kLinks, kCluster, "SERIALPATH=", "Serial path", "Link path of the serial line", kText},
      {kLinks, kCluster, "FontName=", "Terminal font", "Font of the cluster's terminal", kText},
      {kLinks, kCluster, "FontSize=", "Terminal font size", "Size of that font", kNumber, 0, kAnyNumber},
  };
  return kRows;
}
// clang-format on

std::vector<KeptSetting> MakeSettings() {
  static constexpr std::array<const char*, kSavedRigs> kLabels{"Saved rig 1", "Saved rig 2", "Saved rig 3",
                                                               "Saved rig 4", "Saved rig 5", "Saved rig 6",
                                                               "Saved rig 7", "Saved rig 8"};
  std::vector<KeptSetting> settings = FixedSettings();
  const auto links = std::find_if(settings.begin(), settings.end(),
                                  [](const KeptSetting& setting) { return setting.owner == kLinks; });
  std::vector<KeptSetting> ports;
  for (int slot = 1; slot <= kSavedRigs; ++slot) {
    ports.push_back({.owner = kKeyer,
                     .group = kSavedRigPorts,
                     .key = SavedRigKey("KEYERPORT", slot),
                     .label = kLabels[static_cast<std::size_t>(slot - 1)],
                     .hint = "WINKEY: a WinKeyer; COMn, LPTn: the port whose line is keyed; NONE: no keyer",
                     .kind = kChoice,
                     .choices = &KeyerPorts()});
  }
  settings.insert(links, ports.begin(), ports.end());
  return settings;
}

Error Wrong(const KeptSetting& setting, const std::string& why) {
  return {ErrorCode::kInvalid, setting.name() + " " + why};
}

bool IsAny(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(), [word](std::string_view other) { return EqualNoCase(word, other); });
}

std::string SwitchWord(const KeptSetting& setting, bool on) {
  if (setting.kind == kYesNo) return on ? "YES" : "NO";
  return on ? "True" : "False";
}

Result<std::string> Switch(const KeptSetting& setting, std::string_view value) {
  if (IsAny(value, {"True", "yes", "on", "1"})) return SwitchWord(setting, true);
  if (IsAny(value, {"False", "no", "off", "0"})) return SwitchWord(setting, false);
  return Wrong(setting, "is " + SwitchWord(setting, true) + " or " + SwitchWord(setting, false));
}

Result<std::string> Number(const KeptSetting& setting, std::string_view value) {
  const auto number = ParseNumber(value.empty() ? "0" : value, setting.low, setting.high);
  if (number) return NumberText(*number);
  if (!setting.is_bounded())
    return Wrong(setting, setting.low < 0 ? "is a whole number" : "is a whole number, 0 or more");
  return Wrong(setting,
               "is a whole number from " + std::to_string(setting.low) + " to " + std::to_string(setting.high));
}

Result<std::string> Choice(const KeptSetting& setting, std::string_view value) {
  std::string all;
  for (const std::string& choice : *setting.choices) {
    if (EqualNoCase(choice, value)) return choice;
    all += (all.empty() ? "" : ", ") + choice;
  }
  return Wrong(setting, "is one of " + all);
}

/// Readers look for every key anywhere in a line, so that a text with a key in it would change that setting too.
Result<std::string> Text(const KeptSetting& setting, std::string_view value) {
  if (value.size() > kLongestText)
    return Wrong(setting, "is at most " + std::to_string(kLongestText) + " characters long");
  const bool one_line = std::none_of(value.begin(), value.end(), [](char c) { return (c & 0xE0) == 0 || c == 0x7F; });
  if (!one_line) return Wrong(setting, "is one line of plain text");
  for (const std::string& key : SettingKeys()) {
    if (ContainsNoCase(value, key)) return Wrong(setting, "cannot contain " + key + ", which is a setting of its own");
  }
  return std::string(value);
}

}  // namespace

bool KeptSetting::is_bounded() const {
  return (kind == kNumber || kind == kPort) && high != kAnyNumber;
}

const std::vector<KeptSetting>& KeptSettings() {
  static const std::vector<KeptSetting> kSettings = MakeSettings();
  return kSettings;
}

const KeptSetting* FindKeptSetting(std::string_view key) {
  key = Trim(key);
  if (key.ends_with('=')) key.remove_suffix(1);
  for (const KeptSetting& setting : KeptSettings()) {
    if (EqualNoCase(setting.name(), key)) return &setting;
  }
  return nullptr;
}

std::string ShownValue(const KeptSetting& setting, const Settings& stored) {
  if (setting.is_switch()) return SwitchWord(setting, stored.flag(setting.key));
  std::string value(Trim(stored.text(setting.key)));
  if (!value.empty() || setting.kind == kText) return value;
  return setting.kind == kChoice ? setting.choices->front() : "0";
}

Result<std::string> ValueForFile(const KeptSetting& setting, std::string_view value) {
  value = Trim(value);
  switch (setting.kind) {
    case kFlag:
    case kYesNo:
      return Switch(setting, value);
    case kNumber:
    case kPort:
      return Number(setting, value);
    case kChoice:
      return Choice(setting, value);
    case kText:
      break;
  }
  return Text(setting, value);
}

}  // namespace kvx::config
