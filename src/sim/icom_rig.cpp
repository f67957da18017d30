#include "sim/icom_rig.h"

#include <algorithm>
#include <array>

#include "core/hex_text.h"
#include "sim/bcd.h"

namespace kvx::sim {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

const std::vector<ModeCode> kModeCodes{{0x00, Mode::kLsb}, {0x01, Mode::kUsb},  {0x02, Mode::kAm},
                                       {0x03, Mode::kCw},  {0x04, Mode::kRtty}, {0x05, Mode::kFm},
                                       {0x07, Mode::kCwr}, {0x08, Mode::kRttyr}};

/// A command that only puts a number away and reads it back: packed decimal, high digits first.
struct StoredNumber {
  std::string_view command;
  int bytes;
  int low;
  int high;
  int initial;
};
constexpr std::array kStored{
    StoredNumber{"\x10"sv, 1, 0, 8, 0},          // tuning step
    StoredNumber{"\x14\x02"sv, 2, 0, 255, 255},  // RF gain
    StoredNumber{"\x14\x03"sv, 2, 0, 255, 0},    // squelch
    StoredNumber{"\x14\x06"sv, 2, 0, 255, 128},  // noise reduction
    StoredNumber{"\x14\x07"sv, 2, 0, 255, 128},  // twin PBT, inner
    StoredNumber{"\x14\x08"sv, 2, 0, 255, 128},  // twin PBT, outer
    StoredNumber{"\x14\x09"sv, 2, 0, 255, 128},  // CW pitch
    StoredNumber{"\x14\x0A"sv, 2, 0, 255, 255},  // RF power
    StoredNumber{"\x14\x0B"sv, 2, 0, 255, 128},  // microphone
    StoredNumber{"\x14\x0C"sv, 2, 0, 255, 85},   // key speed
    StoredNumber{"\x14\x0D"sv, 2, 0, 255, 128},  // notch
    StoredNumber{"\x14\x0E"sv, 2, 0, 255, 0},    // compressor
    StoredNumber{"\x14\x0F"sv, 2, 0, 255, 75},   // break-in delay
    StoredNumber{"\x14\x12"sv, 2, 0, 255, 128},  // noise blanker
    StoredNumber{"\x14\x15"sv, 2, 0, 255, 128},  // monitor
    StoredNumber{"\x14\x16"sv, 2, 0, 255, 128},  // VOX
    StoredNumber{"\x14\x17"sv, 2, 0, 255, 128},  // anti-VOX
    StoredNumber{"\x14\x19"sv, 2, 0, 255, 128},  // display
    StoredNumber{"\x16\x02"sv, 1, 0, 2, 0},      // preamplifier
    StoredNumber{"\x16\x12"sv, 1, 1, 3, 2},      // AGC fast, mid, slow
    StoredNumber{"\x16\x22"sv, 1, 0, 1, 0},      // noise blanker
    StoredNumber{"\x16\x40"sv, 1, 0, 1, 0},      // noise reduction
    StoredNumber{"\x16\x41"sv, 1, 0, 1, 0},      // auto notch
    StoredNumber{"\x16\x42"sv, 1, 0, 1, 0},      // repeater tone
    StoredNumber{"\x16\x43"sv, 1, 0, 1, 0},      // tone squelch
    StoredNumber{"\x16\x44"sv, 1, 0, 1, 0},      // compressor
    StoredNumber{"\x16\x45"sv, 1, 0, 1, 0},      // monitor
    StoredNumber{"\x16\x46"sv, 1, 0, 1, 0},      // VOX
    StoredNumber{"\x16\x47"sv, 1, 0, 2, 1},      // break-in
    StoredNumber{"\x16\x48"sv, 1, 0, 1, 0},      // manual notch
    StoredNumber{"\x16\x4F"sv, 1, 0, 1, 0},      // twin peak filter
    StoredNumber{"\x16\x50"sv, 1, 0, 1, 0},      // dial lock
    StoredNumber{"\x16\x56"sv, 1, 0, 1, 0},      // filter shape
    StoredNumber{"\x16\x57"sv, 1, 0, 2, 1},      // notch width
    StoredNumber{"\x16\x58"sv, 1, 0, 2, 1},      // transmit width
    StoredNumber{"\x1A\x03"sv, 1, 0, 49, 34},    // filter width
    StoredNumber{"\x1A\x04"sv, 1, 0, 13, 6},     // AGC time constant
    StoredNumber{"\x1A\x07"sv, 1, 0, 1, 0},      // IP+
    StoredNumber{"\x1B\x00"sv, 3, 670, 2541, 885},
    StoredNumber{"\x1B\x01"sv, 3, 670, 2541, 885},
    StoredNumber{"\x1C\x01"sv, 1, 0, 2, 0},  // tuner off, on, tune
};

/// What a meter reads while the transmitter is on; they rest at zero otherwise, but for the supply voltage.
struct TransmitMeter {
  std::string_view command;
  int sending;
  int resting;
};
constexpr std::array kTransmitMeters{
    TransmitMeter{"\x15\x11"sv, 213, 0}, TransmitMeter{"\x15\x12"sv, 24, 0},    TransmitMeter{"\x15\x13"sv, 60, 0},
    TransmitMeter{"\x15\x14"sv, 0, 0},   TransmitMeter{"\x15\x15"sv, 143, 150}, TransmitMeter{"\x15\x16"sv, 120, 10},
};

constexpr char kPreamble = '\xFE';
constexpr char kEnd = '\xFD';
constexpr char kJammer = '\xFC';
constexpr std::size_t kLongestFrame = 80;
constexpr std::int64_t kSixByteHz = 10'000'000'000;
constexpr int kFarthestOffset = 9999;
constexpr int kLastMemory = 101;
constexpr std::size_t kLongestMorse = 30;

RigTraits Traits(const IcomModel& model) {
  return {model.spans,
          1,
          {Mode::kLsb, Mode::kUsb, Mode::kCw, Mode::kCwr, Mode::kAm, Mode::kFm, Mode::kRtty, Mode::kRttyr},
          true};
}

std::string OneByte(int value) {
  return std::string(1, static_cast<char>(value));
}

}  // namespace

