#include "config/settings.h"

#include <algorithm>

#include "core/lines.h"
#include "core/text.h"

namespace kvx::config {
namespace {

constexpr int kFunctionKeys = 9;
constexpr std::size_t kTitleColumn = 7;  // F1Title= to F9Title=: the value begins with the "=" of the line

constexpr std::array<std::string_view, 4> kBeforeFunctionKeys{"BODYCOLOR=", "SCREENCOLOR=", "SCREENMETER=", "GMT="};
constexpr std::array<std::string_view, 87> kAfterFunctionKeys{
    "PDOFFSET=",    "CWSKIMMER=",    "XRIG=",          "RIGTYPE=",    "RIGSPEED=",   "RIGPORT=",     "RIGSTART=",
    "RIGSTOP=",     "RIGNUMBER=",    "PADDLECOM=",     "PADDLELPT=",  "INVERT=",     "WINKEY1=",     "WINKEY2=",
    "KYMODX=",      "SIDETONE=",     "SIDETONE2=",     "POT2=",       "IGNOREPOT=",  "PIN5=",        "REVPADDLE=",
    "PADONLYSIDE=", "USE2ND=",       "HANGTIME=",      "XLEADTIME=",  "XTAILTIME=",  "PTTLEADTIME=", "PTTTAILTIME=",
    "FIRSTCHARZ=",  "KEYINGCOMPX=",  "XPADJUST=",      "COMMSPEED=",  "COMMPORT=",   "HOSTNAME=",    "SPOTPATH=",
    "SERIALPATH=",  "PACKETUSERIG=", "FontName=",      "FontSize=",   "ANTPORT=",    "ANTSPEED=",    "ANTSTART=",
    "ANTSTOP=",     "ANTUSERIG=",    "ANTLPT1=",       "ANTLPT2=",    "ANTCOMMSTR=", "ANT1FROM=",    "ANT2FROM=",
    "ANT3FROM=",    "ANT4FROM=",     "ANT1TO=",        "ANT2TO=",     "ANT3TO=",     "ANT4TO=",      "MICROSEC=",
    "DIRECTTEXT=",  "DIRECTTEXT1=",  "DIRECTINVERT=",  "DIRECTOPT1=", "DIRECTOPT2=", "POLLTIME=",    "BANDPLAN=",
    "THEME=",       "TEXTSIZE=",     "ANNOUNCEMENTS=", "KEYERPORT=",  "KEYERSTOP=",  "CWSPEED=",     "KEYLINE=",
    "KEYPTT=",      "TUNETIME=",     "CWTONE=",        "CWVOLUME=",   "LOCALCW=",    "NETSERVER=",   "NETPORT=",
    "NETADDRESS=",  "NETWRITE=",     "WINKEYIN=",      "LOGGERLINK=", "KEYERLINK=",  "N1MMEXE=",     "DDESERVER=",
    "LOCATOR=",     "ANTLOCK=",      "TXTIME="};
constexpr std::array<std::string_view, 7> kSavedRigWords{"KEYERPORT", "RTSON",    "DTRON",  "RIG",
                                                         "SPEED",     "STARTBIT", "STOPBIT"};
constexpr std::array<std::string_view, 2> kBandWords{"BANDREM", "BANDMODE"};

std::vector<std::string> MakeKeys() {
  std::vector<std::string> keys(kBeforeFunctionKeys.begin(), kBeforeFunctionKeys.end());
  for (int i = 1; i <= kFunctionKeys; ++i) keys.push_back("F" + std::to_string(i) + "=");
  for (int i = 1; i <= kFunctionKeys; ++i) keys.push_back("F" + std::to_string(i) + "Title=");
  keys.insert(keys.end(), kAfterFunctionKeys.begin(), kAfterFunctionKeys.end());
  for (int slot = 1; slot <= kSavedRigs; ++slot) {
    for (const std::string_view word : kSavedRigWords) keys.push_back(SavedRigKey(word, slot));
  }
  for (int index = 1; index <= kBandMemories; ++index) {
    for (const std::string_view word : kBandWords) keys.push_back(BandKey(word, index));
  }
  return keys;
}

/// A key as lines are tested for it.
struct KnownKey {
  std::string upper;
  std::size_t value_at;
};

const std::vector<KnownKey>& KnownKeys() {
  static const std::vector<KnownKey> kKeys = [] {
    std::vector<KnownKey> keys;
    for (const std::string& key : SettingKeys()) {
      keys.push_back({Upper(key), key.ends_with("Title=") ? kTitleColumn : key.size()});
    }
    return keys;
  }();
  return kKeys;
}

bool StartsWithNoCase(std::string_view text, std::string_view start) {
  return EqualNoCase(text.substr(0, start.size()), start);
}

/// Whether the line begins with a known key: then it is that key's line, whatever else occurs in it.
bool BelongsToKnownKey(std::string_view line) {
  const auto begins = [line](const KnownKey& key) { return StartsWithNoCase(line, key.upper); };
  return std::any_of(KnownKeys().begin(), KnownKeys().end(), begins);
}

/// The change that replaces the line, or the end.
std::vector<SettingChange>::const_iterator ChangeOf(std::string_view line, const std::vector<SettingChange>& changes) {
  const auto own = std::find_if(changes.begin(), changes.end(),
                                [line](const SettingChange& change) { return StartsWithNoCase(line, change.key); });
  if (own != changes.end() || BelongsToKnownKey(line)) return own;
  return std::find_if(changes.begin(), changes.end(),
                      [line](const SettingChange& change) { return ContainsNoCase(line, change.key); });
}

// The one key that stands inside a longer one (DIRECTINVERT=), whose line readers take for its own as well.
constexpr std::string_view kInsideAnother = "INVERT=";

/// The last line counts, so the key's own stands behind that of the longer one.
std::string WithOwnLineLast(const std::string& content) {
  std::string rest;
  std::string own;
  bool overwritten = false;
  for (std::string_view left = content; !left.empty();) {
    const Line line = TakeLine(left);
    const bool is_own = StartsWithNoCase(line.text, kInsideAnother);
    overwritten = overwritten || (!is_own && !own.empty() && ContainsNoCase(line.text, kInsideAnother));
    ((is_own ? own : rest) += line.text) += line.end;
  }
  return overwritten ? rest + own : content;
}

/// A value stays on its line and the file stays text.
std::string OneLineValue(std::string value) {
  std::replace_if(
      value.begin(), value.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
  return value;
}

}  // namespace

std::string SavedRigKey(std::string_view word, int slot) {
  const bool trimmed = word == "RTSON" || word == "DTRON";
  return std::string(word) + (trimmed ? std::to_string(slot) : NumberText(slot)) + "=";
}

std::string BandKey(std::string_view word, int index) {
  return std::string(word) + PadNumber(index, 2) + "=";
}

const std::vector<std::string>& SettingKeys() {
  static const std::vector<std::string> kKeys = MakeKeys();
  return kKeys;
}

Settings Settings::Parse(std::string_view content) {
  Settings settings;
  content = WithoutByteOrderMark(content);
  while (!content.empty()) {
    const std::string line = Upper(TakeLine(content).text);
    if (line.find('=') == std::string::npos) continue;
    for (const KnownKey& key : KnownKeys()) {
      if (line.find(key.upper) == std::string::npos) continue;
      settings.values_[key.upper] = line.substr(key.value_at);
    }
  }
  return settings;
}

const std::string& Settings::text(std::string_view key) const {
  static const std::string kEmpty;
  const auto value = values_.find(Upper(key));
  return value != values_.end() ? value->second : kEmpty;
}

std::int64_t Settings::number(std::string_view key) const {
  return LeadingNumber(text(key));
}

bool Settings::flag(std::string_view key) const {
  const std::string_view value = Trim(text(key));
  return value == "TRUE" || value == "YES" || value == "1";
}

bool Settings::has(std::string_view key) const {
  return values_.contains(Upper(key));
}

int Settings::gmt_offset() const {
  constexpr int kDefaultHours = 5;
  constexpr std::int64_t kMostHours = 1000;  // far beyond any clock, and no overflow in hours times minutes
  const auto hours = static_cast<int>(std::clamp(number("GMT="), -kMostHours, kMostHours));
  return hours == 0 ? kDefaultHours : hours;
}

std::string RewriteSettings(std::string_view old_content, const std::vector<SettingChange>& changes) {
  std::string content;
  std::string line_end = "\n";
  std::vector<bool> written(changes.size());
  for (bool first = true; !old_content.empty(); first = false) {
    const Line line = TakeLine(old_content);
    if (first && !line.end.empty()) line_end = line.end;
    const auto change = ChangeOf(line.text, changes);
    if (change == changes.end()) {
      content += line.text;
    } else {
      content += change->key + OneLineValue(change->value);
      written[static_cast<std::size_t>(change - changes.begin())] = true;
    }
    content += line.end.empty() ? line_end : line.end;
  }
  for (std::size_t i = 0; i < changes.size(); ++i) {
    if (written[i]) continue;
    content += changes[i].key + (changes[i].blank_when_new ? " " : "") + OneLineValue(changes[i].value) + line_end;
  }
  const bool may_overwrite = std::any_of(changes.begin(), changes.end(), [](const SettingChange& change) {
    return ContainsNoCase(change.key, kInsideAnother);
  });
  return may_overwrite ? WithOwnLineLast(content) : content;
}

}  // namespace kvx::config
