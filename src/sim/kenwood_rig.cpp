#include "sim/kenwood_rig.h"

#include <array>

#include "core/text.h"

namespace kvx::sim {
namespace {

const std::vector<ModeCode> kModeCodes{
    {1, Mode::kLsb}, {2, Mode::kUsb},  {3, Mode::kCw},  {4, Mode::kFm},
    {5, Mode::kAm},  {6, Mode::kRtty}, {7, Mode::kCwr}, {9, Mode::kRttyr},
};

constexpr std::array kSettings{
    StoredSetting{"AC", 3, 0, 111, 0},
    StoredSetting{"AG1", 3, 0, 255, 100},
    StoredSetting{"AI", 1, 0, 3, 0},
    StoredSetting{"AN", 1, 0, 2, 1},
    StoredSetting{"BC", 1, 0, 2, 0},
    StoredSetting{"BP", 3, 0, 63, 16},
    StoredSetting{"CN", 2, 1, 38, 8},
    StoredSetting{"CT", 1, 0, 1, 0},
    StoredSetting{"DC", 2, 0, 11, 0},
    StoredSetting{"FS", 1, 0, 1, 0},
    StoredSetting{"GT", 3, 0, 20, 10},
    StoredSetting{"KS", 3, 10, 60, 20},
    StoredSetting{"LK", 2, 0, 11, 0},
    StoredSetting{"MF", 1, 0, 1, 0},
    StoredSetting{"MG", 3, 0, 100, 50},
    StoredSetting{"ML", 3, 0, 9, 0},
    StoredSetting{"NB", 1, 0, 1, 0},
    StoredSetting{"NL", 3, 1, 10, 5},
    StoredSetting{"NR", 1, 0, 2, 0},
    StoredSetting{"NT", 1, 0, 1, 0},
    StoredSetting{"PA", 1, 0, 1, 0, "PA", "0"},
    StoredSetting{"PC", 3, 5, 100, 100},
    StoredSetting{"PL", 6, 0, 100'100, 50'050},
    StoredSetting{"PR", 1, 0, 1, 0},
    StoredSetting{"RA", 2, 0, 1, 0, "RA", "00"},
    StoredSetting{"RG", 3, 0, 255, 255},
    StoredSetting{"RL", 2, 0, 9, 2},
    // Satellite mode: on, channel, VFOs and so on, then a name that stays blank here.
    StoredSetting{"SA", 7, 0, 1'911'111, 0, "SA", "        "},
    StoredSetting{"SC", 1, 0, 1, 0},
    StoredSetting{"SD", 4, 0, 1000, 300},
    StoredSetting{"SH", 2, 0, 11, 7},
    StoredSetting{"SL", 2, 0, 11, 3},
    StoredSetting{"SQ0", 3, 0, 255, 0},
    StoredSetting{"SQ1", 3, 0, 255, 0},
    StoredSetting{"TN", 2, 1, 39, 8},
    StoredSetting{"TO", 1, 0, 1, 0},
    StoredSetting{"TS", 1, 0, 1, 0},
    StoredSetting{"VD", 4, 0, 3000, 500},
    StoredSetting{"VG", 3, 0, 9, 4},
    StoredSetting{"VX", 1, 0, 1, 0},
};

constexpr std::array kCwWidths{50, 80, 100, 150, 200, 300, 400, 500, 600, 1000, 2000};
constexpr std::array kFskWidths{250, 500, 1000, 1500};
constexpr int kStepHz = 10;
constexpr TextCommands::Manner kManner{"ID019", "E", 11, 5, 20'000, kStepHz};
constexpr int kFullPowerDots = 27;  // what the meter shows at 100 W

RigTraits Traits() {
  return {{{30'000, 60'000'000}, {142'000'000, 152'000'000}, {420'000'000, 450'000'000}},
          1,
          {Mode::kLsb, Mode::kUsb, Mode::kCw, Mode::kCwr, Mode::kAm, Mode::kFm, Mode::kRtty, Mode::kRttyr}};
}

// MR p bcc fffffffffff m l t nn cc ddd r s ooooooooo kk g name   one memory channel: b bank, c channel, f Hz, m mode;
// the rest (lockout, tones, DCS, reverse, shift, offset, step, group) is not kept here.
constexpr std::size_t kMemoryHead = 4;                  // p and the channel
constexpr std::size_t kMemoryFixed = kMemoryHead + 35;  // up to the name
constexpr std::size_t kLongestName = 8;

}  // namespace

KenwoodRig::KenwoodRig(Loop& loop)
    : panel_(*this, loop, Traits(), [this](PanelChange change) { Report(change); }),
      state_(panel_.state()),
      commands_(panel_, kManner, kSettings, Commands()) {}

std::vector<TextCommands::Command> KenwoodRig::Commands() {
  const auto run = [this](bool (KenwoodRig::*command)(std::string_view)) {
    return [this, command](std::string_view data) { return (this->*command)(data); };
  };
  return {
      {"FR", run(&KenwoodRig::ReceiveVfo)},  {"FT", run(&KenwoodRig::TransmitVfo)},
      {"MD", run(&KenwoodRig::SetMode)},     {"IF", run(&KenwoodRig::Information)},
      {"SM", run(&KenwoodRig::SMeter)},      {"RM", run(&KenwoodRig::SelectMeter)},
      {"TX", run(&KenwoodRig::Transmit)},    {"RX", run(&KenwoodRig::ReceiveAgain)},
      {"FW", run(&KenwoodRig::FilterWidth)}, {"UP", run(&KenwoodRig::MicUp)},
      {"DN", run(&KenwoodRig::MicDown)},     {"MC", run(&KenwoodRig::MemoryChannel)},
      {"MR", run(&KenwoodRig::MemoryRead)},  {"MW", run(&KenwoodRig::MemoryWrite)},
      {"SV", run(&KenwoodRig::MemoryToVfo)}, {"KY", run(&KenwoodRig::SendMorse)},
  };
}

// With AI1 a change that the information answer shows sends that answer; with AI2 the answer of the command that would
// have made the change goes out, and with AI3 both.
void KenwoodRig::Report(PanelChange change) {
  const int level = commands_.settings().Get("AI");
  if ((level == 1 || level == 3) && change != PanelChange::kAf) commands_.Answer(InformationText());
  if (level < 2) return;
  const std::string vfo = std::to_string(state_.receive_vfo);
  switch (change) {
    case PanelChange::kFrequency:
      commands_.Answer(commands_.FrequencyText(state_.receive_vfo));
      break;
    case PanelChange::kMode:
      commands_.Answer(ModeText());
      break;
    case PanelChange::kVfo:
      commands_.Answer("FR" + vfo);
      commands_.Answer("FT" + vfo);
      break;
    case PanelChange::kTransmit:
      commands_.Answer(state_.transmitting ? "TX0" : "RX0");
      break;
    case PanelChange::kAf:
      commands_.Answer(commands_.AfText());
      break;
  }
}

std::string KenwoodRig::ModeText() const {
  return "MD" + std::to_string(CodeForMode(kModeCodes, state_.current()));
}

// IF fffffffffff kkkk sooooo r x b cc t m v s p n ee h   f = Hz, k = step, o = RIT/XIT offset with sign, r/x = RIT/XIT
// on, b/c = memory bank and channel, t = transmitting, m = mode, v = VFO, p = split
std::string KenwoodRig::InformationText() const {
  const VfoState& vfo = state_.current();
  std::string text = "IF" + PadNumber(vfo.hz, 11) + "0000";
  text += state_.offset_hz < 0 ? '-' : '+';
  text += PadNumber(std::abs(state_.offset_hz), 5);
  text += state_.rit_on ? '1' : '0';
  text += state_.xit_on ? '1' : '0';
  text += PadNumber(state_.memory_channel, 3);
  text += state_.transmitting ? '1' : '0';
  text += std::to_string(CodeForMode(kModeCodes, vfo));
  text += state_.memory_mode ? '2' : static_cast<char>('0' + state_.receive_vfo);
  text += commands_.settings().Get("SC") == 1 ? '1' : '0';
  text += state_.split() ? '1' : '0';
  return text + "0" + PadNumber(commands_.settings().Get("TN"), 2) + "0";
}

int KenwoodRig::Meter() const {
  if (!state_.transmitting) return panel_.smeter();
  return commands_.settings().Get("PC") * kFullPowerDots / 100;
}

bool KenwoodRig::ReceiveVfo(std::string_view data) {
  if (data.empty()) return commands_.Answer("FR" + std::to_string(state_.memory_mode ? 2 : state_.receive_vfo));
  const auto vfo = FixedDigits(data, 1);
  if (!vfo || *vfo > 2) return false;
  state_.memory_mode = *vfo == 2;
  if (*vfo < 2) state_.SelectVfo(*vfo);
  return true;
}

bool KenwoodRig::TransmitVfo(std::string_view data) {
  if (data.empty()) return commands_.Answer("FT" + std::to_string(state_.memory_mode ? 2 : state_.transmit_vfo));
  const auto vfo = FixedDigits(data, 1);
  if (!vfo || *vfo > 1) return false;
  state_.transmit_vfo = *vfo;
  return true;
}

bool KenwoodRig::SetMode(std::string_view data) {
  if (data.empty()) return commands_.Answer(ModeText());
  const auto code = FixedDigits(data, 1);
  return code && SetModeByCode(kModeCodes, *code, state_.current());
}

bool KenwoodRig::Information(std::string_view data) {
  return commands_.AnswerBare(data, InformationText());
}

bool KenwoodRig::SMeter(std::string_view data) {
  if (data != "0" && data != "1") return false;
  return commands_.Answer("SM" + std::string(data) + PadNumber(data == "0" ? Meter() : 0, 4));
}

bool KenwoodRig::SelectMeter(std::string_view data) {
  if (data.empty()) {
    constexpr std::array kTransmitReadings{0, 3, 5, 8};  // none, SWR 1.3 or so, COMP, ALC in its zone
    return commands_.Answer("RM" + std::to_string(meter_) +
                            PadNumber(state_.transmitting ? kTransmitReadings[meter_] : 0, 4));
  }
  const auto meter = FixedDigits(data, 1);
  if (!meter || *meter > 3) return false;
  meter_ = *meter;
  return true;
}

bool KenwoodRig::Transmit(std::string_view data) {
  if (!data.empty() && data != "0" && data != "1") return false;
  state_.transmitting = true;
  return true;
}

bool KenwoodRig::ReceiveAgain(std::string_view data) {
  if (!data.empty() && data != "0" && data != "1") return false;
  state_.transmitting = false;
  return true;
}

// A width between two of the filters takes the narrower one; SSB has low and high cut instead (SL, SH).
bool KenwoodRig::FilterWidth(std::string_view data) {
  VfoState& vfo = state_.current();
  const bool cw = vfo.mode == Mode::kCw || vfo.mode == Mode::kCwr;
  const bool fsk = vfo.mode == Mode::kRtty || vfo.mode == Mode::kRttyr;
  const bool wide_or_narrow = vfo.mode == Mode::kFm || vfo.mode == Mode::kAm;
  if (!cw && !fsk && !wide_or_narrow) return false;
  if (data.empty()) return commands_.Answer("FW" + PadNumber(wide_or_narrow ? (vfo.narrow ? 0 : 1) : width_, 4));
  const auto width = FixedDigits(data, 4);
  if (!width) return false;
  if (wide_or_narrow) {
    vfo.narrow = *width == 0;
    return true;
  }
  const std::span<const int> widths = cw ? std::span<const int>(kCwWidths) : std::span<const int>(kFskWidths);
  width_ = widths.front();
  for (const int step : widths) {
    if (step <= *width) width_ = step;
  }
  return true;
}

bool KenwoodRig::Step(std::string_view data, int direction) {
  const std::int64_t hz = state_.current().hz + direction * kStepHz;
  if (!data.empty() || !panel_.InRange(hz)) return false;
  state_.current().hz = hz;
  return true;
}

// The bank digit may be a blank, for bank 0.
bool KenwoodRig::MemoryChannel(std::string_view data) {
  if (data.empty()) return commands_.Answer("MC" + PadNumber(state_.memory_channel, 3));
  const auto channel = FixedDigits(ReplaceAll(std::string(data), " ", "0"), 3);
  if (!channel || *channel > 299) return false;
  state_.memory_channel = *channel;
  return true;
}

bool KenwoodRig::MemoryRead(std::string_view data) {
  if (data.size() != kMemoryHead || (data[0] != '0' && data[0] != '1')) return false;
  const auto channel = FixedDigits(ReplaceAll(std::string(data.substr(1)), " ", "0"), 3);
  if (!channel || *channel > 299) return false;
  const auto found = state_.memories.find(*channel);
  const VfoState memory = found == state_.memories.end() ? VfoState{0, Mode::kLsb} : found->second;
  const std::string mode = memory.hz == 0 ? "0" : std::to_string(CodeForMode(kModeCodes, memory));
  return commands_.Answer("MR" + std::string(1, data[0]) + PadNumber(*channel, 3) + PadNumber(memory.hz, 11) + mode +
                          "00" + "08" + "08" + "000" + "00" + "000000000" + "00" + "0");
}

bool KenwoodRig::MemoryWrite(std::string_view data) {
  if (data.size() < kMemoryFixed || data.size() > kMemoryFixed + kLongestName) return false;
  const auto channel = FixedDigits(ReplaceAll(std::string(data.substr(1, 3)), " ", "0"), 3);
  const std::string_view hz = data.substr(kMemoryHead, 11);
  const std::string_view rest = data.substr(kMemoryHead + 11, kMemoryFixed - kMemoryHead - 11);
  VfoState memory;
  memory.hz = LeadingNumber(hz);
  if (!channel || *channel > 299 || !panel_.InRange(memory.hz)) return false;
  if ((std::string(hz) + std::string(rest)).find_first_not_of("0123456789") != std::string::npos) return false;
  if (!SetModeByCode(kModeCodes, rest[0] - '0', memory)) return false;
  state_.memories[*channel] = memory;
  return true;
}

bool KenwoodRig::MemoryToVfo(std::string_view data) {
  const auto memory = state_.memories.find(state_.memory_channel);
  if (!data.empty() || !state_.memory_mode || memory == state_.memories.end()) return false;
  state_.current() = memory->second;
  state_.memory_mode = false;
  return true;
}

// KY and one blank, then 24 characters; the buffer always has room here.
bool KenwoodRig::SendMorse(std::string_view data) {
  if (data.empty()) return commands_.Answer("KY0");
  return data.size() == 25 && data[0] == ' ';
}

}  // namespace kvx::sim
