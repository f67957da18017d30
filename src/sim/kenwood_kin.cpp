#include "sim/kenwood_kin.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::sim {
namespace {

constexpr int kStepHz = 10;
constexpr std::size_t kLongestMorse = 25;  // a blank and 24 characters
constexpr int kPanelFullScale = 30;        // what the panel's S-meter says at S9+60

RigTraits Traits(const KenwoodModel& model) {
  RigTraits traits;
  traits.spans.assign(model.spans.begin(), model.spans.end());
  for (const ModeCode& row : model.modes) traits.modes.push_back(row.mode);
  return traits;
}

bool IsOneOf(std::string_view names, std::string_view name) {
  const std::vector<std::string> words = Split(names, ' ');
  return std::find(words.begin(), words.end(), name) != words.end();
}

}  // namespace

KenwoodKin::KenwoodKin(Loop& loop, const KenwoodModel& model)
    : model_(model),
      modes_(model.modes.begin(), model.modes.end()),
      status_modes_(model.status_modes.empty() ? modes_
                                               : std::vector(model.status_modes.begin(), model.status_modes.end())),
      panel_(*this, loop, Traits(model), nullptr),
      state_(panel_.state()),
      commands_(panel_, model.manner, model.settings, Commands()) {}

std::vector<TextCommands::Command> KenwoodKin::Commands() {
  using Data = std::string_view;
  std::vector<TextCommands::Command> commands{
      {"FN", [this](Data data) { return Function(data); }},
      {"FR", [this](Data data) { return ReceiveVfo(data); }},
      {"FT", [this](Data data) { return TransmitVfo(data); }},
      {"SP", [this](Data data) { return Split("SP", data); }},
      {"TB", [this](Data data) { return Split("TB", data); }},
      {"ZZSP", [this](Data data) { return Split("ZZSP", data); }},
      {"MD", [this](Data data) { return SetMode("MD", 1, data); }},
      {"OM0", [this](Data data) { return SetMode("OM0", 1, data); }},
      {"OM", [this](Data data) { return commands_.AnswerBare(data, "OM AP----------"); }},
      {"RVM", [this](Data data) { return commands_.AnswerBare(data, "RVM05.67"); }},
      {"ZZMD", [this](Data data) { return SetMode("ZZMD", 2, data); }},
      {"ZZFA", [this](Data data) { return WideFrequency(0, data); }},
      {"ZZFB", [this](Data data) { return WideFrequency(1, data); }},
      {"IF", [this](Data data) { return Information(data); }},
      {"TX", [this](Data data) { return Key(data, true); }},
      {"RX", [this](Data data) { return Key(data, false); }},
      {"RM", [this](Data data) { return TransmitMeters(data); }},
      {"VV", [this](Data data) { return CopyVfo(data); }},
      {"EC", [this](Data data) { return SwapVfos(data); }},
      {"SWT11", [this](Data data) { return SwapVfos(data); }},
      {"UP", [this](Data data) { return Step(data, +1); }},
      {"DN", [this](Data data) { return Step(data, -1); }},
      {"ZZTX", [this](Data data) { return KeyBySwitch(data); }},
      {"KY", [this](Data data) { return SendMorse(data); }},
  };
  std::erase_if(commands, [this](const TextCommands::Command& command) { return !IsOneOf(model_.own, command.name); });
  if (!model_.meter.empty()) commands.push_back({model_.meter, [this](Data data) { return Meter(data); }});
  return commands;
}

// The usual IF: f (11) blanks (5) offset (5) RIT XIT memory (3) TX mode VFO scan split tone (3) 0; the short one of the
// TS-440: f (11) blanks (5) offset (4, 10 Hz) 0 RIT XIT blank memory (2) TX mode function scan split blanks (4).
std::string KenwoodKin::InformationText() const {
  const bool is_short = model_.status == KenwoodModel::Status::kShort;
  const VfoState& vfo = state_.current();
  std::string text = "IF" + PadNumber(vfo.hz, 11) + "     ";
  text += state_.offset_hz < 0 ? '-' : '+';
  text += is_short ? PadNumber(std::abs(state_.offset_hz) / 10, 3) + "0" : PadNumber(std::abs(state_.offset_hz), 4);
  text += state_.rit_on ? '1' : '0';
  text += state_.xit_on ? '1' : '0';
  text += " 00";
  text += state_.transmitting ? '1' : '0';
  text += std::to_string(CodeForMode(status_modes_, vfo));
  text += static_cast<char>('0' + state_.receive_vfo);
  text += '0';
  text += state_.split() ? '1' : '0';
  return text + (is_short ? "    " : "0000");
}

