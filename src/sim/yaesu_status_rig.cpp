#include "sim/yaesu_status_rig.h"

#include <algorithm>
#include <array>

#include "core/hex_text.h"
#include "sim/bcd.h"

namespace kvx::sim {
namespace {

constexpr int kLastMemory = 99;
constexpr int kVfoB = 0x80;  // in the codes of mode and bandwidth

RigTraits TraitsOf(const YaesuStatusModel& model) {
  RigTraits traits{{model.spans.begin(), model.spans.end()}, 10, {}};
  for (const YaesuSetMode& entry : model.modes) {
    if (std::find(traits.modes.begin(), traits.modes.end(), entry.mode) == traits.modes.end())
      traits.modes.push_back(entry.mode);
  }
  return traits;
}

/// Parameter 1 is the byte next to the opcode, parameter 4 the first on the wire.
int Parameter(const std::string& frame, int number) {
  return ByteAt(frame, 4 - number);
}

}  // namespace

struct YaesuStatusRig::Handler {
  int opcode;
  bool (YaesuStatusRig::*run)(Frame);
};

YaesuStatusRig::YaesuStatusRig(Loop& loop, const YaesuStatusModel& model)
    : model_(model), panel_(*this, loop, TraitsOf(model), nullptr), state_(panel_.state()), frames_(loop) {
  state_.memory_channel = 1;
}

void YaesuStatusRig::Receive(std::string_view bytes) {
  if (!panel_.listening()) return;
  for (const char byte : bytes) {
    const FiveByteFrames::Taken taken = frames_.Take(byte);
    if (!taken.forgotten.empty()) Refuse(taken.forgotten);
    if (!taken.frame.empty()) Execute(taken.frame);
  }
}

void YaesuStatusRig::Refuse(std::string_view frame) {
  panel_.Refuse(SpacedHex(frame));
}

void YaesuStatusRig::Execute(Frame frame) {
  static constexpr std::array kHandlers{
      Handler{0x01, &YaesuStatusRig::Split},
      Handler{0x02, &YaesuStatusRig::RecallMemory},
      Handler{0x03, &YaesuStatusRig::MemoryOperation},
      Handler{0x04, &YaesuStatusRig::Lock},
      Handler{0x05, &YaesuStatusRig::SelectVfo},
      Handler{0x06, &YaesuStatusRig::MemoryToVfo},
      Handler{0x07, &YaesuStatusRig::Up},
      Handler{0x08, &YaesuStatusRig::Down},
      Handler{0x09, &YaesuStatusRig::Clarifier},
      Handler{0x0A, &YaesuStatusRig::SetFrequency},
      Handler{0x0C, &YaesuStatusRig::SetMode},
      Handler{0x0E, &YaesuStatusRig::Pacing},
      Handler{0x0F, &YaesuStatusRig::Transmit},
      Handler{0x10, &YaesuStatusRig::Update},
      Handler{0x81, &YaesuStatusRig::Tuner},
      Handler{0x82, &YaesuStatusRig::StartTuner},
      Handler{0x84, &YaesuStatusRig::RepeaterShift},
      Handler{0x85, &YaesuStatusRig::CopyVfo},
      Handler{0x8A, &YaesuStatusRig::SetSubFrequency},
      Handler{0x8C, &YaesuStatusRig::Bandwidth},
      Handler{0x8E, &YaesuStatusRig::FineStep},
      Handler{0x92, &YaesuStatusRig::ToneMode},
      Handler{0xF7, &YaesuStatusRig::ReadMeter},
      Handler{0xF8, &YaesuStatusRig::DimLevel},
      Handler{0xF9, &YaesuStatusRig::RepeaterOffset},
      Handler{0xFA, &YaesuStatusRig::ReadFlags},
  };
  const bool known = model_.opcodes.find(frame[4]) != std::string_view::npos;
  for (const Handler& handler : kHandlers) {
    if (known && handler.opcode == ByteAt(frame, 4) && (this->*handler.run)(frame)) return;
  }
  Refuse(frame);
}

bool YaesuStatusRig::Split(Frame frame) {
  if (Parameter(frame, 1) > 1) return false;
  state_.SetSplit(Parameter(frame, 1) == 1);
  return true;
}

bool YaesuStatusRig::RecallMemory(Frame frame) {
  const int channel = Parameter(frame, 1);
  if (channel < 1 || channel > kLastMemory) return false;
  state_.memory_channel = channel;
  state_.memory_mode = true;
  return true;
}

// Parameter 2: 0 stores the VFO, 1 hides the memory, 2 shows it again.
bool YaesuStatusRig::MemoryOperation(Frame frame) {
  const int channel = Parameter(frame, 1);
  if (channel < 1 || channel > kLastMemory || Parameter(frame, 2) > 2) return false;
  if (Parameter(frame, 2) == 0) state_.memories[channel] = state_.current();
  return true;
}

bool YaesuStatusRig::Lock(Frame frame) {
  if (Parameter(frame, 1) > 1) return false;
  state_.locked = Parameter(frame, 1) == 1;
  return true;
}

bool YaesuStatusRig::SelectVfo(Frame frame) {
  if (Parameter(frame, 1) > 1) return false;
  state_.SelectVfo(Parameter(frame, 1));
  state_.memory_mode = false;
  return true;
}

bool YaesuStatusRig::MemoryToVfo(Frame frame) {
  const auto memory = state_.memories.find(Parameter(frame, 1));
  if (memory == state_.memories.end()) return false;
  state_.vfos[0] = memory->second;
  return true;
}

// Parameter 2: 0 moves by 100 kHz, 1 by 1 MHz; the oldest rigs know one step, 500 kHz.
bool YaesuStatusRig::StepBy(Frame frame, int direction) {
  if (Parameter(frame, 2) > 1) return false;
  const std::int64_t hz =
      state_.current().hz + direction * (Parameter(frame, 2) == 1 ? 1'000'000 : 100'000 * model_.step_100_khz);
  if (!panel_.InRange(hz)) return false;
  state_.current().hz = hz;
  return true;
}

// 50 03 00 81 09: 3.5 kHz up and the transmitter's clarifier on. Parameter 2 is FF for down; parameter 1 is 00/01
// receiver off/on, 80/81 transmitter off/on, FF back to zero first.
bool YaesuStatusRig::Clarifier(Frame frame) {
  const auto tens = FromBcdReversed(frame.substr(0, 2));
  const int direction = Parameter(frame, 2);
  if (!tens || *tens > 999 || (direction != 0x00 && direction != 0xFF)) return false;
  switch (Parameter(frame, 1)) {
    case 0x00:
    case 0x01:
      state_.rit_on = Parameter(frame, 1) == 0x01;
      break;
    case 0x80:
    case 0x81:
      state_.xit_on = Parameter(frame, 1) == 0x81;
      break;
    case 0xFF:
      state_.offset_hz = 0;
      break;
    default:
      return false;
  }
  if (*tens != 0) state_.offset_hz = static_cast<int>(*tens) * (direction == 0xFF ? -10 : 10);
  return true;
}

bool YaesuStatusRig::SetFrequency(Frame frame) {
  const auto tens = FromBcdReversed(frame.substr(0, 4));
  if (!tens || !panel_.InRange(*tens * 10)) return false;
  state_.current().hz = *tens * 10;
  return true;
}

bool YaesuStatusRig::SetSubFrequency(Frame frame) {
  const auto tens = FromBcdReversed(frame.substr(0, 4));
  if (!tens || !panel_.InRange(*tens * 10)) return false;
  state_.vfos[1].hz = *tens * 10;
  return true;
}

bool YaesuStatusRig::SetMode(Frame frame) {
  const int code = Parameter(frame, 1);
  const int vfo = (code & kVfoB) != 0 ? 1 : state_.receive_vfo;
  for (const YaesuSetMode& entry : model_.modes) {
    if (entry.code != (code & ~kVfoB)) continue;
    state_.vfos[vfo].mode = entry.mode;
    state_.vfos[vfo].narrow = entry.narrow;
    told_.filters[static_cast<std::size_t>(vfo)] = entry.filter;
    return true;
  }
  return false;
}

bool YaesuStatusRig::Pacing(Frame frame) {
  panel_.output().set_gap(std::chrono::milliseconds(Parameter(frame, 1)));
  return true;
}

bool YaesuStatusRig::Transmit(Frame frame) {
  if (Parameter(frame, 1) > 1) return false;
  state_.transmitting = Parameter(frame, 1) == 1;
  return true;
}

// Parameter 1: 1 the memory channel's number, 2 what is in use, 3 both VFOs, 4 the memory that parameter 4 names. The
// oldest rigs have their own.
bool YaesuStatusRig::Update(Frame frame) {
  const auto answer = model_.update(told_, Parameter(frame, 1), Parameter(frame, 4), panel_.smeter());
  if (answer && !answer->empty()) panel_.Send(*answer);
  return answer.has_value();
}

bool YaesuStatusRig::Tuner(Frame frame) {
  if (Parameter(frame, 1) > 1) return false;
  told_.tuner = Parameter(frame, 1) == 1;
  return true;
}

bool YaesuStatusRig::StartTuner(Frame) {
  told_.tuner = true;
  return true;
}

bool YaesuStatusRig::RepeaterShift(Frame frame) {
  return Parameter(frame, 1) <= 2;
}

bool YaesuStatusRig::CopyVfo(Frame) {
  state_.vfos[1 - state_.receive_vfo] = state_.current();
  return true;
}

// 0 2.4 kHz, 1 2.0 kHz, 2 500 Hz, 3 250 Hz, 4 6 kHz; 80h more means VFO B.
bool YaesuStatusRig::Bandwidth(Frame frame) {
  const int code = Parameter(frame, 1);
  if ((code & ~kVfoB) > 4) return false;
  told_.filters[static_cast<std::size_t>((code & kVfoB) != 0 ? 1 : state_.receive_vfo)] = code & ~kVfoB;
  return true;
}

bool YaesuStatusRig::FineStep(Frame frame) {
  const std::int64_t hz = state_.current().hz + (Parameter(frame, 1) == 0 ? 10 : -10);
  if (Parameter(frame, 1) > 1 || !panel_.InRange(hz)) return false;
  state_.current().hz = hz;
  return true;
}

bool YaesuStatusRig::ToneMode(Frame frame) {
  return Parameter(frame, 1) <= 3;
}

bool YaesuStatusRig::ReadMeter(Frame) {
  panel_.Send(model_.meter(told_, panel_.smeter()));
  return true;
}

bool YaesuStatusRig::DimLevel(Frame frame) {
  return Parameter(frame, 1) <= 0x0D;
}

bool YaesuStatusRig::RepeaterOffset(Frame frame) {
  return FromBcdReversed(frame.substr(0, 3)).has_value();
}

bool YaesuStatusRig::ReadFlags(Frame frame) {
  const auto flags = model_.flags(told_, Parameter(frame, 1));
  if (flags) panel_.Send(*flags);
  return flags.has_value();
}

}  // namespace kvx::sim
