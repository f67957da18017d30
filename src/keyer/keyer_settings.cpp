#include "keyer/keyer_settings.h"

#include <algorithm>
#include <array>

#include "config/kept_settings.h"
#include "core/text.h"
#include "platform/ports_file.h"

namespace kvx::keyer {
namespace {

using config::Settings;

constexpr int kByte = 255;
constexpr int kMostCom = 8;
constexpr int kMostLpt = 2;
constexpr int kLongestPtt = 2000;  // ms; lead and tail of software keying

struct NamedKind {
  std::string_view word;
  KeyerKind kind;
  int ports;  ///< the word is followed by a port number from 1 to this
};

constexpr std::array kKinds{
    NamedKind{"WINKEY", KeyerKind::kWinkey, 0},     NamedKind{"COM", KeyerKind::kComLine, kMostCom},
    NamedKind{"LPT", KeyerKind::kLptPin, kMostLpt}, NamedKind{"RIGPORT", KeyerKind::kRigLine, 0},
    NamedKind{"RIGKEYER", KeyerKind::kRigKeyer, 0}, NamedKind{"NONE", KeyerKind::kNone, 0},
};

int Bounded(const Settings& settings, std::string_view key, int low, int high, int absent) {
  if (Trim(settings.text(key)).empty() || (low > 0 && settings.number(key) == 0)) return absent;
  return static_cast<int>(std::clamp<std::int64_t>(settings.number(key), low, high));
}

/// The place of a word among the choices of its setting; 0 for an unknown one.
int Chosen(const Settings& settings, std::string_view key) {
  const config::KeptSetting* setting = config::FindKeptSetting(key);
  return setting == nullptr ? 0 : std::max(0, config::ChoiceOf(*setting, settings.text(key)));
}

std::string_view ChosenWord(const Settings& settings, int slot) {
  const std::string own = config::SavedRigKey("KEYERPORT", std::max(slot, 1));
  const std::string first = slot > 0 ? own : "KEYERPORT=";
  const std::string then = slot > 0 ? "KEYERPORT=" : own;
  return Trim(settings.text(Trim(settings.text(first)).empty() ? then : first));
}

SecondOutput SecondOutputOf(const Settings& settings) {
  const auto output = static_cast<SecondOutput>(Chosen(settings, "PIN5="));
  return output == SecondOutput::kNone && settings.flag("SIDETONE2=") ? SecondOutput::kSideTone : output;
}

void TakeWinkeyer(const Settings& settings, KeyerSettings& keyer) {
  keyer.stop_bits = settings.number("KEYERSTOP=") == 2 ? 2 : 1;
  keyer.mode = static_cast<PaddleMode>(Chosen(settings, "KYMODX="));
  keyer.reversed = settings.flag("REVPADDLE=");
  keyer.second_output = SecondOutputOf(settings);
  keyer.key1 = config::IsOn(*config::FindKeptSetting("WINKEY1="), settings);
  keyer.key2 = config::IsOn(*config::FindKeptSetting("WINKEY2="), settings) || settings.flag("USE2ND=");
  keyer.side_tone = Bounded(settings, "SIDETONE=", 0, kByte, keyer.side_tone);
  keyer.ptt_lead = Bounded(settings, "PTTLEADTIME=", 0, kByte, 0);
  keyer.ptt_tail = Bounded(settings, "PTTTAILTIME=", 0, kByte, 0);
  keyer.ignore_pot = settings.flag("IGNOREPOT=");
}

void TakeSoftwareKeying(const Settings& settings, KeyerSettings& keyer) {
  keyer.lead = std::chrono::milliseconds(Bounded(settings, "XLEADTIME=", 0, kLongestPtt, 0));
  keyer.tail = std::chrono::milliseconds(Bounded(settings, "XTAILTIME=", 0, kLongestPtt, 0));
  keyer.key_on_rts = EqualNoCase(Trim(settings.text("KEYLINE=")), "RTS");
  keyer.use_ptt = config::IsOn(*config::FindKeptSetting("KEYPTT="), settings);
  keyer.inverted = settings.flag("INVERT=");
}

}  // namespace

KeyerSettings KeyerSettings::From(const Settings& settings, int slot) {
  KeyerSettings keyer;
  const std::string_view word = ChosenWord(settings, slot);
  const KeyerChoice choice = ParseKeyerWord(word);
  keyer.kind = choice.kind;
  if (choice.kind == KeyerKind::kNone && !word.empty() && !EqualNoCase(word, "NONE")) keyer.unknown = word;
  // A port that there is not does not become another one: another device may be there.
  const auto winkeyer = ParseNumber(Trim(settings.text("PADDLECOM=")), 0, platform::kHighestPort);
  keyer.port = choice.kind == KeyerKind::kWinkey ? static_cast<int>(winkeyer.value_or(0)) : choice.port;
  keyer.speed = Bounded(settings, "CWSPEED=", kSlowest, kFastest, keyer.speed);
  keyer.compensation = Bounded(settings, "KEYINGCOMPX=", 0, kByte, 0);
  keyer.tune_limit = std::chrono::seconds(Bounded(settings, "TUNETIME=", 1, 120, 10));
  keyer.transmit_limit = std::chrono::seconds(Bounded(settings, "TXTIME=", 0, 3600, 300));
  keyer.local_tone = settings.flag("LOCALCW=");
  keyer.tone_hertz = Bounded(settings, "CWTONE=", 200, 2000, keyer.tone_hertz);
  keyer.tone_volume = Bounded(settings, "CWVOLUME=", 0, 100, keyer.tone_volume);
  TakeWinkeyer(settings, keyer);
  TakeSoftwareKeying(settings, keyer);
  return keyer;
}

std::string KeyerWord(KeyerKind kind, int port) {
  for (const NamedKind& named : kKinds) {
    if (named.kind == kind) return std::string(named.word) + (named.ports > 0 ? std::to_string(port) : "");
  }
  return "NONE";
}

KeyerChoice ParseKeyerWord(std::string_view word) {
  const std::string text = Upper(WithoutBlanks(word));
  if (text == config::kRigPortCaption) return {KeyerKind::kRigLine, 0};
  for (const NamedKind& named : kKinds) {
    if (named.ports == 0 && text == named.word) return {named.kind, 0};
    if (named.ports == 0 || !text.starts_with(named.word)) continue;
    if (const auto port = ParseNumber(text.substr(named.word.size()), 1, named.ports))
      return {named.kind, static_cast<int>(*port)};
  }
  return {};
}

}  // namespace kvx::keyer
