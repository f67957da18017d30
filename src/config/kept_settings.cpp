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
constexpr int kModeStep = 16;  // the keyer's own number of a mode

constexpr const char* kKeyerPort = "Keyer";
constexpr const char* kWinkeyer = "WinKeyer";
constexpr const char* kSoftware = "Keyed line";
constexpr const char* kPaddle = "Paddle";
constexpr const char* kTone = "Side tone";
constexpr const char* kKept = "Settings of older programs";
constexpr const char* kSavedRigPorts = "Keyer port of each saved rig";
constexpr const char* kLogger = "Logger and skimmer";
constexpr const char* kNet = "Network (NET rigctl)";
constexpr const char* kDde = "DDE";
constexpr const char* kCluster = "DX cluster";

const std::vector<std::string>& KeyerPorts() {
  static const std::vector<std::string> kPortWords{"NONE", "WINKEY", "COM1", "COM2", "COM3", "COM4",    "COM5",
                                                   "COM6", "COM7",   "COM8", "LPT1", "LPT2", "RIGPORT", "RIGKEYER"};
  return kPortWords;
}

const std::vector<std::string>& KeyerModes() {
  static const std::vector<std::string> kModes{"IAMBIC B", "IAMBIC A", "ULTIMATIC", "SEMI-AUTOMATIC"};
  return kModes;
}

const std::vector<std::string>& SecondOutputs() {
  static const std::vector<std::string> kOutputs{"NONE", "PTT", "SIDE TONE"};
  return kOutputs;
}

const std::vector<std::string>& KeyLines() {
  static const std::vector<std::string> kLines{"DTR", "RTS"};
  return kLines;
}

const std::vector<std::string>& StopBits() {
  static const std::vector<std::string> kBits{"1", "2"};
  return kBits;
}

