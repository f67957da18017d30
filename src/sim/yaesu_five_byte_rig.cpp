#include "sim/yaesu_five_byte_rig.h"

#include <algorithm>
#include <array>

#include "core/hex_text.h"
#include "sim/bcd.h"

namespace kvx::sim {
namespace {

const std::vector<ModeCode> kModeCodes{
    {0x00, Mode::kLsb},  {0x01, Mode::kUsb},       {0x02, Mode::kCw},   {0x82, Mode::kCw, true},
    {0x03, Mode::kCwr},  {0x83, Mode::kCwr, true}, {0x04, Mode::kAm},   {0x84, Mode::kAm, true},
    {0x08, Mode::kFm},   {0x88, Mode::kFm, true},  {0x0A, Mode::kRtty}, {0x8A, Mode::kRtty, true},
    {0x0C, Mode::kData},
};
// What a set command may name: the narrow forms of CW and AM are read only.
constexpr std::array kSettableModes{0x00, 0x01, 0x02, 0x03, 0x04, 0x08, 0x0A, 0x0C, 0x88};

constexpr int kFarthestOffsetHz = 9990;
constexpr std::array kRepeaterShifts{0x09, 0x49, 0x89};
constexpr std::array kToneModes{0x0A, 0x0B, 0x0C, 0x2A, 0x3A, 0x4A, 0x8A};

RigTraits Traits() {
  return {{{100'000, 56'000'000}, {76'000'000, 108'000'000}, {118'000'000, 164'000'000}, {420'000'000, 470'000'000}},
          10,
          {Mode::kLsb, Mode::kUsb, Mode::kCw, Mode::kCwr, Mode::kAm, Mode::kFm, Mode::kRtty, Mode::kData}};
}

int Opcode(const std::string& frame) {
  return ByteAt(frame, 4);
}

}  // namespace

struct YaesuFiveByteRig::Handler {
  int opcode;
  Result (YaesuFiveByteRig::*run)(const std::string&);
};

YaesuFiveByteRig::YaesuFiveByteRig(Loop& loop)
    : panel_(*this, loop, Traits(), nullptr), state_(panel_.state()), frames_(loop) {}

void YaesuFiveByteRig::Receive(std::string_view bytes) {
  if (!panel_.listening()) return;
  for (const char byte : bytes) {
    const FiveByteFrames::Taken taken = frames_.Take(byte);
    if (!taken.forgotten.empty()) Refuse(taken.forgotten);
    if (!taken.frame.empty()) Execute(taken.frame);
  }
}

void YaesuFiveByteRig::Refuse(std::string_view frame) {
  panel_.Refuse(SpacedHex(frame));
}

void YaesuFiveByteRig::Execute(const std::string& frame) {
  static constexpr std::array kHandlers{
      Handler{0x00, &YaesuFiveByteRig::Lock},
      Handler{0x80, &YaesuFiveByteRig::Lock},
      Handler{0x01, &YaesuFiveByteRig::SetFrequency},
      Handler{0x02, &YaesuFiveByteRig::Split},
      Handler{0x82, &YaesuFiveByteRig::Split},
      Handler{0x03, &YaesuFiveByteRig::ReadFrequency},
      Handler{0x05, &YaesuFiveByteRig::Clarifier},
      Handler{0x85, &YaesuFiveByteRig::Clarifier},
      Handler{0xF5, &YaesuFiveByteRig::ClarifierOffset},
      Handler{0x07, &YaesuFiveByteRig::SetMode},
      Handler{0x08, &YaesuFiveByteRig::Transmit},
      Handler{0x88, &YaesuFiveByteRig::Transmit},
      Handler{0x09, &YaesuFiveByteRig::RepeaterShift},
      Handler{0xF9, &YaesuFiveByteRig::RepeaterOffset},
      Handler{0x0A, &YaesuFiveByteRig::ToneMode},
      Handler{0x0B, &YaesuFiveByteRig::ToneFrequency},
      Handler{0x0C, &YaesuFiveByteRig::ToneFrequency},
      Handler{0x0F, &YaesuFiveByteRig::Power},
      Handler{0x8F, &YaesuFiveByteRig::Power},
      Handler{0x81, &YaesuFiveByteRig::ToggleVfo},
      Handler{0xE7, &YaesuFiveByteRig::ReadReceiver},
      Handler{0xF7, &YaesuFiveByteRig::ReadTransmitter},
      Handler{0xBB, &YaesuFiveByteRig::ReadMemory},
  };
  if (!state_.powered && Opcode(frame) != 0x0F) return;
  for (const Handler& handler : kHandlers) {
    if (handler.opcode != Opcode(frame)) continue;
    const Result result = (this->*handler.run)(frame);
    if (result == Result::kRefused) Refuse(frame);
    if (result == Result::kDone) panel_.Send(std::string(1, '\x00'));
    if (result == Result::kNothingToDo) panel_.Send("\xF0");
    return;
  }
  Refuse(frame);
}

YaesuFiveByteRig::Result YaesuFiveByteRig::Switch(bool& value, bool on) {
  if (value == on) return Result::kNothingToDo;
  value = on;
  return Result::kDone;
}

// The transmitter holds the frequency: a new one is not taken while it is on.
YaesuFiveByteRig::Result YaesuFiveByteRig::SetFrequency(const std::string& frame) {
  const auto tens = FromBcd(frame.substr(0, 4));
  if (!tens || state_.transmitting || !panel_.InRange(*tens * 10)) return Result::kRefused;
  state_.current().hz = *tens * 10;
  return Result::kDone;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::SetMode(const std::string& frame) {
  const int code = ByteAt(frame, 0);
  if (std::find(kSettableModes.begin(), kSettableModes.end(), code) == kSettableModes.end()) return Result::kRefused;
  SetModeByCode(kModeCodes, code, state_.current());
  return Result::kDone;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::Lock(const std::string& frame) {
  return Switch(state_.locked, Opcode(frame) == 0x00);
}

YaesuFiveByteRig::Result YaesuFiveByteRig::Transmit(const std::string& frame) {
  return Switch(state_.transmitting, Opcode(frame) == 0x08);
}

YaesuFiveByteRig::Result YaesuFiveByteRig::Clarifier(const std::string& frame) {
  return Switch(state_.rit_on, Opcode(frame) == 0x05);
}

// P1 is the direction, 00 up and anything else down; P3 and P4 are 12 34 for 12.34 kHz.
YaesuFiveByteRig::Result YaesuFiveByteRig::ClarifierOffset(const std::string& frame) {
  const auto tens = FromBcd(frame.substr(2, 2));
  if (!tens || *tens * 10 > kFarthestOffsetHz) return Result::kRefused;
  state_.offset_hz = static_cast<int>(*tens * 10) * (frame[0] == '\x00' ? 1 : -1);
  return Result::kDone;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::ToggleVfo(const std::string&) {
  std::swap(state_.receive_vfo, state_.transmit_vfo);
  if (!state_.split()) state_.SelectVfo(1 - state_.receive_vfo);
  return Result::kDone;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::Split(const std::string& frame) {
  const bool on = Opcode(frame) == 0x02;
  if (state_.split() == on) return Result::kNothingToDo;
  state_.SetSplit(on);
  return Result::kDone;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::RepeaterShift(const std::string& frame) {
  const bool known =
      std::find(kRepeaterShifts.begin(), kRepeaterShifts.end(), ByteAt(frame, 0)) != kRepeaterShifts.end();
  return known ? Result::kDone : Result::kRefused;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::RepeaterOffset(const std::string& frame) {
  return FromBcd(frame.substr(0, 4)) ? Result::kDone : Result::kRefused;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::ToneMode(const std::string& frame) {
  const bool known = std::find(kToneModes.begin(), kToneModes.end(), ByteAt(frame, 0)) != kToneModes.end();
  return known ? Result::kDone : Result::kRefused;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::ToneFrequency(const std::string& frame) {
  return FromBcd(frame.substr(0, 4)) ? Result::kDone : Result::kRefused;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::Power(const std::string& frame) {
  state_.powered = Opcode(frame) == 0x0F;
  if (!state_.powered) state_.transmitting = false;
  return Result::kDone;
}

YaesuFiveByteRig::Result YaesuFiveByteRig::ReadFrequency(const std::string&) {
  std::string reply = ToBcd(state_.current().hz / 10, 4);
  reply += static_cast<char>(CodeForMode(kModeCodes, state_.current()));
  panel_.Send(reply);
  return Result::kAnswered;
}

// Bit 7 squelched, 6 tone unmatched, 5 discriminator off centre, 3-0 S-meter: 9 is S9, 10 to 15 are 10 dB each above
// it.
YaesuFiveByteRig::Result YaesuFiveByteRig::ReadReceiver(const std::string&) {
  panel_.Send(std::string(1, static_cast<char>(ScaleMeter(panel_.smeter(), 9, 15))));
  return Result::kAnswered;
}

// Bit 7 clear while transmitting, 6 high SWR, 5 split, 3-0 power; all bits are set while receiving.
YaesuFiveByteRig::Result YaesuFiveByteRig::ReadTransmitter(const std::string&) {
  constexpr int kFullPower = 0x0A;
  const int status = state_.transmitting ? (state_.split() ? 0x20 : 0x00) | kFullPower : 0xFF;
  panel_.Send(std::string(1, static_cast<char>(status)));
  return Result::kAnswered;
}

// The rig's own memory, two bytes from an address; only what tells the VFO in use and split is known here.
YaesuFiveByteRig::Result YaesuFiveByteRig::ReadMemory(const std::string& frame) {
  const int address = ByteAt(frame, 0) << 8 | ByteAt(frame, 1);
  const auto byte_at = [this](int at) {
    if (at == 0x68) return state_.receive_vfo;
    return at == 0x8D && state_.split() ? 0x80 : 0x00;
  };
  panel_.Send(std::string{static_cast<char>(byte_at(address)), static_cast<char>(byte_at(address + 1))});
  return Result::kAnswered;
}

}  // namespace kvx::sim
