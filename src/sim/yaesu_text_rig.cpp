#include "sim/yaesu_text_rig.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::sim {
namespace {

// 1 LSB, 2 USB, 3 CW, 4 FM, 5 AM, 6 RTTY-LSB, 7 CW-R, 8 PKT-L, 9 RTTY-USB, A PKT-FM, B FM-N, C PKT-U
const std::vector<ModeCode> kModeCodes{
    {1, Mode::kLsb},        {2, Mode::kUsb},    {3, Mode::kCw},    {4, Mode::kFm},
    {5, Mode::kAm},         {6, Mode::kRtty},   {9, Mode::kRttyr}, {7, Mode::kCwr},
    {0xB, Mode::kFm, true}, {0xC, Mode::kData}, {8, Mode::kData},  {0xA, Mode::kData},
};

constexpr std::array kCommonSettings{
    StoredSetting{"AC00", 1, 0, 2, 0, "AC"}, StoredSetting{"AG1", 3, 0, 255, 100},
    StoredSetting{"AI", 1, 0, 1, 0},         StoredSetting{"AN0", 2, 10, 50, 10},
    StoredSetting{"BC0", 1, 0, 1, 0},        StoredSetting{"BC1", 1, 0, 1, 0},
    StoredSetting{"BI", 1, 0, 1, 1},         StoredSetting{"BP00", 3, 0, 1, 0},
    StoredSetting{"BP01", 3, 0, 400, 100},   StoredSetting{"BP10", 3, 0, 1, 0},
    StoredSetting{"BP11", 3, 0, 400, 100},   StoredSetting{"CS", 1, 0, 1, 0},
    StoredSetting{"CT0", 1, 0, 2, 0},        StoredSetting{"EX039", 1, 0, 9, 0},
    StoredSetting{"EX103", 1, 0, 9, 0},      StoredSetting{"FR", 1, 0, 5, 0},
    StoredSetting{"FS", 1, 0, 1, 0},         StoredSetting{"GT0", 1, 0, 4, 2},
    StoredSetting{"GT1", 1, 0, 4, 2},        StoredSetting{"KR", 1, 0, 1, 1},
    StoredSetting{"KS", 3, 4, 60, 20},       StoredSetting{"LK", 1, 0, 7, 0},
    StoredSetting{"MG", 3, 0, 255, 128},     StoredSetting{"ML0", 3, 0, 1, 0},
    StoredSetting{"ML1", 3, 0, 255, 100},    StoredSetting{"MS", 1, 0, 5, 0},
    StoredSetting{"MX", 1, 0, 1, 0},         StoredSetting{"NA0", 1, 0, 1, 0},
    StoredSetting{"NA1", 1, 0, 1, 0},        StoredSetting{"NB0", 1, 0, 2, 0},
    StoredSetting{"NB1", 1, 0, 2, 0},        StoredSetting{"NL0", 3, 0, 255, 100},
    StoredSetting{"NR0", 1, 0, 1, 0},        StoredSetting{"NR1", 1, 0, 1, 0},
    StoredSetting{"PA0", 1, 0, 3, 0},        StoredSetting{"PC", 3, 5, 200, 100},
    StoredSetting{"PL", 3, 0, 255, 50},      StoredSetting{"PR0", 1, 0, 2, 0},
    StoredSetting{"RA0", 1, 0, 3, 0},        StoredSetting{"RA1", 1, 0, 3, 0},
    StoredSetting{"RF0", 1, 0, 5, 0},        StoredSetting{"RG0", 3, 0, 255, 255},
    StoredSetting{"RG1", 3, 0, 255, 255},    StoredSetting{"RL0", 2, 1, 15, 5},
    StoredSetting{"SD", 4, 30, 3000, 300},   StoredSetting{"SH0", 2, 0, 31, 16},
    StoredSetting{"SH1", 2, 0, 31, 16},      StoredSetting{"SQ0", 3, 0, 255, 0},
    StoredSetting{"SQ1", 3, 0, 255, 0},      StoredSetting{"TS", 1, 0, 1, 0},
    StoredSetting{"VD", 4, 30, 3000, 500},   StoredSetting{"VG", 3, 0, 255, 100},
    StoredSetting{"VX", 1, 0, 1, 0},
};

// What "BSnn" goes to: 1.8, 3.5, 5, 7, 10, 14, 18, 21, 24.5, 28, 50 MHz; 05 is 14 MHz.
constexpr std::array<std::int64_t, 11> kBands{1'800'000,  3'500'000,  5'330'500,  7'000'000,  10'100'000, 14'000'000,
                                              18'068'000, 21'000'000, 24'890'000, 28'000'000, 50'000'000};
constexpr int kFarthestShift = 1000;
constexpr int kLastMemory = 117;

RigTraits TraitsOf(const YaesuTextModel& model) {
  return {
      {model.spans.begin(), model.spans.end()},
      1,
      {Mode::kLsb, Mode::kUsb, Mode::kCw, Mode::kCwr, Mode::kAm, Mode::kFm, Mode::kRtty, Mode::kRttyr, Mode::kData}};
}

TextCommands::Manner MannerOf(const YaesuTextModel& model) {
  return {model.identity, "?", model.frequency_digits, 4, 9999, std::nullopt, model.absent};
}

/// Whether one of the names, separated by blanks, begins the command.
bool Names(std::string_view names, std::string_view command) {
  const std::vector<std::string> all = Split(std::string(names), ' ');
  return std::any_of(all.begin(), all.end(),
                     [&](const std::string& name) { return !name.empty() && command.starts_with(name); });
}

/// The model's own settings, and the common ones whose name it neither has itself nor lacks.
std::vector<StoredSetting> SettingsOf(const YaesuTextModel& model) {
  std::vector<StoredSetting> settings(model.settings.begin(), model.settings.end());
  for (const StoredSetting& common : kCommonSettings) {
    const bool replaced = std::any_of(model.settings.begin(), model.settings.end(),
                                      [&](const StoredSetting& own) { return own.name.starts_with(common.name); });
    if (!replaced && !Names(model.absent, common.name)) settings.push_back(common);
  }
  return settings;
}

constexpr std::array kShortWave{FrequencySpan{30'000, 60'000'000}};
constexpr std::array kFt450Spans{FrequencySpan{30'000, 56'000'000}};
constexpr std::array kFt991Spans{FrequencySpan{30'000, 56'000'000}, FrequencySpan{118'000'000, 164'000'000},
                                 FrequencySpan{420'000'000, 470'000'000}};
constexpr std::array kFtDx101Spans{FrequencySpan{30'000, 75'000'000}};
constexpr std::array kFt450Settings{StoredSetting{"PC", 3, 0, 255, 255}, StoredSetting{"RL0", 2, 1, 11, 5},
                                    StoredSetting{"GT0", 1, 0, 4, 4}, StoredSetting{"MS", 1, 0, 3, 0}};
constexpr std::array kFt991Settings{StoredSetting{"PC", 3, 5, 100, 100},   StoredSetting{"MG", 3, 0, 100, 50},
                                    StoredSetting{"SQ0", 3, 0, 100, 0},    StoredSetting{"PL", 3, 0, 100, 50},
                                    StoredSetting{"BP01", 3, 1, 320, 100}, StoredSetting{"SH0", 2, 0, 21, 10},
                                    StoredSetting{"EX032", 1, 0, 3, 0}};
constexpr std::array kFtDx101Settings{
    StoredSetting{"PC", 3, 5, 200, 100},       StoredSetting{"MG", 3, 0, 100, 50},
    StoredSetting{"SQ0", 3, 0, 100, 0},        StoredSetting{"PL", 3, 0, 100, 50},
    StoredSetting{"BP01", 3, 1, 320, 100},     StoredSetting{"SH00", 2, 0, 23, 10, "SH0"},
    StoredSetting{"SH10", 2, 0, 23, 10, "SH1"}};

char HexDigit(int value) {
  return "0123456789ABCDEF"[value & 0xF];
}

}  // namespace

const YaesuTextModel kFtDx5000{"ID0362", 8, kShortWave, "ST VV", {}};
const YaesuTextModel kFtDx101{"ID0681", 9, kFtDx101Spans, "VV", kFtDx101Settings, 2, true, true};
const YaesuTextModel kFt991{"ID0570", 9, kFt991Spans, "VS ST FR VV", kFt991Settings, 2, false};
const YaesuTextModel kFt450{"ID0241", 8, kFt450Spans, "ST FR XT PL PR BC AB MA AM", kFt450Settings, 0, false};

YaesuTextRig::YaesuTextRig(Loop& loop, const YaesuTextModel& model)
    : model_(model),
      stored_(SettingsOf(model)),
      panel_(*this, loop, TraitsOf(model), [this](PanelChange change) { Report(change); }),
      state_(panel_.state()),
      commands_(panel_, MannerOf(model), stored_, Commands()) {
  state_.memory_channel = 1;
}

std::vector<TextCommands::Command> YaesuTextRig::Commands() {
  const auto run = [this](bool (YaesuTextRig::*command)(std::string_view)) {
    return [this, command](std::string_view data) { return (this->*command)(data); };
  };
  std::vector<TextCommands::Command> commands{
      {"VS", run(&YaesuTextRig::SelectVfo)},     {"FT", run(&YaesuTextRig::TransmitVfo)},
      {"ST", run(&YaesuTextRig::SplitSwitch)},   {"MD", run(&YaesuTextRig::SetMode)},
      {"IF", run(&YaesuTextRig::Information)},   {"OI", run(&YaesuTextRig::OtherInformation)},
      {"SM", run(&YaesuTextRig::SMeter)},        {"RM", run(&YaesuTextRig::ReadMeter)},
      {"TX", run(&YaesuTextRig::Transmit)},      {"IS", run(&YaesuTextRig::IfShift)},
      {"BS", run(&YaesuTextRig::SelectBand)},    {"AB", run(&YaesuTextRig::CopyAToB)},
      {"VV", run(&YaesuTextRig::CopyAToB)},      {"SV", run(&YaesuTextRig::SwapVfos)},
      {"MC", run(&YaesuTextRig::MemoryChannel)}, {"MA", run(&YaesuTextRig::MemoryToVfo)},
      {"AM", run(&YaesuTextRig::VfoToMemory)},
  };
  std::erase_if(commands, [this](const TextCommands::Command& command) { return Names(model_.absent, command.name); });
  return commands;
}

void YaesuTextRig::Report(PanelChange change) {
  if (commands_.settings().Get("AI") == 0) return;
  switch (change) {
    case PanelChange::kFrequency:
      commands_.Answer(commands_.FrequencyText(state_.receive_vfo));
      break;
    case PanelChange::kMode:
      commands_.Answer(ModeText(state_.receive_vfo));
      break;
    case PanelChange::kVfo:
      commands_.Answer("VS" + std::to_string(state_.receive_vfo));
      break;
    case PanelChange::kTransmit:
      commands_.Answer(state_.transmitting ? "TX2" : "TX0");
      break;
    case PanelChange::kAf:
      commands_.Answer(commands_.AfText());
      break;
  }
}

std::string YaesuTextRig::ModeText(int vfo) const {
  return "MD" + std::to_string(model_.names_vfo ? vfo : 0) + HexDigit(CodeForMode(kModeCodes, state_.vfos[vfo]));
}

// IF ccc ffffffff soooo r x m v t nn h (ffffffff: nine digits on the newest)   c = memory channel, f = Hz, o =
// clarifier with sign, r/x = clarifier of receiver and transmitter on, m = mode, v = 0 VFO 1 memory, t/n = tone, h =
// shift
std::string YaesuTextRig::InformationText(std::string_view name, int vfo) const {
  std::string text(name);
  text +=
      PadNumber(state_.memory_channel, 3) + PadNumber(state_.vfos[vfo].hz, static_cast<int>(model_.frequency_digits));
  text += state_.offset_hz < 0 ? '-' : '+';
  text += PadNumber(std::abs(state_.offset_hz), 4);
  text += state_.rit_on ? '1' : '0';
  text += state_.xit_on ? '1' : '0';
  text += HexDigit(CodeForMode(kModeCodes, state_.vfos[vfo]));
  text += state_.memory_mode ? '1' : '0';
  return text + "0000";
}

int YaesuTextRig::SMeterReading() const {
  return state_.transmitting ? 0 : panel_.smeter() * 255 / 30;
}

bool YaesuTextRig::SelectVfo(std::string_view data) {
  if (data.empty()) return commands_.Answer("VS" + std::to_string(state_.receive_vfo));
  if (data != "0" && data != "1") return false;
  state_.SelectVfo(data == "1" ? 1 : 0);
  state_.memory_mode = false;
  return true;
}

// Set with 2 (A transmits) and 3 (B transmits), on an FT-450 with 0 and 1; read back as 0 and 1.
bool YaesuTextRig::TransmitVfo(std::string_view data) {
  if (data.empty()) return commands_.Answer("FT" + std::to_string(state_.transmit_vfo));
  const auto code = FixedDigits(data, 1);
  if (!code || *code < model_.transmit_on_a || *code > model_.transmit_on_a + 1) return false;
  state_.transmit_vfo = *code - model_.transmit_on_a;
  return true;
}

// 0 off, 1 on, 2 on with the transmitter 5 kHz up.
bool YaesuTextRig::SplitSwitch(std::string_view data) {
  if (data.empty()) return commands_.Answer(state_.split() ? "ST1" : "ST0");
  if (data != "0" && data != "1" && data != "2") return false;
  state_.SetSplit(data != "0");
  if (data == "2") state_.vfos[static_cast<std::size_t>(state_.transmit_vfo)].hz = state_.current().hz + 5000;
  return true;
}

bool YaesuTextRig::SetMode(std::string_view data) {
  if (data.empty() || (data[0] != '0' && (data[0] != '1' || !model_.names_vfo))) return false;
  const int vfo = model_.names_vfo ? data[0] - '0' : state_.receive_vfo;
  if (data.size() == 1) return commands_.Answer(ModeText(vfo));
  if (data.size() != 2) return false;
  return SetModeByCode(kModeCodes, HexDigitValue(data[1]), state_.vfos[vfo]);
}

bool YaesuTextRig::Information(std::string_view data) {
  return commands_.AnswerBare(data, InformationText("IF", state_.receive_vfo));
}

bool YaesuTextRig::OtherInformation(std::string_view data) {
  return commands_.AnswerBare(data, InformationText("OI", 1 - state_.receive_vfo));
}

bool YaesuTextRig::SMeter(std::string_view data) {
  if (data != "0" && data != "1") return false;
  return commands_.Answer("SM" + std::string(data) +
                          PadNumber(data[0] - '0' == ShownReceiver() ? SMeterReading() : 0, 3));
}

// 0 what the panel's meter shows, 1 and 2 the S-meters, 3 COMP, 4 ALC, 5 PO, 6 SWR, 7 ID, 8 VDD.
bool YaesuTextRig::ReadMeter(std::string_view data) {
  const auto meter = FixedDigits(data, 1);
  if (!meter || *meter > 8) return false;
  const bool sending = state_.transmitting;
  const int power = sending ? commands_.settings().Get("PC") * 200 / 200 : 0;
  const std::array readings{sending ? power : SMeterReading(),
                            SMeterReading(),
                            0,
                            sending ? 40 : 0,
                            sending ? 90 : 0,
                            power,
                            sending ? 30 : 0,
                            sending ? 110 : 0,
                            200};
  return commands_.Answer("RM" + std::string(data) + PadNumber(readings[*meter], 3));
}

// 0 off, 1 on by CAT; answers 2 as well, on by another cause.
bool YaesuTextRig::Transmit(std::string_view data) {
  if (data.empty()) return commands_.Answer(state_.transmitting ? "TX1" : "TX0");
  if (data != "0" && data != "1") return false;
  state_.transmitting = data == "1";
  return true;
}

// IS0+1000: a sign and four digits, always.
bool YaesuTextRig::IfShift(std::string_view data) {
  if (data == "0")
    return commands_.Answer(std::string("IS0") + (if_shift_hz_ < 0 ? "-" : "+") + PadNumber(std::abs(if_shift_hz_), 4));
  if (data.size() != 6 || data[0] != '0' || (data[1] != '+' && data[1] != '-')) return false;
  const auto shift = FixedDigits(data.substr(2), 4);
  if (!shift || *shift > kFarthestShift) return false;
  if_shift_hz_ = data[1] == '-' ? -*shift : *shift;
  return true;
}

bool YaesuTextRig::SelectBand(std::string_view data) {
  const auto band = FixedDigits(data, 2);
  if (!band || *band >= static_cast<int>(kBands.size())) return false;
  state_.current().hz = kBands[*band];
  return true;
}

bool YaesuTextRig::CopyAToB(std::string_view data) {
  if (!data.empty()) return false;
  state_.vfos[1] = state_.vfos[0];
  return true;
}

bool YaesuTextRig::SwapVfos(std::string_view data) {
  if (!data.empty()) return false;
  std::swap(state_.vfos[0], state_.vfos[1]);
  return true;
}

bool YaesuTextRig::MemoryChannel(std::string_view data) {
  if (data.empty()) return commands_.Answer("MC" + PadNumber(state_.memory_channel, 3));
  const auto channel = FixedDigits(data, 3);
  if (!channel || *channel < 1 || *channel > kLastMemory) return false;
  state_.memory_channel = *channel;
  return true;
}

bool YaesuTextRig::MemoryToVfo(std::string_view data) {
  const auto memory = state_.memories.find(state_.memory_channel);
  if (!data.empty() || memory == state_.memories.end()) return false;
  state_.vfos[0] = memory->second;
  return true;
}

bool YaesuTextRig::VfoToMemory(std::string_view data) {
  if (!data.empty()) return false;
  state_.memories[state_.memory_channel] = state_.vfos[0];
  return true;
}

}  // namespace kvx::sim
