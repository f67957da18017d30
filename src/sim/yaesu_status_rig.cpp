#include "sim/yaesu_status_rig.h"

#include <algorithm>
#include <array>

#include "core/hex_text.h"
#include "sim/bcd.h"

namespace kvx::sim {
namespace {

// Codes of the mode command; 80h more means VFO B.
struct SetModeCode {
  int code;
  Mode mode;
  bool narrow;
  int filter;
};
constexpr std::array kSetModeCodes{
    SetModeCode{0x00, Mode::kLsb, false, 0},  SetModeCode{0x01, Mode::kUsb, false, 0},
    SetModeCode{0x02, Mode::kCw, false, 0},   SetModeCode{0x03, Mode::kCw, true, 2},
    SetModeCode{0x04, Mode::kAm, false, 0},   SetModeCode{0x05, Mode::kAm, true, 4},  // AM: 0 reads back for 6 kHz
    SetModeCode{0x06, Mode::kFm, false, 0},   SetModeCode{0x07, Mode::kFm, false, 0},
    SetModeCode{0x08, Mode::kRtty, false, 0}, SetModeCode{0x09, Mode::kRttyr, false, 0},
    SetModeCode{0x0A, Mode::kData, false, 0}, SetModeCode{0x0B, Mode::kData, true, 0},
};
// Codes in the records: RTTY and packet tell their second form by bit 7 of the filter byte.
const std::vector<ModeCode> kRecordCodes{{0, Mode::kLsb}, {1, Mode::kUsb},  {2, Mode::kCw},    {3, Mode::kAm},
                                         {4, Mode::kFm},  {5, Mode::kRtty}, {5, Mode::kRttyr}, {6, Mode::kData}};

// Upper edges, in kHz, of the bands that number the receiver's input filters, from 01h on.
constexpr std::array kBandEdgesKhz{500,   1500,  1800,  2000,  2500,  3000,  3500,  4000,  5500,  6500,
                                   7000,  7500,  8500,  10500, 12000, 14000, 14500, 15000, 18000, 18500,
                                   21000, 21500, 22000, 24500, 25000, 28000, 29000, 30000};

constexpr std::int64_t kLowestHz = 100'000;
constexpr std::int64_t kHighestHz = 30'000'000;
constexpr int kLastMemory = 99;
constexpr int kMeterTop = 0xF0;
constexpr int kVfoB = 0x80;
constexpr int kSecondForm = 0x80;

RigTraits Traits() {
  return {{{kLowestHz, kHighestHz}},
          10,
          {Mode::kLsb, Mode::kUsb, Mode::kCw, Mode::kAm, Mode::kFm, Mode::kRtty, Mode::kRttyr, Mode::kData}};
}

/// Parameter 1 is the byte next to the opcode, parameter 4 the first on the wire.
int Parameter(const std::string& frame, int number) {
  return ByteAt(frame, 4 - number);
}

char BandNumber(std::int64_t hz) {
  const auto band =
      std::find_if(kBandEdgesKhz.begin(), kBandEdgesKhz.end(), [hz](int edge) { return hz <= edge * 1000LL; });
  return static_cast<char>(band - kBandEdgesKhz.begin() + 1);
}

}  // namespace

struct YaesuStatusRig::Handler {
  int opcode;
  bool (YaesuStatusRig::*run)(Frame);
};

YaesuStatusRig::YaesuStatusRig(Loop& loop)
    : panel_(*this, loop, Traits(), nullptr), state_(panel_.state()), frames_(loop) {
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
      Handler{0xF7, &YaesuStatusRig::ReadMeter},
      Handler{0xF8, &YaesuStatusRig::DimLevel},
      Handler{0xF9, &YaesuStatusRig::RepeaterOffset},
      Handler{0xFA, &YaesuStatusRig::ReadFlags},
  };
  for (const Handler& handler : kHandlers) {
    if (handler.opcode == ByteAt(frame, 4) && (this->*handler.run)(frame)) return;
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

// Parameter 2: 0 moves by 100 kHz, 1 by 1 MHz.
bool YaesuStatusRig::StepBy(Frame frame, int direction) {
  if (Parameter(frame, 2) > 1) return false;
  const std::int64_t hz = state_.current().hz + direction * (Parameter(frame, 2) == 1 ? 1'000'000 : 100'000);
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
  for (const SetModeCode& entry : kSetModeCodes) {
    if (entry.code != (code & ~kVfoB)) continue;
    state_.vfos[vfo].mode = entry.mode;
    state_.vfos[vfo].narrow = entry.narrow;
    filters_[vfo] = entry.filter;
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

// Parameter 1: 0 everything (1636 bytes), 1 the memory channel's number, 2 what is in use, 3 both VFOs, 4 the memory
// that parameter 4 names (from 0 on).
bool YaesuStatusRig::Update(Frame frame) {
  const VfoState& used = state_.current();
  const std::string vfos = Record(state_.vfos[0]) + Record(state_.vfos[1]);
  const std::string channel(1, static_cast<char>(state_.memory_channel - 1));
  switch (Parameter(frame, 1)) {
    case 0: {
      std::string all = Flags() + channel + Record(used) + vfos;
      for (int memory = 1; memory <= kLastMemory; ++memory) all += MemoryRecord(memory);
      panel_.Send(all);
      return true;
    }
    case 1:
      panel_.Send(channel);
      return true;
    case 2:
      panel_.Send(state_.memory_mode ? MemoryRecord(state_.memory_channel) : Record(used));
      return true;
    case 3:
      panel_.Send(vfos);
      return true;
    case 4:
      if (Parameter(frame, 4) >= kLastMemory) return false;
      panel_.Send(MemoryRecord(Parameter(frame, 4) + 1));
      return true;
    default:
      return false;
  }
}

bool YaesuStatusRig::Tuner(Frame frame) {
  if (Parameter(frame, 1) > 1) return false;
  tuner_ = Parameter(frame, 1) == 1;
  return true;
}

bool YaesuStatusRig::StartTuner(Frame) {
  tuner_ = true;
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
  filters_[(code & kVfoB) != 0 ? 1 : state_.receive_vfo] = code & ~kVfoB;
  return true;
}

bool YaesuStatusRig::FineStep(Frame frame) {
  const std::int64_t hz = state_.current().hz + (Parameter(frame, 1) == 0 ? 10 : -10);
  if (Parameter(frame, 1) > 1 || !panel_.InRange(hz)) return false;
  state_.current().hz = hz;
  return true;
}

// The meter's value four times over, then F7.
bool YaesuStatusRig::ReadMeter(Frame) {
  const int power = kMeterTop * 2 / 3;
  const int reading = state_.transmitting ? power : ScaleMeter(panel_.smeter(), kMeterTop / 2, kMeterTop);
  panel_.Send(std::string(4, static_cast<char>(reading)) + "\xF7");
  return true;
}

bool YaesuStatusRig::DimLevel(Frame frame) {
  return Parameter(frame, 1) <= 0x0D;
}

bool YaesuStatusRig::RepeaterOffset(Frame frame) {
  return FromBcdReversed(frame.substr(0, 3)).has_value();
}

bool YaesuStatusRig::ReadFlags(Frame) {
  panel_.Send(Flags() + "\x10" + std::string(1, '\x00'));
  return true;
}

// Byte 1: bit 0 split, 2 tuner at work, 3 under CAT control, 4 VFO B in use, 7 transmitting. Byte 2: bit 3 locked, 5
// VFO, 6 memory. Byte 3: bit 0 PTT, 6 tuner on.
std::string YaesuStatusRig::Flags() const {
  const int first =
      0x08 | (state_.split() ? 0x01 : 0) | (state_.receive_vfo == 1 ? 0x10 : 0) | (state_.transmitting ? 0x80 : 0);
  const int second = (state_.locked ? 0x08 : 0) | (state_.memory_mode ? 0x40 : 0x20);
  const int third = (state_.transmitting ? 0x01 : 0) | (tuner_ ? 0x40 : 0);
  return {static_cast<char>(first), static_cast<char>(second), static_cast<char>(third)};
}

// b fff s oo m i r..r   b = band, f = frequency in 10 Hz, binary, high byte first, s = bit 0 TX and bit 1 RX clarifier
// on, o = clarifier in 10 Hz, binary with sign, m = mode, i = filter, r = seven bytes of what was used last
std::string YaesuStatusRig::Record(const VfoState& vfo) const {
  const std::int64_t tens = vfo.hz / 10;
  const int offset = state_.offset_hz / 10;
  const bool second_form = vfo.mode == Mode::kRttyr || (vfo.mode == Mode::kData && vfo.narrow);
  const int filter = filters_[&vfo == &state_.vfos[1] ? 1 : 0] | (second_form ? kSecondForm : 0);
  std::string record(1, BandNumber(vfo.hz));
  for (const int shift : {16, 8, 0}) record += static_cast<char>(tens >> shift & 0xFF);
  record += static_cast<char>((state_.xit_on ? 0x01 : 0) | (state_.rit_on ? 0x02 : 0));
  record += static_cast<char>(offset >> 8 & 0xFF);
  record += static_cast<char>(offset & 0xFF);
  record += static_cast<char>(CodeForMode(kRecordCodes, vfo));
  record += static_cast<char>(filter);
  return record + std::string(7, '\x00');
}

// An empty memory has bit 7 of its first byte set.
std::string YaesuStatusRig::MemoryRecord(int channel) const {
  const auto memory = state_.memories.find(channel);
  if (memory != state_.memories.end()) return Record(memory->second);
  std::string record(16, '\x00');
  record[0] = static_cast<char>(0x80);
  return record;
}

}  // namespace kvx::sim
