#include "sim/text_commands.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "core/text.h"

namespace kvx::sim {
namespace {

bool IsDigits(std::string_view text) {
  return text.find_first_not_of("0123456789") == text.npos;
}

}  // namespace

TextCommands::TextCommands(FrontPanel& panel, const Manner& manner, std::span<const StoredSetting> stored,
                           std::vector<Command> own)
    : panel_(panel), state_(panel.state()), manner_(manner), settings_(stored), commands_(std::move(own)) {
  AddShared();
}

void TextCommands::AddShared() {
  const std::initializer_list<Command> shared{
      {"FA", [this](std::string_view data) { return Frequency(0, data); }},
      {"FB", [this](std::string_view data) { return Frequency(1, data); }},
      {"ID", [this](std::string_view data) { return AnswerBare(data, manner_.identity); }},
      {"RT", [this](std::string_view data) { return Switch("RT", state_.rit_on, data); }},
      {"XT", [this](std::string_view data) { return Switch("XT", state_.xit_on, data); }},
      {"RC", [this](std::string_view data) { return ClearOffset(data); }},
      {"RU", [this](std::string_view data) { return MoveOffset(data, +1); }},
      {"RD", [this](std::string_view data) { return MoveOffset(data, -1); }},
      {"AG", [this](std::string_view data) { return AfGain(data); }},
      {"PS", [this](std::string_view data) { return Power(data); }},
  };
  const std::vector<std::string> absent = Split(manner_.absent, ' ');
  std::copy_if(shared.begin(), shared.end(), std::back_inserter(commands_), [&](const Command& command) {
    return std::find(absent.begin(), absent.end(), command.name) == absent.end();
  });
}

void TextCommands::Receive(std::string_view bytes) {
  if (!panel_.listening()) return;
  for (const char byte : bytes) {
    const auto command = line_.Take(byte);
    if (!command) continue;
    if (command->overrun) {
      panel_.Refuse(command->text);
      Answer(manner_.overrun);
    } else {
      Execute(command->text);
    }
  }
}

void TextCommands::Execute(const std::string& command) {
  const std::string upper = command.starts_with("KY") ? command : Upper(command);  // KY: text for the keyer
  if (!state_.powered && upper != "PS1") return;
  for (const Command& known : commands_) {
    if (!upper.starts_with(known.name)) continue;
    if (known.run(std::string_view(upper).substr(known.name.size()))) return;
  }
  if (const auto answer = settings_.Answer(upper)) {
    Answer(*answer);
    return;
  }
  if (settings_.Store(upper) == StoredSettings::Outcome::kStored) return;
  panel_.Refuse(command + ";");
  Answer("?");
}

bool TextCommands::Answer(std::string_view text) {
  panel_.Send(std::string(text) + ";");
  return true;
}

bool TextCommands::Switch(std::string_view name, bool& value, std::string_view data) {
  if (data.empty()) return Answer(std::string(name) + (value ? "1" : "0"));
  if (data != "0" && data != "1") return false;
  value = data == "1";
  return true;
}

std::string TextCommands::FrequencyText(int vfo) const {
  return (vfo == 0 ? "FA" : "FB") + PadNumber(state_.vfos[vfo].hz, static_cast<int>(manner_.frequency_digits));
}

std::string TextCommands::AfText() const {
  return "AG0" + PadNumber(state_.af, 3);
}

bool TextCommands::Frequency(int vfo, std::string_view data) {
  if (data.empty()) return Answer(FrequencyText(vfo));
  if (data.size() != manner_.frequency_digits || !IsDigits(data) || !panel_.InRange(LeadingNumber(data))) return false;
  state_.vfos[vfo].hz = LeadingNumber(data);
  return true;
}

bool TextCommands::ClearOffset(std::string_view data) {
  if (!data.empty()) return false;
  state_.offset_hz = 0;
  return true;
}

bool TextCommands::MoveOffset(std::string_view data, int direction) {
  const auto by = data.empty() ? manner_.offset_step_hz : FixedDigits(data, manner_.offset_digits);
  if (!by) return false;
  const int farthest = manner_.farthest_offset_hz;
  state_.offset_hz = std::clamp(state_.offset_hz + direction * *by, -farthest, farthest);
  return true;
}

bool TextCommands::AfGain(std::string_view data) {
  if (data == "0") return Answer(AfText());
  const auto gain = data.starts_with("0") ? FixedDigits(data.substr(1), 3) : std::nullopt;
  if (!gain || *gain > 255) return false;
  state_.af = *gain;
  return true;
}

bool TextCommands::Power(std::string_view data) {
  if (data == "0") state_.transmitting = false;
  return Switch("PS", state_.powered, data);
}

}  // namespace kvx::sim