struct IcomRig::Handler {
  std::string_view command;
  Result (IcomRig::*run)(std::string_view);
};

IcomRig::IcomRig(Loop& loop, const IcomModel& model)
    : model_(model),
      panel_(*this, loop, Traits(model), [this](PanelChange change) { Report(change); }),
      state_(panel_.state()) {
  state_.memory_channel = 1;
  for (VfoState& vfo : state_.vfos) {
    if (!panel_.InRange(vfo.hz)) vfo.hz = model.spans.front().low_hz;
  }
  for (const StoredNumber& entry : kStored) stored_.push_back(entry.initial);
}

void IcomRig::Receive(std::string_view bytes) {
  if (!panel_.listening()) return;
  if (panel_.echo()) panel_.Send(bytes);
  for (const char byte : bytes) Take(byte);
}

void IcomRig::Take(char byte) {
  if (byte == kPreamble) {
    // Two in a row begin a frame, wherever they stand: what came before them is lost.
    if (frame_ != "\xFE"s && frame_ != "\xFE\xFE"s) frame_.clear();
    if (frame_.size() < 2) frame_ += byte;
    return;
  }
  if (frame_.size() < 2) {
    frame_.clear();
    return;
  }
  if (byte == kJammer || frame_.size() > kLongestFrame) {
    frame_.clear();
  } else if (byte == kEnd) {
    const std::string content = frame_.substr(2);
    frame_.clear();
    Frame(content);
  } else {
    frame_ += byte;
  }
}

void IcomRig::Frame(const std::string& content) {
  if (content.size() < 3) return;
  const int to = ByteAt(content, 0);
  const int from = ByteAt(content, 1);
  const std::string_view body = std::string_view(content).substr(2);
  const bool broadcast = to == 0x00 && (body[0] == '\x00' || body[0] == '\x01');
  if ((to != model_.address && !broadcast) || from == model_.address) return;
  if (!state_.powered && body != "\x18\x01"sv) return;
  controller_ = from;
  if (body[0] == '\x00' || body[0] == '\x01') {
    // What another rig's knob did: followed without an answer.
    const bool taken = body[0] == '\x00' ? TakeFrequency(state_.receive_vfo, body.substr(1))
                                         : TakeMode(state_.receive_vfo, body.substr(1));
    if (!taken) panel_.Refuse(SpacedHex(content));
    return;
  }
  Order(body);
}

