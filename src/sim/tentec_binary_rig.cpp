#include "sim/tentec_binary_rig.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "core/hex_text.h"
#include "core/text.h"
#include "sim/bcd.h"

namespace kvx::sim {
namespace {

using namespace std::string_view_literals;

const std::vector<ModeCode> kModeCodes{{'0', Mode::kAm}, {'1', Mode::kUsb}, {'2', Mode::kLsb},
                                       {'3', Mode::kCw}, {'4', Mode::kFm},  {'5', Mode::kCwr}};
constexpr std::size_t kLongestLine = 64;
constexpr int kUnitsAtNine = 9;
constexpr int kMostOverNine = 60;  // dB

/// How many bytes follow the name of a set command.
struct DataLength {
  std::string_view name;
  std::size_t bytes;
};
constexpr std::array kLengths{
    DataLength{"*A", 4}, DataLength{"*B", 4}, DataLength{"*M", 2}, DataLength{"*E", 2}, DataLength{"*T", 2},
    DataLength{"*W", 1}, DataLength{"*G", 1}, DataLength{"*U", 1}, DataLength{"*H", 1}, DataLength{"*I", 1},
    DataLength{"*J", 1}, DataLength{"*O", 1}, DataLength{"*N", 1}, DataLength{"Q", 1},  DataLength{"#", 1},
};
constexpr std::string_view kStored = "WGUHIJ";

std::string OneByte(int value) {
  return std::string(1, static_cast<char>(value));
}

RigTraits Traits(const TentecModel& model) {
  return {model.spans, 1, {Mode::kLsb, Mode::kUsb, Mode::kCw, Mode::kAm, Mode::kFm}};
}

}  // namespace

const TentecModel& FindTentecModel(std::string_view name) {
  using Strength = TentecModel::Strength;
  static const std::vector<TentecModel> models{
      {"jupiter", "VER 1330-538", false, false, Strength::kHexadecimal, "Q1", "Q0", "*O", {{100'000, 30'000'000}}},
      {"argonaut5", "VER 1010-516", true, true, Strength::kNone, "#1", "#0", "*O", {{500'000, 30'000'000}}},
      {"omni7",
       "VER 1036-588 RADIO ",
       false,
       false,
       Strength::kDecibels,
       "*T\x04\x01"sv,
       "*T\x00\x01"sv,
       "*N",
       {{100'000, 30'000'000}, {48'000'000, 54'000'000}}},
  };
  const auto model =
      std::find_if(models.begin(), models.end(), [name](const TentecModel& row) { return row.name == name; });
  assert(model != models.end());
  return *model;
}

TentecBinaryRig::TentecBinaryRig(Loop& loop, const TentecModel& model)
    : model_(model), panel_(*this, loop, Traits(model), nullptr), state_(panel_.state()) {
  for (const char letter : kStored) stored_[letter] = OneByte(0);
  stored_['W'] = OneByte(29);
  stored_['G'] = "2";
  stored_['J'] = "0";
}

void TentecBinaryRig::Receive(std::string_view bytes) {
  if (!panel_.listening()) return;
  for (const char byte : bytes) {
    line_ += byte;
    if (byte != '\r' || line_.size() < LengthOf(line_)) {
      if (line_.size() > kLongestLine) line_.clear();
      continue;
    }
    const std::string command = std::exchange(line_, {});
    Execute(std::string_view(command).substr(0, command.size() - 1));
  }
}

/// With its carriage return, which may also stand among its data.
std::size_t TentecBinaryRig::LengthOf(std::string_view command) const {
  for (const DataLength& row : kLengths) {
    if (command.starts_with(row.name)) return row.name.size() + row.bytes + 1;
  }
  return 1;
}

void TentecBinaryRig::Execute(std::string_view command) {
  if (command.empty()) return;
  bool done = false;
  if (command == "XX" || command == "*X") {
    Answer("RADIO START");
    done = true;
  } else if (command == model_.key || command == model_.release) {
    state_.transmitting = command == model_.key;
    done = true;
  } else if (command[0] == '?' && command.size() == 2) {
    done = Ask(command[1]);
  } else if (command[0] == '*' && command.size() + 1 == LengthOf(command)) {
    done = Set(command.substr(0, 2), command.substr(2));
  }
  if (!done) {
    panel_.Refuse(SpacedHex(command));
    Answer(model_.acknowledges ? "Z" : "Z" + std::string(command.substr(0, 1)));
  } else if (model_.acknowledges) {
    Answer("G");
  }
}

bool TentecBinaryRig::Set(std::string_view name, std::string_view data) {
  if (name == "*A") return SetFrequency(0, data);
  if (name == "*B") return SetFrequency(1, data);
  if (name == "*M") return SetModes(data);
  if (name == model_.split) {
    state_.SetSplit((ByteAt(data, 0) & 1) != 0);
    return true;
  }
  if (name == "*E" && model_.selects_vfo && data[0] == 'V' && (data[1] == 'A' || data[1] == 'B')) {
    state_.SelectVfo(data[1] - 'A');
    return true;
  }
  if (kStored.find(name[1]) == kStored.npos) return false;
  stored_[name[1]] = data;
  return true;
}

bool TentecBinaryRig::SetFrequency(int vfo, std::string_view data) {
  std::int64_t hz = 0;
  for (std::size_t i = 0; i < data.size(); ++i) hz = hz << 8 | ByteAt(data, i);
  if (!panel_.InRange(hz)) return false;
  state_.vfos[vfo].hz = hz;
  return true;
}

bool TentecBinaryRig::SetModes(std::string_view data) {
  RigState asked = state_;
  for (int vfo = 0; vfo < 2; ++vfo) {
    if (!SetModeByCode(kModeCodes, data[static_cast<std::size_t>(vfo)], asked.vfos[vfo])) return false;
  }
  state_.vfos = asked.vfos;
  return true;
}

bool TentecBinaryRig::Ask(char what) {
  std::string data;
  switch (what) {
    case 'A':
    case 'B':
      for (const int shift : {24, 16, 8, 0})
        data += OneByte(static_cast<int>(state_.vfos[what - 'A'].hz >> shift & 0xFF));
      break;
    case 'M':
      for (const VfoState& vfo : state_.vfos) data += OneByte(CodeForMode(kModeCodes, vfo));
      break;
    case 'S':
      if (model_.strength == TentecModel::Strength::kNone) return false;
      data = Strength();
      break;
    case 'V':
      Answer(std::string(model_.version));
      return true;
    case 'E':
      if (!model_.selects_vfo) return false;
      data = std::string("V") + (state_.receive_vfo == 0 ? 'A' : 'B');
      break;
    default:
      if (what == model_.split[1]) {
        data = OneByte((model_.name == "jupiter" ? '0' : 0) + (state_.split() ? 1 : 0));
      } else if (kStored.find(what) != kStored.npos) {
        data = stored_[what];
      } else {
        return false;
      }
  }
  Answer(what + data);
  return true;
}

// The panel's scale has S9 at 15 and 60 dB over it at 30.
std::string TentecBinaryRig::Strength() {
  if (state_.transmitting) return "\x8F\x01";
  const int over = ScaleMeter(panel_.smeter(), 0, kMostOverNine);
  const int units = std::min(kUnitsAtNine, ScaleMeter(panel_.smeter(), kUnitsAtNine, kUnitsAtNine));
  if (model_.strength == TentecModel::Strength::kDecibels) return PadNumber(units, 2) + PadNumber(over, 2);
  return HexText::FromBytes(OneByte(units + over / 6) + OneByte(0)).digits;
}

}  // namespace kvx::sim
