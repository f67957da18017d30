#include "links/rigctl_rig.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "cat/command_template.h"
#include "cat/pegasus.h"
#include "cat/reply.h"
#include "cat/transmit.h"
#include "core/text.h"

namespace kvx::links {
namespace {

using cat::SendOutcome;

Rprt CodeOf(SendOutcome outcome) {
  switch (outcome) {
    case SendOutcome::kSent:
      return Rprt::kOk;
    case SendOutcome::kClosed:
      return Rprt::kIo;
    case SendOutcome::kNoTemplate:
      return Rprt::kNotAvailable;
    case SendOutcome::kRefused:
      break;
  }
  return Rprt::kRejected;
}

/// A mode of the console by the names that clients have for it.
struct ModeRow {
  std::string_view console;
  std::string_view wide_key;
  std::string_view narrow_key;  ///< empty: it has one width
  int wide;                     ///< passband, Hz
  int narrow;
  int narrow_to;  ///< a passband up to this one is narrow
};
constexpr std::array kModes{
    ModeRow{"USB", "XUSB", "", 2400, 2400, 0},           ModeRow{"LSB", "XLSB", "", 2400, 2400, 0},
    ModeRow{"CW", "XCWW", "XCWN", 500, 250, 300},        ModeRow{"AM", "XAM", "", 6000, 6000, 0},
    ModeRow{"FM", "XFMW", "XFMN", 15'000, 8000, 10'000}, ModeRow{"RTTY", "XRTTY", "", 500, 500, 0},
};

struct ModeName {
  std::string_view name;
  std::string_view console;  ///< empty: the console has no such mode
};
constexpr std::array kModeNames{
    ModeName{"USB", "USB"},     ModeName{"LSB", "LSB"},    ModeName{"CW", "CW"},      ModeName{"CWR", "CW"},
    ModeName{"CWN", "CW"},      ModeName{"AM", "AM"},      ModeName{"AMN", "AM"},     ModeName{"AMS", "AM"},
    ModeName{"SAM", "AM"},      ModeName{"FM", "FM"},      ModeName{"FMN", "FM"},     ModeName{"WFM", "FM"},
    ModeName{"RTTY", "RTTY"},   ModeName{"RTTYR", "RTTY"}, ModeName{"PKTUSB", "USB"}, ModeName{"PKTLSB", "LSB"},
    ModeName{"PKTFM", "FM"},    ModeName{"PKTFMN", "FM"},  ModeName{"PKTAM", "AM"},   ModeName{"ECSSUSB", "USB"},
    ModeName{"ECSSLSB", "LSB"}, ModeName{"PSK", "USB"},    ModeName{"PSKR", "LSB"},   ModeName{"FAX", ""},
    ModeName{"DSB", ""},        ModeName{"SAL", ""},       ModeName{"SAH", ""},       ModeName{"C4FM", ""},
    ModeName{"DSTAR", ""},      ModeName{"P25", ""},       ModeName{"DPMR", ""},      ModeName{"DCR", ""},
    ModeName{"NXDN-N", ""},     ModeName{"NXDN-VN", ""},
};

const ModeRow* FindMode(std::string_view console) {
  const auto* row = std::find_if(kModes.begin(), kModes.end(), [&](const ModeRow& r) { return r.console == console; });
  return row == kModes.end() ? nullptr : row;
}

struct LevelRow {
  std::string_view name;
  int slider = 0;
};
constexpr std::array kSliderLevels{LevelRow{"AF", 7}, LevelRow{"RF", 8}, LevelRow{"RFPOWER", 9}};
/// Levels of the protocol that no rig has here.
constexpr std::array kOtherLevels{
    LevelRow{"PREAMP"},
    LevelRow{"ATT"},
    LevelRow{"VOXDELAY"},
    LevelRow{"SQL"},
    LevelRow{"IF"},
    LevelRow{"APF"},
    LevelRow{"NR"},
    LevelRow{"PBT_IN"},
    LevelRow{"PBT_OUT"},
    LevelRow{"CWPITCH"},
    LevelRow{"MICGAIN"},
    LevelRow{"NOTCHF"},
    LevelRow{"COMP"},
    LevelRow{"AGC"},
    LevelRow{"BKINDL"},
    LevelRow{"BALANCE"},
    LevelRow{"METER"},
    LevelRow{"VOXGAIN"},
    LevelRow{"ANTIVOX"},
    LevelRow{"SLOPE_LOW"},
    LevelRow{"SLOPE_HIGH"},
    LevelRow{"BKIN_DLYMS"},
    LevelRow{"RAWSTR"},
    LevelRow{"SWR"},
    LevelRow{"ALC"},
    LevelRow{"COMP_METER"},
    LevelRow{"VD_METER"},
    LevelRow{"ID_METER"},
    LevelRow{"RFPOWER_METER"},
    LevelRow{"NOTCHF_RAW"},
    LevelRow{"MONITOR_GAIN"},
    LevelRow{"NB"},
    LevelRow{"TEMP_METER"},
    LevelRow{"RFPOWER_METER_WATTS"},
};

template <std::size_t kSize>
const LevelRow* FindLevel(const std::array<LevelRow, kSize>& levels, std::string_view name) {
  const auto* row =
      std::find_if(levels.begin(), levels.end(), [&](const LevelRow& r) { return EqualNoCase(r.name, name); });
  return row == levels.end() ? nullptr : row;
}

/// What to answer for a level that cannot be read or set: it is none at all, or not here.
Rprt NoLevel(std::string_view name) {
  const bool known = EqualNoCase(name, "STRENGTH") || EqualNoCase(name, "KEYSPD") ||
                     FindLevel(kSliderLevels, name) != nullptr || FindLevel(kOtherLevels, name) != nullptr;
  return known ? Rprt::kNotAvailable : Rprt::kInvalid;
}

constexpr int kFourBits = 15;  // a meter that answers with four bits counts the S units themselves
constexpr int kDecibelsToNine = 54;
constexpr int kDecibelsAboveNine = 60;
constexpr double kFractionDigits = 1e6;

/// "0.500000"
std::string Fraction(double value) {
  const auto millionths = static_cast<std::int64_t>(std::llround(std::clamp(value, 0.0, 1.0) * kFractionDigits));
  return std::to_string(millionths / 1'000'000) + "." + PadNumber(millionths % 1'000'000, 6);
}

}  // namespace

int StrengthOf(int reading, int full_scale) {
  if (full_scale <= 0) return -kDecibelsToNine;
  const double nine = full_scale == kFourBits ? 9 : full_scale / 2.0;
  const double value = std::clamp<double>(reading, 0, full_scale);
  if (value <= nine) return static_cast<int>(std::lround(kDecibelsToNine * (value / nine - 1)));
  return static_cast<int>(std::lround(kDecibelsAboveNine * (value - nine) / (full_scale - nine)));
}

RigctlClient::RigctlClient(Loop& loop, Console& console, cat::Engine& engine)
    : party(engine.transmission.NewParty()),
      waiting(loop, engine.dispatcher),
      resume(console.Subscribe([this](Field field) {
        if (field == Field::kTransmitting) waiting.Resume();
      })) {
  waiting.may_send = [this, &engine] { return !engine.transmission.is_of_another(party); };
}

RigctlRig::RigctlRig(Console& console, cat::Engine& engine) : console_(console), engine_(engine) {}

Frequency RigctlRig::frequency(char vfo) const {
  if (vfo == *console_.ActiveVfo) return *console_.FreqDisp;
  return vfo == 'B' ? *console_.FreqB : *console_.FreqA;
}

std::string RigctlRig::mode() const {
  const std::string_view mode = Trim(*console_.Mode);
  const bool reverse = mode == "CW" && *console_.Xnarrow && cat::NarrowCwIsReverse(engine_.rig());
  return reverse ? "CWR" : std::string(mode);
}

std::string RigctlRig::modes() const {
  struct Row {
    std::string_view name;
    std::string_view key;
  };
  static constexpr std::array kTold{Row{"AM", "XAM"},      Row{"CW", "XCWW"},     Row{"USB", "XUSB"},
                                    Row{"LSB", "XLSB"},    Row{"RTTY", "XRTTY"},  Row{"FM", "XFMW"},
                                    Row{"CWR", "XCWN"},    Row{"RTTYR", "XRTTY"}, Row{"PKTLSB", "XLSB"},
                                    Row{"PKTUSB", "XUSB"}, Row{"PKTFM", "XFMW"}};
  const bool all = engine_.rig().name.empty();
  std::string names;
  for (const Row& row : kTold) {
    const bool has = row.name == "CWR" ? cat::NarrowCwIsReverse(engine_.rig()) : engine_.dispatcher.Has(row.key);
    if (all || has) (names += row.name) += ' ';
  }
  return std::string(Trim(names));
}

bool RigctlRig::can_key() const {
  const config::RigRow& row = engine_.rig().row;
  return cat::ButtonsKeyTransmitter(row) && !row["Alpha"].empty();
}

int RigctlRig::passband() const {
  const ModeRow* row = FindMode(Trim(*console_.Mode));
  if (row == nullptr) return 0;
  return *console_.Xnarrow && HasNarrow(row->narrow_key) ? row->narrow : row->wide;
}

/// Rows may have no command for a narrow mode, or use its field for CW reverse.
bool RigctlRig::HasNarrow(std::string_view key) const {
  return !key.empty() && engine_.dispatcher.Has(key) && !(key == "XCWN" && cat::NarrowCwIsReverse(engine_.rig()));
}

bool RigctlRig::CanSelect() const {
  return engine_.dispatcher.Has("XVFOA") && engine_.dispatcher.Has("XVFOB");
}

std::string RigctlRig::FrequencyTemplate(char vfo) const {
  return engine_.dispatcher.TemplateOf(*cat::FindKey(vfo == 'B' ? "XSETFREQB" : "XSETFREQ"));
}

SendOutcome RigctlRig::SendTo(char vfo, bool select, const std::string& command) {
  const char in_use = *console_.ActiveVfo;
  if (!select || vfo == in_use) return engine_.dispatcher.SendData(command);
  if (transmitting()) return SendOutcome::kRefused;  // it would transmit on the other VFO
  std::vector<std::string> commands{vfo == 'B' ? "XVFOB" : "XVFOA", command, in_use == 'B' ? "XVFOB" : "XVFOA"};
  if (split() && engine_.operations.ChoosingEndsSplit()) {
    if (in_use == 'B') return SendOutcome::kRefused;  // its command for split begins with the choice of A
    const std::string& switches = engine_.rig().row["Function" + std::to_string(engine_.rig().split_function)];
    commands.push_back(switches.substr(0, switches.find('/')));
  }
  return engine_.dispatcher.SendTogether(commands);
}

Rprt RigctlRig::SetFrequency(RigctlClient& client, char vfo, Frequency frequency) {
  if (!is_open()) return Rprt::kIo;
  if (!may_change(client)) return Rprt::kRejected;
  const std::string text = FrequencyTemplate(vfo);
  const bool in_use = vfo == *console_.ActiveVfo;
  if (text.empty() && !(in_use && cat::IsPegasus(engine_.rig()))) return Rprt::kNotAvailable;
  const auto command = cat::Expand(text, {.rig = engine_.rig(),
                                          .address_number = *console_.RigNumber,
                                          .frequency = frequency.displayed() + *console_.Offset,
                                          .vfo = vfo});
  if (!command) return Rprt::kInvalid;
  if (in_use) return CodeOf(engine_.operations.TuneTo(frequency));
  const bool select = !targeted();
  if (select && !CanSelect()) return Rprt::kNotAvailable;
  if (select && transmitting()) return Rprt::kRejected;
  auto& shown = vfo == 'B' ? console_.FreqB : console_.FreqA;
  const auto send = [this, vfo, select, text = *command, &shown, before = *shown] {
    const SendOutcome outcome = SendTo(vfo, select, text);
    if (outcome != SendOutcome::kSent) shown.Set(before);
    if (outcome == SendOutcome::kSent && !select) AskFrequency(vfo);
    return outcome;
  };
  shown.Set(frequency.displayed());
  return CodeOf(client.waiting.SendLatest(std::string("frequency ") + vfo, send));
}

/// The rig may not have taken it, and nobody polls the other VFO.
void RigctlRig::AskFrequency(char vfo) {
  const config::RigRow& row = engine_.rig().row;
  if (!engine_.rig().binary() && row["GetFreq"] != row["ReadFreq"])
    engine_.dispatcher.SendData(vfo == 'B' ? "XGETFREQB" : "XGETFREQ");
}

Rprt RigctlRig::SetMode(RigctlClient& client, char vfo, std::string_view mode, int passband) {
  const auto* name = std::find_if(kModeNames.begin(), kModeNames.end(),
                                  [&](const ModeName& row) { return EqualNoCase(row.name, mode); });
  if (name == kModeNames.end()) return Rprt::kInvalid;
  const ModeRow* row = FindMode(name->console);
  if (row == nullptr) return Rprt::kNotAvailable;
  if (!is_open()) return Rprt::kIo;
  if (!may_change(client)) return Rprt::kRejected;
  const bool has_narrow = HasNarrow(row->narrow_key);
  const bool said_narrow = name->name.ends_with('N') || (passband > 0 && passband <= row->narrow_to);
  const bool reverse = name->name == "CWR" && cat::NarrowCwIsReverse(engine_.rig());
  const bool narrow = reverse || (has_narrow && (passband < 0 ? *console_.Xnarrow : said_narrow));
  if (vfo == *console_.ActiveVfo) {
    std::string wanted(row->console);
    if (!row->narrow_key.empty()) wanted += narrow ? "N" : "W";
    const auto set = engine_.operations.SetModeByName(wanted);
    return set ? CodeOf(*set) : Rprt::kInvalid;
  }
  const std::string key(narrow ? row->narrow_key : row->wide_key);
  const std::string command = engine_.dispatcher.TemplateOf(*cat::FindKey(key));
  const bool select = !cat::NamesVfo(command);
  if (select && !CanSelect()) return Rprt::kNotAvailable;
  if (transmitting()) return Rprt::kRejected;
  client.waiting.Flush();
  return CodeOf(SendTo(vfo, select, select ? key : cat::NameVfo(command, vfo)));
}

bool RigctlRig::split() const {
  const int function = engine_.rig().split_function;
  return function > 0 && console_.FunctionState[static_cast<std::size_t>(function - 1)];
}

char RigctlRig::transmit_vfo() const {
  const bool on_b = (*console_.ActiveVfo == 'B') != split();
  return on_b ? 'B' : 'A';
}

Rprt RigctlRig::SetSplit(bool on, char transmit) {
  if (!is_open()) return Rprt::kIo;
  const int function = engine_.rig().split_function;
  if (function == 0) return on ? Rprt::kNotAvailable : Rprt::kOk;
  // Whoever listens on the VFO that is to transmit would lose it.
  if (on && transmit == *console_.ActiveVfo) return Rprt::kRejected;
  if (on == split()) return Rprt::kOk;
  if (transmitting()) return Rprt::kRejected;
  return CodeOf(engine_.dispatcher.SendData("XFN" + std::to_string(function)));
}

Rprt RigctlRig::Key(RigctlClient& client, char vfo) {
  if (!writable) return Rprt::kRejected;
  if (!is_open()) return Rprt::kIo;
  if (transmitting()) return engine_.transmission.is_of(client.party) ? Rprt::kOk : Rprt::kRejected;
  if (!can_key()) return Rprt::kNotAvailable;
  if (vfo != *console_.ActiveVfo && vfo != transmit_vfo()) return Rprt::kRejected;
  // The frequency that was set before is the one to transmit on: it does not wait for its turn any longer.
  engine_.operations.SendWaiting();
  client.waiting.Flush();
  const SendOutcome outcome = engine_.dispatcher.KeyTransmitter(client.party);
  if (outcome != SendOutcome::kSent) return CodeOf(outcome);
  if (!transmitting()) {  // nobody knows how it would be released
    engine_.dispatcher.SendData("XSETBRAVO");
    return Rprt::kNotAvailable;
  }
  return Rprt::kOk;
}

Rprt RigctlRig::Release(const RigctlClient& client) {
  return engine_.dispatcher.ReleaseTransmitter(client.party) ? Rprt::kOk : Rprt::kIo;
}

/// Programs that are started for one command have a text sent and end in order: it is not cut off by that.
void RigctlRig::Leave(RigctlClient& client) {
  Release(client);
  if (!client.ended) StopMorse(client);
  if (may_change(client)) client.waiting.Flush();
}

std::string RigctlRig::levels(bool to_set) const {
  std::string names;
  for (const LevelRow& row : kSliderLevels) {
    if (engine_.dispatcher.Has(cat::SliderKey(row.slider)->key)) (names += row.name) += ' ';
  }
  if (!to_set || set_key_speed) names += "KEYSPD ";
  if (!to_set) names += "STRENGTH ";
  return std::string(Trim(names));
}

Rprt RigctlRig::GetLevel(std::string_view name, std::string& value) const {
  if (EqualNoCase(name, "STRENGTH")) {
    value = std::to_string(StrengthOf(*console_.SMeter, cat::SMeterFullScale(engine_.rig())));
    return Rprt::kOk;
  }
  if (EqualNoCase(name, "KEYSPD")) {
    value = std::to_string(*console_.CWSpeed);
    return Rprt::kOk;
  }
  const LevelRow* row = FindLevel(kSliderLevels, name);
  if (row == nullptr || !engine_.dispatcher.Has(cat::SliderKey(row->slider)->key)) return NoLevel(name);
  const auto index = static_cast<std::size_t>(row->slider - 1);
  const auto& bounds = engine_.rig().slider_bounds[index];
  const int top = std::max({bounds.maximum, bounds.minimum, 1});
  value = Fraction(static_cast<double>(console_.Slider[index]) / top);
  return Rprt::kOk;
}

Rprt RigctlRig::SetLevel(std::string_view name, double value) {
  if (EqualNoCase(name, "KEYSPD")) {
    if (!set_key_speed) return Rprt::kNotAvailable;
    if (!(value >= 1 && value <= 1000)) return Rprt::kInvalid;
    return set_key_speed(static_cast<int>(std::lround(value))) ? Rprt::kOk : Rprt::kInvalid;
  }
  const LevelRow* row = FindLevel(kSliderLevels, name);
  if (row == nullptr) return NoLevel(name);
  if (!(value >= 0 && value <= 1)) return Rprt::kInvalid;
  if (!is_open()) return Rprt::kIo;
  if (!engine_.dispatcher.Has(cat::SliderKey(row->slider)->key)) return Rprt::kNotAvailable;
  const auto index = static_cast<std::size_t>(row->slider - 1);
  const auto& bounds = engine_.rig().slider_bounds[index];
  const auto [low, high] = std::minmax(bounds.minimum, bounds.maximum);
  console_.Slider.Set(index, std::clamp(static_cast<int>(std::lround(value * high)), low, high));
  return CodeOf(engine_.operations.SendSlider(row->slider));
}

Rprt RigctlRig::SendMorse(const RigctlClient& client, std::string_view text) const {
  if (!send_morse) return Rprt::kNotAvailable;
  const Status taken = send_morse(client.party, text);
  if (taken) return Rprt::kOk;
  return taken.error().code == ErrorCode::kClosed ? Rprt::kIo : Rprt::kRejected;
}

Rprt RigctlRig::StopMorse(const RigctlClient& client) const {
  if (!stop_morse) return Rprt::kNotAvailable;
  stop_morse(client.party);
  return Rprt::kOk;
}

}  // namespace kvx::links