void IcomRig::Order(std::string_view body) {
  const Result result = Run(body);
  if (result == Result::kAnswered) return;
  if (result == Result::kRefused) panel_.Refuse(SpacedHex(body));
  Answer(result == Result::kDone ? "\xFB" : "\xFA");
}

bool IcomRig::Knows(std::string_view body) const {
  if (!model_.commands.empty() && model_.commands.find(body[0]) == model_.commands.npos) return false;
  for (std::size_t i = 0; i < model_.lacks.size(); i += 2) {
    if (body.starts_with(model_.lacks.substr(i, 2))) return false;
  }
  return true;
}

IcomRig::Result IcomRig::Run(std::string_view body) {
  if (!Knows(body)) return Result::kRefused;
  if (model_.keyed_by_16 && body[0] == '\x16') {
    if (body != "\x16\x01"sv && body != "\x16\x02"sv) return Result::kRefused;
    state_.transmitting = body[1] == '\x01';
    return Result::kDone;
  }
  static constexpr std::array kHandlers{
      Handler{"\x02"sv, &IcomRig::BandEdges},    Handler{"\x03"sv, &IcomRig::ReadFrequency},
      Handler{"\x04"sv, &IcomRig::ReadMode},     Handler{"\x05"sv, &IcomRig::SetFrequency},
      Handler{"\x06"sv, &IcomRig::SetMode},      Handler{"\x07"sv, &IcomRig::SelectVfo},
      Handler{"\x08"sv, &IcomRig::SelectMemory}, Handler{"\x09"sv, &IcomRig::WriteMemory},
      Handler{"\x0A"sv, &IcomRig::MemoryToVfo},  Handler{"\x0B"sv, &IcomRig::ClearMemory},
      Handler{"\x0E"sv, &IcomRig::Scan},         Handler{"\x0F"sv, &IcomRig::Split},
      Handler{"\x11"sv, &IcomRig::Attenuator},   Handler{"\x13"sv, &IcomRig::Speak},
      Handler{"\x14\x01"sv, &IcomRig::AfGain},   Handler{"\x15\x01"sv, &IcomRig::Squelch},
      Handler{"\x15\x02"sv, &IcomRig::SMeter},   Handler{"\x17"sv, &IcomRig::SendMorse},
      Handler{"\x18"sv, &IcomRig::Power},        Handler{"\x19\x00"sv, &IcomRig::Identify},
      Handler{"\x1A\x06"sv, &IcomRig::DataMode}, Handler{"\x1C\x00"sv, &IcomRig::Transmit},
      Handler{"\x21\x00"sv, &IcomRig::Offset},   Handler{"\x21\x01"sv, &IcomRig::Rit},
      Handler{"\x21\x02"sv, &IcomRig::DeltaTx},  Handler{"\x25"sv, &IcomRig::VfoFrequency},
      Handler{"\x26"sv, &IcomRig::VfoMode},
  };
  for (const Handler& handler : kHandlers) {
    if (!body.starts_with(handler.command)) continue;
    command_ = handler.command;
    return (this->*handler.run)(body.substr(handler.command.size()));
  }
  return RunStored(body);
}

IcomRig::Result IcomRig::RunStored(std::string_view body) {
  for (const TransmitMeter& meter : kTransmitMeters) {
    if (body != meter.command) continue;
    return Answer(std::string(body) + ToBcd(state_.transmitting ? meter.sending : meter.resting, 2));
  }
  for (std::size_t i = 0; i < kStored.size(); ++i) {
    const StoredNumber& entry = kStored[i];
    if (!body.starts_with(entry.command)) continue;
    const std::string_view data = body.substr(entry.command.size());
    if (data.empty()) return Answer(std::string(body) + ToBcd(stored_[i], entry.bytes));
    const auto number = FromBcd(data);
    if (data.size() != static_cast<std::size_t>(entry.bytes) || !number) return Result::kRefused;
    if (*number < entry.low || *number > entry.high) return Result::kRefused;
    stored_[i] = *number;
    return Result::kDone;
  }
  return Result::kRefused;
}

