#include "audio/spectrum_controls.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <span>

#include "core/lines.h"
#include "core/text.h"

namespace kvx::audio {
namespace {

constexpr double kHighestHertz = 24'000;
constexpr double kLeastSpan = 20;  // Hz shown
constexpr std::size_t kLongestSource = 4096;
constexpr std::size_t kMostOtherLines = 100;

struct NumberControl {
  std::string_view name;
  int SpectrumSettings::*value;
  int low;
  int high;
};
constexpr std::array kNumbers{
    NumberControl{"scrReflvl", &SpectrumSettings::scrReflvl, -140, 60},
    NumberControl{"scrdBdiv", &SpectrumSettings::scrdBdiv, 1, 20},
    NumberControl{"scrT2Offset", &SpectrumSettings::scrT2Offset, -100, 100},
    NumberControl{"scrAVG", &SpectrumSettings::scrAVG, 1, 100},
    NumberControl{"scrGridBrightness", &SpectrumSettings::scrGridBrightness, 0, 255},
    NumberControl{"scrBckBrightness", &SpectrumSettings::scrBckBrightness, 0, 255},
    NumberControl{"scrUpdateTime", &SpectrumSettings::scrUpdateTime, 10, 1000},
    NumberControl{"CenterF", &SpectrumSettings::CenterF, 0, 3000},
    NumberControl{"CrossIt", &SpectrumSettings::CrossIt, 0, static_cast<int>(kHighestHertz)},
    NumberControl{"Thresh", &SpectrumSettings::Thresh, 0, 1000},
};

struct ChoiceControl {
  std::string_view name;
  int SpectrumSettings::*value;
  std::span<const int> choices;
};
constexpr std::array kChoices{
    ChoiceControl{"cboSRate", &SpectrumSettings::cboSRate, kSampleRates},
    ChoiceControl{"cboBins", &SpectrumSettings::cboBins, kBins},
};

struct SwitchControl {
  std::string_view name;
  bool SpectrumSettings::*value;
};
constexpr std::array kSwitches{
    SwitchControl{"CR", &SpectrumSettings::scope},
    SwitchControl{"SS", &SpectrumSettings::setup},
    SwitchControl{"AltSetup", &SpectrumSettings::AltSetup},
    SwitchControl{"SlowCPU", &SpectrumSettings::SlowCPU},
    SwitchControl{"SeperateCB", &SpectrumSettings::SeperateCB},
    SwitchControl{"CompoundCB", &SpectrumSettings::CompoundCB},
    SwitchControl{"chkBW", &SpectrumSettings::chkBW},
    SwitchControl{"chkSmall", &SpectrumSettings::chkSmall},
    SwitchControl{"chkOverWrite", &SpectrumSettings::chkOverWrite},
};

struct OptionControl {
  std::string_view name;
  TraceMode mode;
};
constexpr std::array kOptions{
    OptionControl{"optNormal", TraceMode::kNormal},
    OptionControl{"optMaxhold", TraceMode::kMaxHold},
    OptionControl{"optAverage", TraceMode::kAverage},
};

/// A button with a state and its two captions.
struct ToggleCaption {
  std::string_view name;
  bool SpectrumSettings::*on;
  std::string_view when_off;
  std::string_view when_on;
};
constexpr std::array kToggleCaptions{
    ToggleCaption{"cmdDisplaytrace", &SpectrumSettings::trace2, "Display Trace 2", "Trace 2 OFF"},
    ToggleCaption{"cmdTracemath", &SpectrumSettings::trace_math, "Trace 1 - Trace 2 ON", "Trace 1 - Trace 2 OFF"},
    ToggleCaption{"CmdSwitch", &SpectrumSettings::frozen, "Freeze", "Start"},
    ToggleCaption{"CR", &SpectrumSettings::scope, "View Scope", "Hide Scope"},
    ToggleCaption{"SS", &SpectrumSettings::setup, "Setup", "Close Setup"},
    ToggleCaption{"DCW", &SpectrumSettings::decoding, "Decode CW", "Stop Decode"},
};

struct LabelCaption {
  std::string_view name;
  int SpectrumSettings::*value;
  std::string_view before;
  std::string_view behind;
};
constexpr std::array kLabels{
    LabelCaption{"scrReflvl", &SpectrumSettings::scrReflvl, "Ref: ", " dB"},
    LabelCaption{"scrdBdiv", &SpectrumSettings::scrdBdiv, "", " dB/div"},
    LabelCaption{"scrT2Offset", &SpectrumSettings::scrT2Offset, "", " dB"},
    LabelCaption{"scrAVG", &SpectrumSettings::scrAVG, "Av ", ""},
};

struct Preset {
  int bins, rate;
  double low, high;
  int center;
  bool slow;
};
constexpr Preset kPreset{256, 48'000, 500, 1000, 1000, false};
constexpr Preset kAltPreset{128, 11'025, 460, 920, 920, true};

template <class Rows>
const typename Rows::value_type* Find(const Rows& rows, std::string_view name) {
  const auto row = std::find_if(rows.begin(), rows.end(), [&](const auto& r) { return EqualNoCase(r.name, name); });
  return row == rows.end() ? nullptr : &*row;
}

Error Invalid(std::string_view control, const std::string& what) {
  return {ErrorCode::kInvalid, std::string(control) + " takes " + what};
}

std::optional<bool> Truth(std::string_view text) {
  for (const std::string_view word : {"TRUE", "on", "1"}) {
    if (EqualNoCase(text, word)) return true;
  }
  for (const std::string_view word : {"FALSE", "off", "0"}) {
    if (EqualNoCase(text, word)) return false;
  }
  return std::nullopt;
}

std::string TruthText(bool on) {
  return on ? "TRUE" : "FALSE";
}

std::string HertzText(double hertz) {
  return std::to_string(std::lround(hertz));
}

/// An edge of the shown band; the other one gives way.
Status SetEdge(SpectrumSettings& settings, bool low, std::string_view text) {
  double hertz = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), hertz);
  const double least = low ? 0 : kLeastSpan;
  const double most = low ? kHighestHertz - kLeastSpan : kHighestHertz;
  if (error != std::errc() || end != text.data() + text.size() || !(hertz >= least && hertz <= most))
    return Invalid(low ? "txtFMin" : "txtFMax", HertzText(least) + " to " + HertzText(most) + " Hz");
  (low ? settings.txtFMin : settings.txtFMax) = std::round(hertz);
  if (low) settings.txtFMax = std::max(settings.txtFMax, settings.txtFMin + kLeastSpan);
  if (!low) settings.txtFMin = std::min(settings.txtFMin, settings.txtFMax - kLeastSpan);
  return Ok();
}

Status SetChoice(SpectrumSettings& settings, const ChoiceControl& row, std::string_view value) {
  const auto number = ParseNumber(value, 0, row.choices[0] * 10);
  if (number && std::find(row.choices.begin(), row.choices.end(), *number) != row.choices.end()) {
    settings.*row.value = static_cast<int>(*number);
    return Ok();
  }
  std::string list;
  for (const int choice : row.choices) list += (list.empty() ? "" : ", ") + std::to_string(choice);
  return Invalid(row.name, list);
}

Status SetSource(SpectrumSettings& settings, std::string_view value) {
  const bool good = value.size() <= kLongestSource &&
                    std::none_of(value.begin(), value.end(), [](unsigned char c) { return c < 0x20; });
  if (!good) return Invalid("source", "a text of one line");
  settings.source = std::string(value);
  return Ok();
}

Status SetColors(SpectrumSettings& settings, std::string_view value) {
  std::string list;
  for (const std::string_view name : kWaterfallColors) {
    if (EqualNoCase(value, name)) {
      settings.colors = name;
      return Ok();
    }
    list += (list.empty() ? "" : ", ") + std::string(name);
  }
  return Invalid("colors", list);
}

}  // namespace

Status SetControl(SpectrumSettings& settings, std::string_view control, std::string_view value) {
  value = Trim(value);
  if (EqualNoCase(control, "txtFMin")) return SetEdge(settings, true, value);
  if (EqualNoCase(control, "txtFMax")) return SetEdge(settings, false, value);
  if (EqualNoCase(control, "source")) return SetSource(settings, value);
  if (const auto* row = Find(kChoices, control)) return SetChoice(settings, *row, value);
  if (const auto* row = Find(kNumbers, control)) {
    const auto number = ParseNumber(value, row->low, row->high);
    if (!number) return Invalid(row->name, std::to_string(row->low) + " to " + std::to_string(row->high));
    settings.*row->value = static_cast<int>(*number);
    return Ok();
  }
  if (EqualNoCase(control, "decoder")) {
    if (!EqualNoCase(value, "best") && !EqualNoCase(value, "classic")) return Invalid("decoder", "best or classic");
    settings.decoder = EqualNoCase(value, "best") ? DecoderMode::kBest : DecoderMode::kClassic;
    return Ok();
  }
  if (EqualNoCase(control, "colors")) return SetColors(settings, value);
  const auto truth = Truth(value);
  if (const auto* row = Find(kSwitches, control)) {
    if (!truth) return Invalid(row->name, "TRUE or FALSE");
    settings.*row->value = *truth;
    return Ok();
  }
  if (const auto* row = Find(kOptions, control)) {
    if (truth != true) return Invalid(row->name, "TRUE, which chooses it");
    settings.trace = row->mode;
    return Ok();
  }
  return Error{ErrorCode::kNotFound, "there is no control " + OneLine(control, 40)};
}

Result<std::string> ControlValue(const SpectrumSettings& settings, std::string_view control) {
  if (EqualNoCase(control, "txtFMin")) return HertzText(settings.txtFMin);
  if (EqualNoCase(control, "txtFMax")) return HertzText(settings.txtFMax);
  if (EqualNoCase(control, "source")) return settings.source;
  if (EqualNoCase(control, "colors")) return settings.colors;
  if (EqualNoCase(control, "decoder")) return std::string(settings.decoder == DecoderMode::kBest ? "best" : "classic");
  if (const auto* row = Find(kChoices, control)) return std::to_string(settings.*row->value);
  if (const auto* row = Find(kNumbers, control)) return std::to_string(settings.*row->value);
  if (const auto* row = Find(kSwitches, control)) return TruthText(settings.*row->value);
  if (const auto* row = Find(kOptions, control)) return TruthText(settings.trace == row->mode);
  return Error{ErrorCode::kNotFound, "there is no control " + OneLine(control, 40)};
}

std::optional<NumberRange> ControlRange(std::string_view control) {
  const auto* row = Find(kNumbers, control);
  return row == nullptr ? std::nullopt : std::optional(NumberRange{row->low, row->high});
}

std::string ControlCaption(const SpectrumSettings& settings, std::string_view control) {
  if (const auto* row = Find(kToggleCaptions, control))
    return std::string(settings.*row->on ? row->when_on : row->when_off);
  if (const auto* row = Find(kLabels, control))
    return std::string(row->before) + std::to_string(settings.*row->value) + std::string(row->behind);
  return {};
}

void ApplyDecoderPreset(SpectrumSettings& settings) {
  const Preset& preset = settings.AltSetup ? kAltPreset : kPreset;
  settings.cboBins = preset.bins;
  settings.cboSRate = preset.rate;
  settings.txtFMin = preset.low;
  settings.txtFMax = preset.high;
  settings.CrossIt = 500;
  settings.CenterF = preset.center;
  settings.scrdBdiv = 5;
  settings.scrReflvl = 0;
  settings.SlowCPU = preset.slow;
  settings.Thresh = 880;
}

std::string FormatControls(const SpectrumSettings& settings) {
  std::string out;
  const auto line = [&](std::string_view name) {
    out += std::string(name) + "=" + *ControlValue(settings, name) + "\n";
  };
  for (const auto& row : kChoices) line(row.name);
  line("txtFMin");
  line("txtFMax");
  for (const auto& row : kNumbers) line(row.name);
  for (const auto& row : kOptions) line(row.name);
  for (const auto& row : kSwitches) line(row.name);
  line("colors");
  line("decoder");
  line("source");
  return out;
}

void ParseControls(std::string_view content, SpectrumSettings& settings) {
  content = WithoutByteOrderMark(content);
  while (!content.empty()) {
    const std::string_view line = TakeLine(content).text;
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos) (void)SetControl(settings, line.substr(0, equals), line.substr(equals + 1));
  }
}

std::string WithControls(std::string_view content, const SpectrumSettings& settings) {
  std::string out;
  content = WithoutByteOrderMark(content);
  for (std::size_t others = 0; !content.empty() && others < kMostOtherLines;) {
    const std::string_view line = TakeLine(content).text;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || equals == 0 || ControlValue(settings, line.substr(0, equals))) continue;
    out.append(line) += '\n';
    ++others;
  }
  return out + FormatControls(settings);
}

}  // namespace kvx::audio
