#include "links/rigctl_rig.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

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
  int slider;
};
constexpr std::array kSliderLevels{LevelRow{"AF", 7}, LevelRow{"RF", 8}, LevelRow{"RFPOWER", 9}};

const LevelRow* FindLevel(std::string_view name) {
  const auto* row = std::find_if(kSliderLevels.begin(), kSliderLevels.end(),
                                 [&](const LevelRow& r) { return EqualNoCase(r.name, name); });
  return row == kSliderLevels.end() ? nullptr : row;
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

RigctlRig::RigctlRig(Console& console, cat::Engine& engine) : console_(console), engine_(engine) {}

Frequency RigctlRig::frequency(char vfo) const {
  if (vfo == *console_.ActiveVfo) return *console_.FreqDisp;
  return vfo == 'B' ? *console_.FreqB : *console_.FreqA;
}

std::string RigctlRig::mode() const {
  return std::string(Trim(*console_.Mode));
}

int RigctlRig::passband() const {
  const ModeRow* row = FindMode(Trim(*console_.Mode));
  if (row == nullptr) return 0;
  return *console_.Xnarrow ? row->narrow : row->wide;
}

bool RigctlRig::CanSelect() const {
  return engine_.dispatcher.Has("XVFOA") && engine_.dispatcher.Has("XVFOB");
}

std::string RigctlRig::FrequencyTemplate(char vfo) const {
  return engine_.dispatcher.TemplateOf(*cat::FindKey(vfo == 'B' ? "XSETFREQB" : "XSETFREQ"));
}

SendOutcome RigctlRig::SendOther(char vfo, bool select, const std::string& command) {
  const char in_use = *console_.ActiveVfo;
  if (!select || vfo == in_use) return engine_.dispatcher.SendData(command);
  const SendOutcome there = engine_.dispatcher.SendData(vfo == 'B' ? "XVFOB" : "XVFOA");
  if (there != SendOutcome::kSent) return there;
  const SendOutcome sent = engine_.dispatcher.SendData(command);
  engine_.dispatcher.SendData(in_use == 'B' ? "XVFOB" : "XVFOA");
  return sent;
}

Rprt RigctlRig::SetFrequency(RigctlClient& client, char vfo, Frequency frequency) {
  if (!is_open()) return Rprt::kIo;
  if (vfo == *console_.ActiveVfo) {
    if (FrequencyTemplate(vfo).empty() && !cat::IsPegasus(engine_.rig())) return Rprt::kNotAvailable;
    return CodeOf(engine_.operations.TuneTo(frequency));
  }
  const std::string text = FrequencyTemplate(vfo);
  const bool select = !targeted();
  if (text.empty() || (select && !CanSelect())) return Rprt::kNotAvailable;
  if (select && transmitting()) return Rprt::kRejected;  // it would transmit on the other VFO
  const auto filled = cat::Expand(text, {.rig = engine_.rig(),
                                         .address_number = *console_.RigNumber,
                                         .frequency = frequency.displayed() + *console_.Offset});
  if (!filled) return Rprt::kInvalid;
  (vfo == 'B' ? console_.FreqB : console_.FreqA).Set(frequency.displayed());
  return CodeOf(client.waiting.SendLatest(std::string("frequency ") + vfo, [this, vfo, select, command = *filled] {
    return SendOther(vfo, select, command);
  }));
}

Rprt RigctlRig::SetMode(RigctlClient& client, char vfo, std::string_view mode, int passband) {
  const auto* name = std::find_if(kModeNames.begin(), kModeNames.end(),
                                  [&](const ModeName& row) { return EqualNoCase(row.name, mode); });
  if (name == kModeNames.end()) return Rprt::kInvalid;
  const ModeRow* row = FindMode(name->console);
  if (row == nullptr) return Rprt::kNotAvailable;
  if (!is_open()) return Rprt::kIo;
  const bool has_widths = !row->narrow_key.empty();
  const bool said_narrow = has_widths && name->name.ends_with('N');
  const bool narrow = passband < 0 ? *console_.Xnarrow : said_narrow || (passband > 0 && passband <= row->narrow_to);
  if (vfo == *console_.ActiveVfo) {
    std::string wanted(row->console);
    if (has_widths && passband >= 0) wanted += narrow ? "N" : "W";
    const auto set = engine_.operations.SetModeByName(wanted);
    return set ? CodeOf(*set) : Rprt::kInvalid;
  }
  if (!CanSelect()) return Rprt::kNotAvailable;
  if (transmitting()) return Rprt::kRejected;
  client.waiting.Flush();
  const bool use_narrow = has_widths && narrow && engine_.dispatcher.Has(row->narrow_key);
  return CodeOf(SendOther(vfo, true, std::string(use_narrow ? row->narrow_key : row->wide_key)));
}

/// The function button that switches split on and, pressed again, off.
std::optional<std::size_t> RigctlRig::SplitFunction() const {
  for (std::size_t i = 0; i < config::kFunctions; ++i) {
    const std::string number = std::to_string(i + 1);
    const std::string caption = Upper(engine_.rig().row["F" + number + "Desc"]);
    const bool two_states = engine_.rig().row["Function" + number].find('/') != std::string::npos;
    if (two_states && (caption.find("SPLIT") != std::string::npos || caption.find("SPLT") != std::string::npos))
      return i;
  }
  return std::nullopt;
}

bool RigctlRig::split() const {
  const auto function = SplitFunction();
  return function && console_.FunctionState[*function];
}

char RigctlRig::transmit_vfo() const {
  const bool on_b = (*console_.ActiveVfo == 'B') != split();
  return on_b ? 'B' : 'A';
}

Rprt RigctlRig::SetSplit(bool on, char transmit) {
  if (!is_open()) return Rprt::kIo;
  const auto function = SplitFunction();
  if (!function) return on ? Rprt::kNotAvailable : Rprt::kOk;
  // Whoever listens on the VFO that is to transmit would lose it.
  if (on && transmit == *console_.ActiveVfo) return Rprt::kRejected;
  if (on == split()) return Rprt::kOk;
  return CodeOf(engine_.dispatcher.SendData("XFN" + std::to_string(*function + 1)));
}

Rprt RigctlRig::Key(RigctlClient& client) {
  if (!is_open()) return Rprt::kIo;
  if (transmitting()) return engine_.transmission.is_of(client.party) ? Rprt::kOk : Rprt::kRejected;
  const config::RigRow& row = engine_.rig().row;
  if (!cat::ButtonsKeyTransmitter(row) || row["Alpha"].empty()) return Rprt::kNotAvailable;
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

void RigctlRig::Leave(RigctlClient& client) {
  Release(client);
  client.waiting.Flush();
}

std::optional<std::string> RigctlRig::level(std::string_view name) const {
  if (EqualNoCase(name, "STRENGTH"))
    return std::to_string(StrengthOf(*console_.SMeter, cat::SMeterFullScale(engine_.rig())));
  if (EqualNoCase(name, "KEYSPD")) return std::to_string(*console_.CWSpeed);
  const LevelRow* row = FindLevel(name);
  if (row == nullptr || !engine_.dispatcher.Has(cat::SliderKey(row->slider)->key)) return std::nullopt;
  const auto index = static_cast<std::size_t>(row->slider - 1);
  const auto& bounds = engine_.rig().slider_bounds[index];
  const int top = std::max({bounds.maximum, bounds.minimum, 1});
  return Fraction(static_cast<double>(console_.Slider[index]) / top);
}

Rprt RigctlRig::SetLevel(std::string_view name, double value) {
  if (EqualNoCase(name, "KEYSPD")) {
    if (!set_key_speed) return Rprt::kNotAvailable;
    if (!(value >= 1 && value <= 1000)) return Rprt::kInvalid;
    return set_key_speed(static_cast<int>(std::lround(value))) ? Rprt::kOk : Rprt::kInvalid;
  }
  const LevelRow* row = FindLevel(name);
  if (row == nullptr) return EqualNoCase(name, "STRENGTH") ? Rprt::kNotAvailable : Rprt::kInvalid;
  if (!(value >= 0 && value <= 1)) return Rprt::kInvalid;
  if (!is_open()) return Rprt::kIo;
  if (!engine_.dispatcher.Has(cat::SliderKey(row->slider)->key)) return Rprt::kNotAvailable;
  const auto index = static_cast<std::size_t>(row->slider - 1);
  const auto& bounds = engine_.rig().slider_bounds[index];
  const auto [low, high] = std::minmax(bounds.minimum, bounds.maximum);
  console_.Slider.Set(index, std::clamp(static_cast<int>(std::lround(value * high)), low, high));
  return CodeOf(engine_.operations.SendSlider(row->slider));
}

Rprt RigctlRig::SendMorse(std::string_view text) const {
  if (!send_morse) return Rprt::kNotAvailable;
  const Status taken = send_morse(text);
  if (taken) return Rprt::kOk;
  return taken.error().code == ErrorCode::kClosed ? Rprt::kIo : Rprt::kRejected;
}

Rprt RigctlRig::StopMorse() const {
  if (!stop_morse) return Rprt::kNotAvailable;
  stop_morse();
  return Rprt::kOk;
}

}  // namespace kvx::links
