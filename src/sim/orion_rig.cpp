#include "sim/orion_rig.h"

#include <algorithm>
#include <array>

#include "core/text.h"
#include "sim/bcd.h"
#include "sim/text_line.h"

namespace kvx::sim {
namespace {

const std::vector<ModeCode> kModeCodes{{0, Mode::kUsb}, {1, Mode::kLsb}, {2, Mode::kCw},  {3, Mode::kCwr},
                                       {4, Mode::kAm},  {5, Mode::kFm},  {6, Mode::kRtty}};

// RM is the main receiver, RS the sub receiver, T the transmitter, C the keyer, U the volumes.
constexpr std::array kSettings{
    StoredSetting{"RMF", 0, 100, 6000, 500},  StoredSetting{"RSF", 0, 100, 6000, 2400},
    StoredSetting{"RMP", 0, -8000, 8000, 0},  StoredSetting{"RSP", 0, -8000, 8000, 0},
    StoredSetting{"RMG", 0, 0, 100, 100},     StoredSetting{"RSG", 0, 0, 100, 100},
    StoredSetting{"RMT", 0, 0, 3, 0},         StoredSetting{"RST", 0, 0, 3, 0},
    StoredSetting{"RMS", 0, -127, 127, -127}, StoredSetting{"RSS", 0, -127, 127, -127},
    StoredSetting{"RMI", 0, 1, 100'000, 10},  StoredSetting{"RSI", 0, 1, 100'000, 10},
    StoredSetting{"RME", 0, 0, 1, 0},         StoredSetting{"RSM", 0, 0, 6, 0},
    StoredSetting{"RMNB", 0, 0, 9, 0},        StoredSetting{"RSNB", 0, 0, 9, 0},
    StoredSetting{"RMNR", 0, 0, 9, 0},        StoredSetting{"RSNR", 0, 0, 9, 0},
    StoredSetting{"RMNN", 0, 0, 9, 0},        StoredSetting{"RSNN", 0, 0, 9, 0},
    StoredSetting{"RMNA", 0, 0, 9, 0},        StoredSetting{"RSNA", 0, 0, 9, 0},
    StoredSetting{"TP", 0, 0, 100, 100},      StoredSetting{"TM", 0, 0, 100, 50},
    StoredSetting{"TS", 0, 0, 9, 0},          StoredSetting{"TG", 0, 0, 100, 50},
    StoredSetting{"TA", 0, 0, 100, 50},       StoredSetting{"TV", 0, 0, 1, 0},
    StoredSetting{"TT", 0, 0, 1, 0},          StoredSetting{"TF", 0, 900, 3900, 2700},
    StoredSetting{"CS", 0, 10, 60, 20},       StoredSetting{"CT", 0, 300, 1200, 600},
    StoredSetting{"CK", 0, 0, 1, 1},          StoredSetting{"US", 0, 0, 255, 100},
};

constexpr std::size_t kLongestLine = 32;
constexpr std::size_t kBinaryLength = 6;  // "*A" and four bytes
constexpr int kFarthestOffset = 10'000;
constexpr int kLastMemory = 199;
constexpr std::string_view kAgcLetters = "OFMSP";

RigTraits Traits() {
  return {
      {{100'000, 30'000'000}}, 1, {Mode::kLsb, Mode::kUsb, Mode::kCw, Mode::kCwr, Mode::kAm, Mode::kFm, Mode::kRtty}};
}

/// The binary form is told from the text form by its third byte: below 64 MHz its high byte is at most 3.
bool IsBinary(std::string_view line) {
  return line.size() > 2 && line[0] == '*' && (line[1] == 'A' || line[1] == 'B') && ByteAt(line, 2) <= 3;
}

char VfoLetter(int vfo) {
  return vfo == 0 ? 'A' : 'B';
}

std::optional<int> SignedNumber(std::string_view text) {
  const bool negative = text.starts_with("-");
  if (text.starts_with("-") || text.starts_with("+")) text.remove_prefix(1);
  const auto number = FixedDigits(text, text.size());
  if (!number) return std::nullopt;
  return negative ? -*number : *number;
}

}  // namespace

struct OrionRig::Handler {
  std::string_view name;
  bool (OrionRig::*run)(std::string_view);
};

OrionRig::OrionRig(Loop& loop) : panel_(*this, loop, Traits(), nullptr), state_(panel_.state()), settings_(kSettings) {}

void OrionRig::Receive(std::string_view bytes) {
  if (!panel_.listening()) return;
  for (const char byte : bytes) Take(byte);
}

// A carriage return may stand among the four bytes of a binary frequency, so that form goes by its length.
void OrionRig::Take(char byte) {
  const bool inside_binary = IsBinary(line_) && line_.size() < kBinaryLength;
  if (byte != '\r' || inside_binary) {
    if (line_.size() < kLongestLine) {
      line_ += byte;
    } else {
      overrun_ = true;
    }
    return;
  }
  const std::string command = std::exchange(line_, {});
  if (std::exchange(overrun_, false)) {
    panel_.Refuse(command);
    Answer("Z!");
  } else {
    Execute(command);
  }
}

void OrionRig::Execute(const std::string& command) {
  if (command.empty()) return;
  bool done = false;
  if (command == "XX" || command == "X") {
    Answer("ORION START");
    done = true;
  } else if (command[0] == '/') {
    done = command.size() <= 2;  // a character for the keyer
  } else if (command[0] == '*') {
    done = Set(command.substr(1));
  } else if (command[0] == '?') {
    done = Ask(command.substr(1));
  }
  if (done) return;
  panel_.Refuse(command);
  Answer("Z!");
}

bool OrionRig::Set(const std::string& command) {
  static constexpr std::array kHandlers{
      Handler{"AF", &OrionRig::FrequencyA},     Handler{"BF", &OrionRig::FrequencyB},
      Handler{"AS", &OrionRig::StepA},          Handler{"BS", &OrionRig::StepB},
      Handler{"AL", &OrionRig::Lock},           Handler{"BL", &OrionRig::Lock},
      Handler{"AU", &OrionRig::Unlock},         Handler{"BU", &OrionRig::Unlock},
      Handler{"RMM", &OrionRig::SetMode},       Handler{"RMA", &OrionRig::Agc},
      Handler{"RSA", &OrionRig::Agc},           Handler{"KV", &OrionRig::AssignVfos},
      Handler{"KA", &OrionRig::AssignAntennas}, Handler{"KM", &OrionRig::FocusMain},
      Handler{"KS", &OrionRig::FocusSub},       Handler{"KR", &OrionRig::RecallMemory},
      Handler{"KW", &OrionRig::WriteMemory},    Handler{"RMR", &OrionRig::Rit},
      Handler{"RMX", &OrionRig::Xit},           Handler{"UM", &OrionRig::AfGain},
      Handler{"TK", &OrionRig::Transmit},       Handler{"TU", &OrionRig::ReceiveAgain},
      Handler{"TTT", &OrionRig::StartTuner},
  };
  if (IsBinary("*" + command)) return BinaryFrequency(command[0] == 'A' ? 0 : 1, std::string_view(command).substr(1));
  for (const Handler& handler : kHandlers) {
    if (!command.starts_with(handler.name)) continue;
    return (this->*handler.run)(std::string_view(command).substr(handler.name.size()));
  }
  return settings_.Store(command) == StoredSettings::Outcome::kStored;
}

bool OrionRig::Ask(const std::string& query) {
  const auto frequency = [this](int vfo) { return PadNumber(state_.vfos[vfo].hz, 8); };
  const auto binary = [this](int vfo) {
    std::string text(1, VfoLetter(vfo));
    for (const int shift : {24, 16, 8, 0}) text += static_cast<char>(state_.vfos[vfo].hz >> shift & 0xFF);
    return text;
  };
  std::string answer;
  if (query == "AF") answer = "AF" + frequency(0);
  if (query == "BF") answer = "BF" + frequency(1);
  if (query == "A" || query == "B") answer = binary(query == "A" ? 0 : 1);
  if (query == "AU" || query == "BU") answer = query.substr(0, 1) + (state_.locked ? "L" : "U");
  if (query == "RMM") answer = "RMM" + std::to_string(CodeForMode(kModeCodes, state_.current()));
  if (query == "RMA" || query == "RSA") answer = query + agc_;
  if (query == "RMR") answer = "RMR" + std::to_string(state_.rit_on ? state_.offset_hz : 0);
  if (query == "RMX") answer = "RMX" + std::to_string(state_.xit_on ? state_.offset_hz : 0);
  if (query == "KV") {
    answer = std::string("KV") + VfoLetter(state_.receive_vfo) + sub_vfo_ + VfoLetter(state_.transmit_vfo);
  }
  if (query == "KA") answer = "KA" + antennas_;
  if (query == "UM") answer = "UM" + std::to_string(state_.af);
  // F forward and R reflected watts, S 256 times the SWR; or the S-meters of both receivers.
  if (query == "S" && state_.transmitting) answer = "STF" + PadNumber(settings_.Get("TP"), 3) + "R002S340";
  if (query == "S" && !state_.transmitting) answer = "SRM" + PadNumber(ScaleMeter(panel_.smeter(), 47, 77), 3) + "S000";
  if (query == "V") {
    Answer("Version 1.372");
    return true;
  }
  if (answer.empty()) answer = settings_.Answer(query).value_or("");
  if (answer.empty()) return false;
  Answer("@" + answer);
  return true;
}

void OrionRig::Answer(std::string_view text) {
  panel_.Send(std::string(text) + "\r");
}

bool OrionRig::SetFrequency(int vfo, std::string_view data) {
  const auto hz = data.size() <= 8 ? FixedDigits(data, data.size()) : std::nullopt;
  if (!hz || !panel_.InRange(*hz)) return false;
  state_.vfos[vfo].hz = *hz;
  return true;
}

bool OrionRig::BinaryFrequency(int vfo, std::string_view data) {
  if (data.size() != 4) return false;
  std::int64_t hz = 0;
  for (std::size_t i = 0; i < data.size(); ++i) hz = hz << 8 | ByteAt(data, i);
  if (!panel_.InRange(hz)) return false;
  state_.vfos[vfo].hz = hz;
  return true;
}

// *AS+1 and *AS-1: so many tuning steps up or down.
bool OrionRig::Step(int vfo, std::string_view data) {
  const auto steps = SignedNumber(data);
  if (!steps || data.size() < 2 || (data[0] != '+' && data[0] != '-')) return false;
  const std::int64_t hz = state_.vfos[vfo].hz + std::int64_t{*steps} * settings_.Get("RMI");
  if (!panel_.InRange(hz)) return false;
  state_.vfos[vfo].hz = hz;
  return true;
}

bool OrionRig::Lock(std::string_view data) {
  state_.locked = data.empty() || state_.locked;
  return data.empty();
}

bool OrionRig::Unlock(std::string_view data) {
  state_.locked = !data.empty() && state_.locked;
  return data.empty();
}

bool OrionRig::SetMode(std::string_view data) {
  const auto code = FixedDigits(data, 1);
  return code && SetModeByCode(kModeCodes, *code, state_.current());
}

// Off, Fast, Medium, Slow, Programmed.
bool OrionRig::Agc(std::string_view data) {
  if (data.size() != 1 || kAgcLetters.find(data[0]) == kAgcLetters.npos) return false;
  agc_ = data[0];
  return true;
}

// *KVANB: the main receiver is on A, the sub receiver on none, the transmitter on B.
bool OrionRig::AssignVfos(std::string_view data) {
  constexpr std::string_view kLetters = "ABN";
  if (data.size() != 3 || data.find_first_not_of(kLetters) != data.npos || data[0] == 'N' || data[2] == 'N')
    return false;
  state_.receive_vfo = data[0] - 'A';
  sub_vfo_ = data[1];
  state_.transmit_vfo = data[2] - 'A';
  return true;
}

// What is on each of the three antennas: Main, Sub, Both or None.
bool OrionRig::AssignAntennas(std::string_view data) {
  if (data.size() != 3 || data.find_first_not_of("MSBN") != data.npos) return false;
  antennas_ = data;
  return true;
}

bool OrionRig::FocusMain(std::string_view data) {
  return data.empty();
}
bool OrionRig::FocusSub(std::string_view data) {
  return data.empty();
}

// *KRA17: memory 17 to VFO A.
bool OrionRig::RecallMemory(std::string_view data) {
  const auto channel = data.size() > 1 ? FixedDigits(data.substr(1), data.size() - 1) : std::nullopt;
  if (!channel || *channel > kLastMemory || (data[0] != 'A' && data[0] != 'B')) return false;
  const auto memory = state_.memories.find(*channel);
  if (memory != state_.memories.end()) state_.vfos[data[0] - 'A'] = memory->second;
  return true;
}

bool OrionRig::WriteMemory(std::string_view data) {
  const auto channel = data.size() > 1 ? FixedDigits(data.substr(1), data.size() - 1) : std::nullopt;
  if (!channel || *channel > kLastMemory || (data[0] != 'A' && data[0] != 'B')) return false;
  state_.memories[*channel] = state_.vfos[data[0] - 'A'];
  return true;
}

bool OrionRig::Rit(std::string_view data) {
  return Offset(data, state_.rit_on);
}
bool OrionRig::Xit(std::string_view data) {
  return Offset(data, state_.xit_on);
}

// Any offset but zero switches it on.
bool OrionRig::Offset(std::string_view data, bool& on) {
  const auto offset = SignedNumber(data);
  if (!offset || std::abs(*offset) > kFarthestOffset) return false;
  state_.offset_hz = *offset;
  on = *offset != 0;
  return true;
}

bool OrionRig::AfGain(std::string_view data) {
  const auto gain = FixedDigits(data, data.size());
  if (!gain || *gain > 255) return false;
  state_.af = *gain;
  return true;
}

bool OrionRig::Transmit(std::string_view data) {
  if (!data.empty()) return false;
  state_.transmitting = true;
  return true;
}

bool OrionRig::ReceiveAgain(std::string_view data) {
  if (!data.empty()) return false;
  state_.transmitting = false;
  return true;
}

bool OrionRig::StartTuner(std::string_view data) {
  return data.empty();
}

}  // namespace kvx::sim
