#include "sim/front_panel.h"

#include <algorithm>
#include <array>

#include "core/frequency.h"
#include "core/text.h"

namespace kvx::sim {
namespace {

using std::chrono::milliseconds;

constexpr int kAfTop = 255;
constexpr int kLongestDelayMs = 60'000;
constexpr milliseconds kPieceGap{20};
constexpr std::size_t kLongestNoise = 1000;

std::optional<bool> OnOff(std::string_view text) {
  if (EqualNoCase(text, "on")) return true;
  if (EqualNoCase(text, "off")) return false;
  return std::nullopt;
}

constexpr std::string_view kWantsOnOff = "error: on or off is wanted";

}  // namespace

struct FrontPanel::Word {
  std::string_view name;
  std::string (FrontPanel::*operation)(std::string_view);
  bool one_wire_only = false;
};

FrontPanel::FrontPanel(SimulatedDevice& device, Loop& loop, RigTraits traits, std::function<void(PanelChange)> report)
    : device_(device),
      traits_(std::move(traits)),
      report_(std::move(report)),
      meter_(loop),
      output_(loop, [this](std::string_view bytes) {
        if (device_.send) device_.send(bytes);
      }) {}

std::string FrontPanel::Operate(std::string_view command) {
  static constexpr std::array kWords{
      Word{"knob", &FrontPanel::Knob},
      Word{"mode", &FrontPanel::SetMode},
      Word{"vfo", &FrontPanel::SetVfo},
      Word{"smeter", &FrontPanel::SetMeter},
      Word{"ptt", &FrontPanel::SetTransmit},
      Word{"af", &FrontPanel::SetAf},
      Word{"state", &FrontPanel::ShowState},
      Word{"mute", &FrontPanel::SetMute},
      Word{"delay", &FrontPanel::SetDelay},
      Word{"pieces", &FrontPanel::SetPieces},
      Word{"garbage", &FrontPanel::SetGarbage},
      Word{"echo", &FrontPanel::SetEcho, true},
      Word{"transceive", &FrontPanel::SetTransceive, true},
  };
  const std::string_view trimmed = Trim(command);
  const std::string_view name = trimmed.substr(0, trimmed.find(' '));
  for (const Word& word : kWords) {
    if (!EqualNoCase(name, word.name)) continue;
    if (word.one_wire_only && !traits_.one_wire) return "error: this rig has no " + std::string(word.name);
    return (this->*word.operation)(Trim(trimmed.substr(name.size())));
  }
  return "error: unknown operation " + OneLine(name, 40);
}

std::string FrontPanel::Changed(PanelChange change) {
  if (report_ && !muted_ && state_.powered) report_(change);
  return "ok";
}

bool FrontPanel::InRange(std::int64_t hz) const {
  return std::any_of(traits_.spans.begin(), traits_.spans.end(),
                     [hz](const FrequencySpan& span) { return span.low_hz <= hz && hz <= span.high_hz; });
}

void FrontPanel::Send(std::string_view bytes) {
  if (!muted_) output_.Send(bytes);
}

void FrontPanel::Refuse(std::string_view frame) {
  ++refused_;
  if (device_.complain) device_.complain("refused: " + OneLine(frame));
}

std::string FrontPanel::Knob(std::string_view argument) {
  const auto frequency = ParseKhz(argument);
  if (!frequency) return "error: a frequency in kHz is wanted";
  const std::int64_t hz = frequency->hz() / traits_.step_hz * traits_.step_hz;
  if (!InRange(hz)) return "error: the rig does not tune there";
  state_.current().hz = hz;
  return Changed(PanelChange::kFrequency);
}

std::string FrontPanel::SetMode(std::string_view argument) {
  const auto mode = ModeByName(argument);
  if (!mode || std::find(traits_.modes.begin(), traits_.modes.end(), *mode) == traits_.modes.end()) {
    return "error: the rig has no such mode";
  }
  state_.current().mode = *mode;
  state_.current().narrow = false;
  return Changed(PanelChange::kMode);
}

std::string FrontPanel::SetVfo(std::string_view argument) {
  if (!EqualNoCase(argument, "A") && !EqualNoCase(argument, "B")) return "error: A or B is wanted";
  state_.SelectVfo(EqualNoCase(argument, "A") ? 0 : 1);
  return Changed(PanelChange::kVfo);
}

std::string FrontPanel::SetMeter(std::string_view argument) {
  if (EqualNoCase(argument, "live")) {
    meter_.Pin(std::nullopt);
    return "ok";
  }
  const auto value = ParseNumber(argument, 0, 30);
  if (!value) return "error: 0 to 30 or live is wanted";
  meter_.Pin(static_cast<int>(*value));
  return "ok";
}

std::string FrontPanel::SetTransmit(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return std::string(kWantsOnOff);
  state_.transmitting = *on;
  return Changed(PanelChange::kTransmit);
}

std::string FrontPanel::SetAf(std::string_view argument) {
  const auto value = ParseNumber(argument, 0, kAfTop);
  if (!value) return "error: 0 to 255 is wanted";
  state_.af = static_cast<int>(*value);
  return Changed(PanelChange::kAf);
}

std::string FrontPanel::SetMute(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return std::string(kWantsOnOff);
  muted_ = *on;
  if (muted_) {
    output_.Clear();
    state_.transmitting = false;
  }
  return "ok";
}

std::string FrontPanel::SetDelay(std::string_view argument) {
  const auto value = ParseNumber(argument, 0, kLongestDelayMs);
  if (!value) return "error: milliseconds up to 60000 are wanted";
  output_.set_delay(milliseconds(*value));
  return "ok";
}

std::string FrontPanel::SetPieces(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return std::string(kWantsOnOff);
  output_.set_gap(*on ? Duration(kPieceGap) : Duration{0});
  return "ok";
}

std::string FrontPanel::SetGarbage(std::string_view argument) {
  if (argument.size() > kLongestNoise) return "error: at most 1000 characters";
  output_.set_noise(FromVisible(argument));
  return "ok";
}

std::string FrontPanel::SetEcho(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return std::string(kWantsOnOff);
  echo_ = *on;
  return "ok";
}

std::string FrontPanel::SetTransceive(std::string_view argument) {
  const auto on = OnOff(argument);
  if (!on) return std::string(kWantsOnOff);
  transceive_ = *on;
  return "ok";
}

std::string FrontPanel::ShowState(std::string_view) {
  const VfoState& vfo = state_.current();
  std::string line = "ok vfo=" + std::string(state_.receive_vfo == 0 ? "A" : "B");
  line += " a=" + std::to_string(state_.vfos[0].hz) + " b=" + std::to_string(state_.vfos[1].hz);
  const auto on_off = [](bool on) { return on ? "on" : "off"; };
  line += " mode=" + std::string(ModeName(vfo.mode)) + " tx=" + on_off(state_.transmitting);
  line += " smeter=" + std::to_string(smeter()) + " af=" + std::to_string(state_.af);
  line += " refused=" + std::to_string(refused_);
  line += std::string(" narrow=") + on_off(vfo.narrow) + " split=" + on_off(state_.split());
  line += std::string(" rit=") + on_off(state_.rit_on) + " xit=" + on_off(state_.xit_on);
  line += " offset=" + std::to_string(state_.offset_hz);
  return line + " power=" + on_off(state_.powered && !muted_);
}

}  // namespace kvx::sim