IcomRig::Result IcomRig::Answer(std::string_view body) {
  panel_.Send("\xFE\xFE" + OneByte(controller_) + OneByte(model_.address) + std::string(body) + kEnd);
  return Result::kAnswered;
}

void IcomRig::Report(PanelChange change) {
  if (!panel_.transceive()) return;
  const auto to_all = [this](const std::string& body) {
    panel_.Send("\xFE\xFE\x00"s + OneByte(model_.address) + body + kEnd);
  };
  const int vfo = state_.receive_vfo;
  if (change == PanelChange::kFrequency || change == PanelChange::kVfo) to_all("\x00"s + FrequencyData(vfo));
  if (change == PanelChange::kMode || change == PanelChange::kVfo) to_all("\x01"s + ModeData(vfo));
}

std::string IcomRig::FrequencyData(int vfo) const {
  const std::int64_t hz = state_.vfos[vfo].hz;
  return ToBcdReversed(hz, static_cast<int>(FrequencyLength(hz)));
}

std::size_t IcomRig::FrequencyLength(std::int64_t hz) const {
  return static_cast<std::size_t>(model_.frequency_bytes) + (hz >= kSixByteHz ? 1 : 0);
}

std::string IcomRig::ModeData(int vfo) const {
  const std::string mode = OneByte(CodeForMode(kModeCodes, state_.vfos[vfo]));
  return model_.filter == IcomModel::Filter::kNone ? mode : mode + OneByte(filter_[vfo] + LowestFilter() - 1);
}

bool IcomRig::TakeFrequency(int vfo, std::string_view data) {
  const auto hz = FromBcdReversed(data);
  if (!hz || data.size() != FrequencyLength(*hz) || !panel_.InRange(*hz)) return false;
  state_.vfos[vfo].hz = *hz;
  return true;
}

int IcomRig::LowestFilter() const {
  using Filter = IcomModel::Filter;
  return model_.filter == Filter::kFromZero ? 0 : model_.filter == Filter::kCrystal ? 2 : 1;
}

// The filter may be left out: the mode's own, here the first.
bool IcomRig::TakeMode(int vfo, std::string_view data) {
  if (data.empty() || data.size() > 2) return false;
  if (data.size() == 2 && model_.filter == IcomModel::Filter::kNone) return false;
  const int filter = data.size() == 2 ? ByteAt(data, 1) - LowestFilter() + 1 : 1;
  if (filter < 1 || filter > (model_.filter == IcomModel::Filter::kCrystal ? 4 : 3)) return false;
  if (ByteAt(data, 0) > model_.highest_mode) return false;
  if (!SetModeByCode(kModeCodes, ByteAt(data, 0), state_.vfos[vfo])) return false;
  filter_[vfo] = filter;
  return true;
}

IcomRig::Result IcomRig::BandEdges(std::string_view data) {
  if (!data.empty()) return Result::kRefused;
  const FrequencySpan& span = model_.spans.front();
  return Answer(command_ + ToBcdReversed(span.low_hz, model_.frequency_bytes) + "\x2D" +
                ToBcdReversed(span.high_hz, model_.frequency_bytes));
}

IcomRig::Result IcomRig::ReadFrequency(std::string_view data) {
  if (!data.empty()) return Result::kRefused;
  return Answer(command_ + FrequencyData(state_.receive_vfo));
}

IcomRig::Result IcomRig::ReadMode(std::string_view data) {
  if (!data.empty()) return Result::kRefused;
  return Answer(command_ + ModeData(state_.receive_vfo));
}

IcomRig::Result IcomRig::SetFrequency(std::string_view data) {
  return TakeFrequency(state_.receive_vfo, data) ? Result::kDone : Result::kRefused;
}

IcomRig::Result IcomRig::SetMode(std::string_view data) {
  return TakeMode(state_.receive_vfo, data) ? Result::kDone : Result::kRefused;
}

