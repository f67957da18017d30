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
// The narrow forms of CW and AM are read only on an FT-857.
constexpr std::string_view kFt857Modes("\x00\x01\x02\x03\x04\x08\x0A\x0C\x88", 9);
constexpr std::string_view kFt847Modes("\x00\x01\x02\x03\x04\x08\x82\x83\x84\x88", 10);
constexpr std::string_view kFt736Modes("\x00\x01\x02\x08\x82\x88", 6);
constexpr std::array kFt857Spans{FrequencySpan{100'000, 56'000'000}, FrequencySpan{76'000'000, 108'000'000},
                                 FrequencySpan{118'000'000, 164'000'000}, FrequencySpan{420'000'000, 470'000'000}};
constexpr std::array kFt847Spans{FrequencySpan{100'000, 30'000'000}, FrequencySpan{36'000'000, 76'000'000},
                                 FrequencySpan{108'000'000, 174'000'000}, FrequencySpan{420'000'000, 512'000'000}};
constexpr std::array kFt736Spans{FrequencySpan{50'000'000, 54'000'000}, FrequencySpan{144'000'000, 148'000'000},
                                 FrequencySpan{220'000'000, 225'000'000}, FrequencySpan{430'000'000, 450'000'000}};

constexpr int kFarthestOffsetHz = 9990;
constexpr std::array kRepeaterShifts{0x09, 0x49, 0x89};
constexpr std::array kToneModes{0x0A, 0x0B, 0x0C, 0x2A, 0x3A, 0x4A, 0x8A};

RigTraits TraitsOf(const YaesuFiveByteModel& model) {
  RigTraits traits{{model.spans.begin(), model.spans.end()}, 10, {}};
  for (const ModeCode& entry : kModeCodes) {
    const bool settable = model.settable_modes.find(static_cast<char>(entry.code)) != std::string_view::npos;
    if (settable && !entry.narrow) traits.modes.push_back(entry.mode);
  }
  return traits;
}

int Opcode(const std::string& frame) {
  return ByteAt(frame, 4);
}

}  // namespace

const YaesuFiveByteModel kFt857{
    .spans = kFt857Spans,
    .opcodes = {"\x00\x80\x01\x02\x82\x03\x05\x85\xF5\x07\x08\x88\x09\xF9\x0A\x0B\x0C\x0F\x8F\x81\xE7\xF7\xBB", 23},
    .settable_modes = kFt857Modes,
    .acknowledges = true,
    .s9 = 9,
    .top = 15};
const YaesuFiveByteModel kFt847{.spans = kFt847Spans,
                                .opcodes = {"\x01\x03\x07\x08\x88\x09\x49\x89\xF9\x0A\x0B\x0C\x4E\x8E\xE7\xF7", 16},
                                .settable_modes = kFt847Modes,
                                .external_control = true,
                                .s9 = 16,
                                .top = 31};
const YaesuFiveByteModel kFt736{.spans = kFt736Spans,
                                .opcodes = {"\x01\x07\x08\x88\x09\x49\x89\xF9\x0E\x8E\xE7\xF7", 12},
                                .settable_modes = kFt736Modes,
                                .external_control = true,
                                .s9 = 0x54,
                                .top = 0x9D};

struct YaesuFiveByteRig::Handler {
  int opcode;
  Result (YaesuFiveByteRig::*run)(const std::string&);
};

YaesuFiveByteRig::YaesuFiveByteRig(Loop& loop, const YaesuFiveByteModel& model)
    : model_(model), panel_(*this, loop, TraitsOf(model), nullptr), state_(panel_.state()), frames_(loop) {
  if (panel_.InRange(state_.current().hz)) return;
  for (VfoState& vfo : state_.vfos) vfo.hz = model.spans[1].low_hz;  // no short wave
}

/// Opcode 00 and 80 switch external control; without it a rig that has it hears nothing else.
bool YaesuFiveByteRig::Listens(const std::string& frame) {
  if (!model_.external_control) return true;
  const bool on = Opcode(frame) == 0x00;
  const bool off = Opcode(frame) == 0x80;
  if (on || off) controlled_ = on;
  if (!on && !off && !controlled_) Refuse(frame);
  return !on && !off && controlled_;
}

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
      Handler{0x49, &YaesuFiveByteRig::Take},
      Handler{0x89, &YaesuFiveByteRig::Take},
      Handler{0x0E, &YaesuFiveByteRig::Take},
      Handler{0x4E, &YaesuFiveByteRig::Take},
      Handler{0x8E, &YaesuFiveByteRig::Take},
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
  if ((!state_.powered && Opcode(frame) != 0x0F) || !Listens(frame)) return;
  const bool known = model_.opcodes.find(frame[4]) != std::string_view::npos;
  for (const Handler& handler : kHandlers) {
    if (!known || handler.opcode != Opcode(frame)) continue;
    const Result result = (this->*handler.run)(frame);
    if (result == Result::kRefused) Refuse(frame);
    if (result == Result::kDone && model_.acknowledges) panel_.Send(std::string(1, '\x00'));
    if (result == Result::kNothingToDo && model_.acknowledges) panel_.Send("\xF0");
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
  if (model_.settable_modes.find(frame[0]) == std::string_view::npos) return Result::kRefused;
  SetModeByCode(kModeCodes, ByteAt(frame, 0), state_.current());
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

// With external control each direction has its own opcode.
YaesuFiveByteRig::Result YaesuFiveByteRig::RepeaterShift(const std::string& frame) {
  if (model_.external_control) return Result::kDone;
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

// Bit 7 squelched, 6 tone unmatched, 5 discriminator off centre; below them the S-meter: 9 is S9, 10 to 15 are 10 dB
// each above it (FT-847: 16 and 31). The FT-736 tells its squelch here, five times.
YaesuFiveByteRig::Result YaesuFiveByteRig::ReadReceiver(const std::string&) {
  const int reading = ScaleMeter(panel_.smeter(), model_.s9, model_.top);
  panel_.Send(&model_ == &kFt736 ? std::string(5, panel_.smeter() > 3 ? '\x01' : '\x00')
                                 : std::string(1, static_cast<char>(reading)));
  return Result::kAnswered;
}

// Bit 7 clear while transmitting, 6 high SWR, 5 split, 3-0 power; all bits are set while receiving. The FT-736 tells
// its meter here, four times and F7; its needle rests at 1D.
YaesuFiveByteRig::Result YaesuFiveByteRig::ReadTransmitter(const std::string&) {
  constexpr int kRest = 0x1D;
  if (&model_ == &kFt736) {
    const int reading = kRest + ScaleMeter(panel_.smeter(), model_.s9 - kRest, model_.top - kRest);
    panel_.Send(std::string(4, static_cast<char>(reading)) + "\xF7");
    return Result::kAnswered;
  }
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