bool KenwoodKin::Function(std::string_view data) {
  const auto vfo = FixedDigits(data, 1);
  if (!vfo || *vfo > 1) return false;
  state_.SelectVfo(*vfo);
  return true;
}

bool KenwoodKin::ReceiveVfo(std::string_view data) {
  if (data.empty()) return commands_.Answer("FR" + std::to_string(state_.receive_vfo));
  const auto vfo = FixedDigits(data, 1);
  if (!vfo || *vfo > 1) return false;
  state_.SelectVfo(*vfo);
  return true;
}

bool KenwoodKin::TransmitVfo(std::string_view data) {
  if (data.empty()) return commands_.Answer("FT" + std::to_string(state_.transmit_vfo));
  const auto vfo = FixedDigits(data, 1);
  if (!vfo || *vfo > 1) return false;
  state_.transmit_vfo = *vfo;
  return true;
}

bool KenwoodKin::Split(std::string_view name, std::string_view data) {
  bool split = state_.split();
  if (!commands_.Switch(name, split, data)) return false;
  state_.SetSplit(split);
  return true;
}

bool KenwoodKin::SetMode(std::string_view name, std::size_t digits, std::string_view data) {
  if (data.empty()) {
    return commands_.Answer(std::string(name) +
                            PadNumber(CodeForMode(modes_, state_.current()), static_cast<int>(digits)));
  }
  const auto code = FixedDigits(data, digits);
  return code && SetModeByCode(modes_, *code, state_.current());
}

bool KenwoodKin::Information(std::string_view data) {
  return commands_.AnswerBare(data, InformationText());
}

bool KenwoodKin::Meter(std::string_view data) {
  const int value = state_.transmitting ? 0 : panel_.smeter() * model_.meter_full_scale / kPanelFullScale;
  return commands_.AnswerBare(data, std::string(model_.meter) + PadNumber(value, model_.meter_digits));
}

bool KenwoodKin::Key(std::string_view data, bool on) {
  if (!data.empty() && data != "0" && data != "1") return false;
  state_.transmitting = on;
  return true;
}

bool KenwoodKin::KeyBySwitch(std::string_view data) {
  return commands_.Switch("ZZTX", state_.transmitting, data);
}

/// Chooses SWR, COMP or ALC; the answer tells all three, which rest while nothing is transmitted.
bool KenwoodKin::TransmitMeters(std::string_view data) {
  if (data.empty()) {
    for (const char meter : {'1', '2', '3'})
      commands_.Answer(std::string("RM") + meter + (state_.transmitting ? "0004" : "0000"));
    return true;
  }
  const auto meter = FixedDigits(data, 1);
  return meter && *meter >= 1 && *meter <= 3;
}

bool KenwoodKin::CopyVfo(std::string_view data) {
  if (!data.empty()) return false;
  state_.vfos[static_cast<std::size_t>(1 - state_.receive_vfo)] = state_.current();
  return true;
}

bool KenwoodKin::SwapVfos(std::string_view data) {
  if (!data.empty()) return false;
  std::swap(state_.vfos[0], state_.vfos[1]);
  return true;
}

bool KenwoodKin::Step(std::string_view data, int direction) {
  const std::int64_t hz = state_.current().hz + direction * kStepHz;
  if (!data.empty() || !panel_.InRange(hz)) return false;
  state_.current().hz = hz;
  return true;
}

bool KenwoodKin::WideFrequency(int vfo, std::string_view data) {
  if (data.empty()) return commands_.Answer("ZZ" + commands_.FrequencyText(vfo));
  if (data.size() != 11 || !AllDigits(data) || !panel_.InRange(LeadingNumber(data))) return false;
  state_.vfos[static_cast<std::size_t>(vfo)].hz = LeadingNumber(data);
  return true;
}

bool KenwoodKin::SendMorse(std::string_view data) {
  if (data.empty()) return commands_.Answer("KY0");
  return data.size() <= kLongestMorse && data[0] == ' ';
}

}  // namespace kvx::sim