// Nothing: VFO mode; the model's codes for its VFOs, A0 (B1 for main and sub) makes them equal, B0 exchanges them.
IcomRig::Result IcomRig::SelectVfo(std::string_view data) {
  if (data.size() > 1) return Result::kRefused;
  const int code = data.empty() ? -1 : ByteAt(data, 0);
  const bool was_split = state_.split();
  const bool main_sub = model_.vfos.starts_with('\xD0');
  const std::size_t vfo = data.empty() ? model_.vfos.npos : model_.vfos.find(data[0]);
  if (vfo != model_.vfos.npos) {
    state_.SelectVfo(static_cast<int>(vfo));
    state_.SetSplit(was_split);
  } else if (code == (main_sub ? 0xB1 : 0xA0)) {
    state_.vfos[1 - state_.receive_vfo] = state_.current();
  } else if (main_sub && (code == 0xC0 || code == 0xC1)) {
    return Result::kDone;  // dual watch: heard, not told
  } else if (code == 0xB0) {
    std::swap(state_.vfos[0], state_.vfos[1]);
  } else if (code != -1) {
    return Result::kRefused;
  }
  state_.memory_mode = false;
  return Result::kDone;
}

IcomRig::Result IcomRig::SelectMemory(std::string_view data) {
  if (data.empty()) {
    state_.memory_mode = true;
    return Result::kDone;
  }
  const auto channel = data.size() == 2 ? FromBcd(data) : std::nullopt;
  if (!channel || *channel < 1 || *channel > kLastMemory) return Result::kRefused;
  state_.memory_channel = static_cast<int>(*channel);
  return Result::kDone;
}

IcomRig::Result IcomRig::WriteMemory(std::string_view data) {
  if (!data.empty()) return Result::kRefused;
  state_.memories[state_.memory_channel] = state_.current();
  return Result::kDone;
}

IcomRig::Result IcomRig::MemoryToVfo(std::string_view data) {
  const auto memory = state_.memories.find(state_.memory_channel);
  if (!data.empty() || memory == state_.memories.end()) return Result::kRefused;
  state_.current() = memory->second;
  return Result::kDone;
}

IcomRig::Result IcomRig::ClearMemory(std::string_view data) {
  if (!data.empty()) return Result::kRefused;
  state_.memories.erase(state_.memory_channel);
  return Result::kDone;
}

IcomRig::Result IcomRig::Scan(std::string_view data) {
  constexpr auto kKinds = "\x00\x01\x02\x03\x12\x13\x22\x23\xA1\xA2\xA3\xA4\xA5\xA6\xA7\xB0\xB1\xB2\xD0\xD3"sv;
  return data.size() == 1 && kKinds.find(data[0]) != kKinds.npos ? Result::kDone : Result::kRefused;
}

IcomRig::Result IcomRig::Split(std::string_view data) {
  if (data.empty()) return Answer(command_ + OneByte(state_.split() ? 1 : 0));
  if (data != "\x00"sv && data != "\x01"sv) return Result::kRefused;
  state_.SetSplit(data == "\x01"sv);
  return Result::kDone;
}

IcomRig::Result IcomRig::Attenuator(std::string_view data) {
  if (data.empty()) return Answer(command_ + OneByte(attenuator_ ? 0x20 : 0x00));
  if (data != "\x00"sv && data != "\x20"sv) return Result::kRefused;
  attenuator_ = data == "\x20"sv;
  return Result::kDone;
}

IcomRig::Result IcomRig::Speak(std::string_view data) {
  return data.size() == 1 && ByteAt(data, 0) <= 2 ? Result::kDone : Result::kRefused;
}

IcomRig::Result IcomRig::AfGain(std::string_view data) {
  if (data.empty()) return Answer(command_ + ToBcd(state_.af, 2));
  const auto gain = data.size() == 2 ? FromBcd(data) : std::nullopt;
  if (!gain || *gain > 255) return Result::kRefused;
  state_.af = static_cast<int>(*gain);
  return Result::kDone;
}

IcomRig::Result IcomRig::Squelch(std::string_view data) {
  if (!data.empty()) return Result::kRefused;
  return Answer(command_ + "\x01");
}

// 0120 is S9, 0241 is 60 dB over it.
IcomRig::Result IcomRig::SMeter(std::string_view data) {
  if (!data.empty()) return Result::kRefused;
  return Answer(command_ + ToBcd(state_.transmitting ? 0 : ScaleMeter(panel_.smeter(), 120, 241), 2));
}