// clang-format off
const std::vector<KeptSetting>& FixedSettings() {
  static const std::vector<KeptSetting> kRows{
      {kKeyer, kKeyerPort, "KEYERPORT=", "What sends CW", "WINKEY: a WinKeyer; COMn, LPTn: the port whose line is keyed; RIGPORT: a line of the rig port; RIGKEYER: the rig's own keyer; NONE: no keyer. A saved rig may have its own", kChoice, 0, 0, &KeyerPorts()},
      {kKeyer, kKeyerPort, "CWSPEED=", "Speed", "Words a minute", kNumber, 5, 99, nullptr, 0, "25"},
      {kKeyer, kKeyerPort, "TUNETIME=", "Longest tune", "Seconds after which tuning ends by itself", kNumber, 1, 120, nullptr, 0, "10"},
      {kKeyer, kKeyerPort, "TXTIME=", "Longest transmission", "Seconds after which a transmission by the rig's own command ends by itself; 0: the operator's has no end, that of a program five minutes", kNumber, 0, 3600, nullptr, 0, "300"},
      {kKeyer, kWinkeyer, "PADDLECOM=", "Serial port", "Number of the WinKeyer's serial port, 0 for none", kPort, 0, kPorts},
      {kKeyer, kWinkeyer, "KEYERSTOP=", "Stop bits", "Stop bits of the WinKeyer's serial port: 2 for keyers that want them", kChoice, 0, 0, &StopBits()},
      {kKeyer, kWinkeyer, "WINKEY1=", "KEY1", "The first of the WinKeyer's two key outputs is used", kOnOff},
      {kKeyer, kWinkeyer, "WINKEY2=", "KEY2", "The second of the WinKeyer's two key outputs is used", kOnOff},
      {kKeyer, kWinkeyer, "USE2ND=", "Use the second output", "The same as KEY2", kFlag},
      {kKeyer, kWinkeyer, "PIN5=", "Pin 5", "What pin 5 of the keyer gives: PTT, the side tone, or nothing", kWord, 0, 0, &SecondOutputs()},
      {kKeyer, kWinkeyer, "PTTLEADTIME=", "PTT lead time", "PTT before the first element, in units of 10 ms", kNumber, 0, kByte},
      {kKeyer, kWinkeyer, "PTTTAILTIME=", "PTT tail time", "PTT after the last element, in units of 10 ms", kNumber, 0, kByte},
      {kKeyer, kPaddle, "KYMODX=", "Keyer mode", "How the paddle keys", kWord, 0, 0, &KeyerModes(), kModeStep},
      {kKeyer, kPaddle, "REVPADDLE=", "Swap the paddles", "The two sides of the paddle change places", kFlag},
      {kKeyer, kPaddle, "IGNOREPOT=", "Ignore the speed potentiometer", "The keyer's own speed potentiometer does not change the speed", kFlag},
      {kKeyer, kTone, "SIDETONE=", "Side tone of the WinKeyer", "Its pitch, as the keyer's number", kNumber, 0, kByte, nullptr, 0, "5"},
      {kKeyer, kTone, "SIDETONE2=", "Side tone at pin 5", "The keyer's side tone, where pin 5 is not used", kFlag},
      {kKeyer, kTone, "LOCALCW=", "Side tone of the computer", "What is sent is heard", kFlag},
      {kKeyer, kTone, "CWTONE=", "Pitch", "Of the computer's side tone, in Hz", kNumber, 200, 2000, nullptr, 0, "700"},
      {kKeyer, kTone, "CWVOLUME=", "Volume", "Of the computer's side tone, in percent", kNumber, 0, 100, nullptr, 0, "50"},
      {kKeyer, kSoftware, "KEYLINE=", "Key line", "The line of a COM port that is the key; PTT is the other one", kChoice, 0, 0, &KeyLines()},
      {kKeyer, kSoftware, "KEYPTT=", "Use the other line for PTT", "The line that is not the key switches the transmitter", kFlag, 0, 0, nullptr, 0, "True"},
      {kKeyer, kSoftware, "INVERT=", "Inverted lines", "The lines are active when they are low", kFlag},
      {kKeyer, kSoftware, "XLEADTIME=", "PTT lead time", "PTT before the first element, in ms", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kSoftware, "XTAILTIME=", "PTT tail time", "PTT after the last element, in ms", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kSoftware, "KEYINGCOMPX=", "Keying compensation", "Milliseconds by which every element is lengthened, by a WinKeyer as well", kNumber, 0, kByte},
      {kKeyer, kKept, "PADDLELPT=", "Paddle's parallel port", "Kept, nothing acts on it", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kKept, "POT2=", "Second speed potentiometer", "Kept, nothing acts on it", kFlag},
      {kKeyer, kKept, "XPADJUST=", "Speed adjustment", "Kept, nothing acts on it", kYesNo},
      {kKeyer, kKept, "PADONLYSIDE=", "Side tone for the paddle only", "Kept, nothing acts on it", kFlag},
      {kKeyer, kKept, "HANGTIME=", "Hang time", "Kept, nothing acts on it", kNumber, -kAnyNumber, kAnyNumber},
      {kKeyer, kKept, "FIRSTCHARZ=", "First character", "Kept, nothing acts on it", kNumber, -kAnyNumber, kAnyNumber},
      {kLinks, kLogger, "CWSKIMMER=", "Port", "Number of the port towards the logger or the skimmer; 0 and 19 mean none", kPort, 0, kPorts},
      {kLinks, kLogger, "LOGGERLINK=", "Link to the logger or the skimmer", "Communicate with N1MM or CWSkimmer through a virtual pair of comm ports.", kFlag},
      {kLinks, kLogger, "WINKEYIN=", "Port for CW", "Number of the port on which the logger finds the station's WinKeyer; 0 and 19 mean none", kPort, 0, kPorts},
      {kLinks, kLogger, "KEYERLINK=", "Link from the logger to the WinKeyer", "Communicate with Winkeyer through a virtual pair of comm ports.", kFlag},
      {kLinks, kLogger, "N1MMEXE=", "N1MM Exe Name", "The logger's program: whether it runs is told", kText, 0, 0, nullptr, 0, "N1MMLogger.net.exe"},
      {kLinks, kNet, "NETSERVER=", "Serve programs over the network", "Programs that can use hamlib's NET rigctl reach the rig through this console", kFlag},
      {kLinks, kNet, "NETPORT=", "TCP port", "Where it listens; 4532 is what programs try first", kNumber, 1, 65535, nullptr, 0, "4532"},
      {kLinks, kNet, "NETADDRESS=", "Address", "127.0.0.1: programs on this computer alone; 0.0.0.0: everybody who can reach this computer", kAddress, 0, 0, nullptr, 0, "127.0.0.1"},
      {kLinks, kNet, "NETWRITE=", "Other computers may operate the rig", "Where the address lets other computers in: without this they can only read", kFlag},
      {kLinks, kDde, "DDESERVER=", "Serve programs by DDE", "Programs written for HRD's DDE server find this console. On Linux by Wine; without a choice where Wine has been used", kFlag},
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
                     .hint = "What sends CW with this saved rig, in the words of the keyer port",
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

/// How the file has it.
std::string SwitchLine(const KeptSetting& setting, bool on) {
  return setting.kind == kOnOff ? NumberText(on ? 1 : 0) : SwitchWord(setting, on);
}

Result<std::string> Switch(const KeptSetting& setting, std::string_view value) {
  if (IsAny(value, {"True", "yes", "on", "1", "-1"})) return SwitchLine(setting, true);
  if (IsAny(value, {"False", "no", "off", "0"})) return SwitchLine(setting, false);
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
  const int chosen = value.empty() ? -1 : ChoiceOf(setting, value);
  if (chosen >= 0)
    return setting.kind == kWord ? NumberText(chosen) : setting.choices->at(static_cast<std::size_t>(chosen));
  std::string all;
  for (const std::string& choice : *setting.choices) all += (all.empty() ? "" : ", ") + choice;
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

bool IsAddress(std::string_view text) {
  constexpr std::string_view kHexAndColons = "0123456789abcdefABCDEF:.";
  if (std::count(text.begin(), text.end(), ':') >= 2)  // the system says what of it is wrong, if anything
    return text.find_first_not_of(kHexAndColons) == std::string_view::npos;
  const std::vector<std::string> parts = Split(text, '.');
  return parts.size() == 4 &&
         std::all_of(parts.begin(), parts.end(), [](const std::string& part) { return ParseNumber(part, 0, kByte); });
}

Result<std::string> Address(const KeptSetting& setting, std::string_view value) {
  if (value.empty() || EqualNoCase(value, "localhost") || IsAddress(value)) return std::string(value);
  return Wrong(setting, "is a numeric address such as 127.0.0.1 or ::1");
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

bool IsOn(const KeptSetting& setting, const Settings& stored) {
  if (setting.missing != nullptr && Trim(stored.text(setting.key)).empty()) return EqualNoCase(setting.missing, "True");
  return stored.flag(setting.key) || (setting.kind == kOnOff && stored.number(setting.key) != 0);
}

int ChoiceOf(const KeptSetting& setting, std::string_view value) {
  value = Trim(value);
  if (value.empty()) return 0;
  const auto& choices = *setting.choices;
  const bool keyer_port = setting.choices == &KeyerPorts();  // which lists show as "L P T 1"
  std::string sought(value);
  if (keyer_port) sought = WithoutBlanks(value);
  if (keyer_port && EqualNoCase(sought, kRigPortCaption)) sought = "RIGPORT";
  const auto word = std::find_if(choices.begin(), choices.end(),
                                 [&sought](const std::string& choice) { return EqualNoCase(choice, sought); });
  if (word != choices.end()) return static_cast<int>(word - choices.begin());
  const auto number = setting.kind == kWord ? ParseNumber(value, 0, kAnyNumber) : std::nullopt;
  if (!number) return -1;
  const int count = static_cast<int>(choices.size());
  const int place = static_cast<int>(*number);
  if (place < count) return place;
  return setting.step > 0 && place % setting.step == 0 && place / setting.step < count ? place / setting.step : -1;
}

std::string ShownValue(const KeptSetting& setting, const Settings& stored) {
  std::string value(Trim(stored.text(setting.key)));
  if (value.empty() && setting.missing != nullptr) return setting.missing;
  if (setting.is_switch()) return SwitchWord(setting, IsOn(setting, stored));
  const int chosen = setting.kind == kWord ? ChoiceOf(setting, value) : -1;
  if (chosen >= 0) return setting.choices->at(static_cast<std::size_t>(chosen));
  if (!value.empty() || setting.kind == kText || setting.kind == kAddress) return value;
  return setting.kind == kChoice ? setting.choices->front() : "0";
}

Result<std::string> ValueForFile(const KeptSetting& setting, std::string_view value) {
  value = Trim(value);
  switch (setting.kind) {
    case kFlag:
    case kYesNo:
    case kOnOff:
      return Switch(setting, value);
    case kNumber:
    case kPort:
      return Number(setting, value);
    case kChoice:
    case kWord:
      return Choice(setting, value);
    case kAddress:
      return Address(setting, value);
    case kText:
      break;
  }
  return Text(setting, value);
}

}  // namespace kvx::config