IcomRig::Result IcomRig::SendMorse(std::string_view data) {
  return !data.empty() && data.size() <= kLongestMorse ? Result::kDone : Result::kRefused;
}

IcomRig::Result IcomRig::Power(std::string_view data) {
  if (data != "\x00"sv && data != "\x01"sv) return Result::kRefused;
  if (data == "\x01"sv) {
    state_.powered = true;
    return Result::kDone;
  }
  Answer("\xFB");
  state_.powered = false;
  state_.transmitting = false;
  return Result::kAnswered;
}

IcomRig::Result IcomRig::Identify(std::string_view data) {
  if (!data.empty()) return Result::kRefused;
  return Answer(command_ + OneByte(model_.address));
}

// 00 00 off, or 01 and the filter.
IcomRig::Result IcomRig::DataMode(std::string_view data) {
  const int vfo = state_.receive_vfo;
  if (data.empty())
    return Answer(command_ + OneByte(data_mode_[vfo]) + OneByte(data_mode_[vfo] == 0 ? 0 : filter_[vfo]));
  if (data.size() != 2) return Result::kRefused;
  const int on = ByteAt(data, 0);
  const int filter = ByteAt(data, 1);
  if (!(on == 0 && filter == 0) && !(on == 1 && filter >= 1 && filter <= 3)) return Result::kRefused;
  data_mode_[vfo] = on;
  if (on == 1) filter_[vfo] = filter;
  return Result::kDone;
}

// Two bytes of packed decimal, low pair first, then 00 for plus and 01 for minus.
IcomRig::Result IcomRig::Offset(std::string_view data) {
  if (data.empty())
    return Answer(command_ + ToBcdReversed(std::abs(state_.offset_hz), 2) + OneByte(state_.offset_hz < 0 ? 1 : 0));
  const auto offset = data.size() == 3 ? FromBcdReversed(data.substr(0, 2)) : std::nullopt;
  if (!offset || *offset > kFarthestOffset || ByteAt(data, 2) > 1) return Result::kRefused;
  state_.offset_hz = static_cast<int>(*offset) * (ByteAt(data, 2) == 1 ? -1 : 1);
  return Result::kDone;
}

IcomRig::Result IcomRig::Switch(bool& value, std::string_view data) {
  if (data.empty()) return Answer(command_ + OneByte(value ? 1 : 0));
  if (data != "\x00"sv && data != "\x01"sv) return Result::kRefused;
  value = data == "\x01"sv;
  return Result::kDone;
}

// 00 is the selected VFO, 01 the other; on a rig with main and sub 00 is main.
int IcomRig::NamedVfo(int code) const {
  if (model_.vfos.starts_with('\xD0')) return code;
  return code == 0 ? state_.receive_vfo : 1 - state_.receive_vfo;
}

IcomRig::Result IcomRig::VfoFrequency(std::string_view data) {
  if (data.empty() || ByteAt(data, 0) > 1) return Result::kRefused;
  const int vfo = NamedVfo(ByteAt(data, 0));
  if (data.size() == 1) return Answer(command_ + std::string(data) + FrequencyData(vfo));
  return TakeFrequency(vfo, data.substr(1)) ? Result::kDone : Result::kRefused;
}

// Mode, then data mode, then filter; the last two may be left out.
IcomRig::Result IcomRig::VfoMode(std::string_view data) {
  if (data.empty() || ByteAt(data, 0) > 1) return Result::kRefused;
  const int vfo = NamedVfo(ByteAt(data, 0));
  if (data.size() == 1)
    return Answer(command_ + std::string(data) + OneByte(CodeForMode(kModeCodes, state_.vfos[vfo])) +
                  OneByte(data_mode_[vfo]) + OneByte(filter_[vfo]));
  const int data_mode = data.size() > 2 ? ByteAt(data, 2) : 0;
  std::string mode(data.substr(1, 1));
  if (data.size() == 4) mode += data[3];
  if (data.size() > 4 || data_mode > 1 || !TakeMode(vfo, mode)) return Result::kRefused;
  data_mode_[vfo] = data_mode;
  return Result::kDone;
}

}  // namespace kvx::sim
