#include "sim/yaesu_status_model.h"

#include <algorithm>

#include "sim/bcd.h"
#include "sim/signal_meter.h"

namespace kvx::sim {
namespace {

constexpr std::array kShortWave{FrequencySpan{100'000, 30'000'000}};
constexpr int kSecondForm = 0x80;  // of RTTY and packet, in the filter byte

std::string Bytes(std::initializer_list<int> values) {
  std::string bytes;
  for (const int value : values) bytes += static_cast<char>(value);
  return bytes;
}

/// `count` bytes, high byte first.
std::string Binary(std::int64_t value, int count) {
  std::string bytes;
  for (int shift = (count - 1) * 8; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

std::string Zeros(std::size_t count) {
  return std::string(count, '\x00');
}

// Upper edges, in kHz, of the bands that number the receiver's input filters, from 01h on.
constexpr std::array kBandEdgesKhz{500,   1500,  1800,  2000,  2500,  3000,  3500,  4000,  5500,  6500,
                                   7000,  7500,  8500,  10500, 12000, 14000, 14500, 15000, 18000, 18500,
                                   21000, 21500, 22000, 24500, 25000, 28000, 29000, 30000};

std::string BandNumber(std::int64_t hz) {
  const auto* band =
      std::find_if(kBandEdgesKhz.begin(), kBandEdgesKhz.end(), [hz](int edge) { return hz <= edge * 1000LL; });
  return Bytes({static_cast<int>(band - kBandEdgesKhz.begin()) + 1});
}

int FilterOf(const YaesuStatusState& state, const VfoState& vfo) {
  const bool second_form = vfo.mode == Mode::kRttyr || (vfo.mode == Mode::kData && vfo.narrow);
  return state.filters[&vfo == &state.rig.vfos[1] ? 1 : 0] | (second_form ? kSecondForm : 0);
}

/// Bit 0 transmit and bit 1 receive clarifier on; then its offset in 10 Hz, binary with sign.
int ClarifierFlags(const RigState& rig) {
  return (rig.xit_on ? 0x01 : 0) | (rig.rit_on ? 0x02 : 0);
}

std::string Meter(int value, int s9, int top, bool transmitting) {
  const int reading = transmitting ? top * 2 / 3 : ScaleMeter(value, s9, top);
  return Bytes({reading, reading, reading, reading, 0xF7});
}

// ---- FT-1000D and FT-990: b fff s oo m i r..r   b = band, f = frequency in 10 Hz, s and o = clarifier, m = mode, i =
// filter, r = seven bytes of what was used last
const std::vector<ModeCode> kRecordCodes{{0, Mode::kLsb},  {1, Mode::kUsb},   {2, Mode::kCw},
                                         {2, Mode::kCwr},  {3, Mode::kAm},    {4, Mode::kFm},
                                         {5, Mode::kRtty}, {5, Mode::kRttyr}, {6, Mode::kData}};

std::string Record16(const YaesuStatusState& state, const VfoState& vfo) {
  return BandNumber(vfo.hz) + Binary(vfo.hz / 10, 3) + Bytes({ClarifierFlags(state.rig)}) +
         Binary(state.rig.offset_hz / 10, 2) + Bytes({CodeForMode(kRecordCodes, vfo), FilterOf(state, vfo)}) + Zeros(7);
}

constexpr int kLastMemory = 99;

using Recorder = std::string (*)(const YaesuStatusState& state, const VfoState& vfo);

/// An empty memory has bit 7 of its first byte set.
std::string MemoryRecord(const YaesuStatusState& state, int channel, Recorder record) {
  const auto memory = state.rig.memories.find(channel);
  if (memory != state.rig.memories.end()) return record(state, memory->second);
  std::string empty(record(state, state.rig.vfos[0]).size(), '\x00');
  empty[0] = static_cast<char>(0x80);
  return empty;
}

/// What is in use: a VFO, or the memory that has been recalled.
std::string InUse(const YaesuStatusState& state, Recorder record) {
  return state.rig.memory_mode ? MemoryRecord(state, state.rig.memory_channel, record)
                               : record(state, state.rig.current());
}

std::string BothVfos(const YaesuStatusState& state, Recorder record) {
  return record(state, state.rig.vfos[0]) + record(state, state.rig.vfos[1]);
}

std::string MemoryChannel(const YaesuStatusState& state) {
  return Bytes({state.rig.memory_channel - 1});
}

// Byte 1: bit 0 split, 2 tuner at work, 3 under CAT control, 4 (FT-1000D) or 1 (FT-990) VFO B in use, 7 transmitting.
// Byte 2: bit 3 locked, 5 VFO, 6 memory. Byte 3: bit 0 PTT, 6 tuner on.
std::string Flags3(const YaesuStatusState& state, int vfo_b) {
  const RigState& rig = state.rig;
  return Bytes({0x08 | (rig.split() ? 0x01 : 0) | (rig.receive_vfo == 1 ? vfo_b : 0) | (rig.transmitting ? 0x80 : 0),
                (rig.locked ? 0x08 : 0) | (rig.memory_mode ? 0x40 : 0x20),
                (rig.transmitting ? 0x01 : 0) | (state.tuner ? 0x40 : 0)});
}

constexpr int kFt1000DVfoB = 0x10;
constexpr int kFt990VfoB = 0x02;

std::optional<std::string> UpdateFt1000D(const YaesuStatusState& state, int what, int channel, int /*meter*/) {
  std::string all;
  switch (what) {
    case 0:
      all = Flags3(state, kFt1000DVfoB) + MemoryChannel(state) + Record16(state, state.rig.current()) +
            BothVfos(state, Record16);
      for (int memory = 1; memory <= kLastMemory; ++memory) all += MemoryRecord(state, memory, Record16);
      return all;
    case 1:
      return MemoryChannel(state);
    case 2:
      return InUse(state, Record16);
    case 3:
      return BothVfos(state, Record16);
    case 4:
      return channel < kLastMemory ? std::optional(MemoryRecord(state, channel + 1, Record16)) : std::nullopt;
    default:
      return std::nullopt;
  }
}

// The operating data of the front display, then of the rear one.
std::optional<std::string> UpdateFt990(const YaesuStatusState& state, int what, int channel, int meter) {
  constexpr int kFt990Memories = 90;
  const std::string displays = InUse(state, Record16) + Record16(state, state.rig.vfos[1 - state.rig.receive_vfo]);
  if (what == 2) return displays;
  if (what != 0) return UpdateFt1000D(state, what, channel, meter);
  std::string all = Flags3(state, kFt990VfoB) + MemoryChannel(state) + displays + BothVfos(state, Record16);
  for (int memory = 1; memory <= kFt990Memories; ++memory) all += MemoryRecord(state, memory, Record16);
  return all;
}

// AM: filter 4 reads back as 0 for 6 kHz
constexpr std::array kFt1000DModes{
    YaesuSetMode{0x00, Mode::kLsb},         YaesuSetMode{0x01, Mode::kUsb},  YaesuSetMode{0x02, Mode::kCw},
    YaesuSetMode{0x03, Mode::kCw, true, 2}, YaesuSetMode{0x04, Mode::kAm},   YaesuSetMode{0x05, Mode::kAm, true, 4},
    YaesuSetMode{0x06, Mode::kFm},          YaesuSetMode{0x07, Mode::kFm},   YaesuSetMode{0x08, Mode::kRtty},
    YaesuSetMode{0x09, Mode::kRttyr},       YaesuSetMode{0x0A, Mode::kData}, YaesuSetMode{0x0B, Mode::kData, true},
};

std::string MeterToF0(const YaesuStatusState& state, int meter) {
  return Meter(meter, 0x78, 0xF0, state.rig.transmitting);
}

// ---- FT-1000MP: b ffff oo m i r..r   f = frequency in 0.625 Hz
std::string RecordMp(const YaesuStatusState& state, const VfoState& vfo) {
  return BandNumber(vfo.hz) + Binary(vfo.hz * 8 / 5, 4) + Binary(state.rig.offset_hz * 8 / 5, 2) +
         Bytes({CodeForMode(kRecordCodes, vfo), FilterOf(state, vfo), 0x11}) + Zeros(6);
}

std::optional<std::string> UpdateMp(const YaesuStatusState& state, int what, int channel, int /*meter*/) {
  switch (what) {
    case 1:
      return MemoryChannel(state);
    case 2:
      return InUse(state, RecordMp);
    case 3:
      return BothVfos(state, RecordMp);
    case 4:
      return channel < kLastMemory ? std::optional(MemoryRecord(state, channel + 1, RecordMp)) : std::nullopt;
    default:
      return std::nullopt;
  }
}

std::string MeterMp(const YaesuStatusState& state, int meter) {
  return Meter(meter, 160, 255, state.rig.transmitting);
}

constexpr std::array kMpModes{
    YaesuSetMode{0x00, Mode::kLsb},   YaesuSetMode{0x01, Mode::kUsb},  YaesuSetMode{0x02, Mode::kCw},
    YaesuSetMode{0x03, Mode::kCwr},   YaesuSetMode{0x04, Mode::kAm},   YaesuSetMode{0x05, Mode::kAm},
    YaesuSetMode{0x06, Mode::kFm},    YaesuSetMode{0x07, Mode::kFm},   YaesuSetMode{0x08, Mode::kRtty},
    YaesuSetMode{0x09, Mode::kRttyr}, YaesuSetMode{0x0A, Mode::kData}, YaesuSetMode{0x0B, Mode::kData, true},
};

// ---- FT-890, FT-840, FT-900: b fff oo m t i   t = tone, i = bit 6 narrow AM, bit 7 narrow CW
std::string Record9(const YaesuStatusState& state, const VfoState& vfo) {
  const int narrow = !vfo.narrow ? 0 : vfo.mode == Mode::kAm ? 0x40 : vfo.mode == Mode::kCw ? 0x80 : 0;
  return BandNumber(vfo.hz) + Binary(vfo.hz / 10, 3) + Binary(state.rig.offset_hz / 10, 2) +
         Bytes({CodeForMode(kRecordCodes, vfo), 0, narrow});
}

std::optional<std::string> UpdateFt890(const YaesuStatusState& state, int what, int channel, int /*meter*/) {
  constexpr int kFt890Memories = 32;
  switch (what) {
    case 1:
      return MemoryChannel(state);
    case 2:
      return MemoryChannel(state) + InUse(state, Record9) + Record9(state, state.rig.vfos[1 - state.rig.receive_vfo]);
    case 3:
      return BothVfos(state, Record9);
    case 4:
      if (channel < 1 || channel > kFt890Memories) return std::nullopt;
      return Bytes({channel}) + MemoryRecord(state, channel, Record9) + Zeros(9);
    default:
      return std::nullopt;
  }
}

// Byte 1: bit 2 split, 5 memory, 6 VFO B, 7 VFO. Byte 3: bit 7 PTT.
std::optional<std::string> FlagsFt890(const YaesuStatusState& state, int /*what*/) {
  const RigState& rig = state.rig;
  const int vfo = rig.memory_mode ? 0x20 : 0x80 | (rig.receive_vfo == 1 ? 0x40 : 0);
  return Bytes({vfo | (rig.split() ? 0x04 : 0), rig.locked ? 0x08 : 0, rig.transmitting ? 0x80 : 0, 0x08, 0x41});
}

std::string MeterFt890(const YaesuStatusState& state, int meter) {
  return Meter(meter, 0x44, 0x9D, state.rig.transmitting);
}

constexpr std::array kFt890Modes{
    YaesuSetMode{0x00, Mode::kLsb},      YaesuSetMode{0x01, Mode::kUsb}, YaesuSetMode{0x02, Mode::kCw},
    YaesuSetMode{0x03, Mode::kCw, true}, YaesuSetMode{0x04, Mode::kAm},  YaesuSetMode{0x05, Mode::kAm, true},
    YaesuSetMode{0x06, Mode::kFm},       YaesuSetMode{0x07, Mode::kFm},
};

// ---- FT-920: b ffff oo m g ii tt r   f = frequency in Hz, m = bit 6 upper sideband, bit 7 narrow
const std::vector<ModeCode> kFt920Codes{{0x00, Mode::kLsb},      {0x40, Mode::kUsb},   {0x41, Mode::kCw},
                                        {0xC1, Mode::kCw, true}, {0x01, Mode::kCwr},   {0x02, Mode::kAm},
                                        {0x82, Mode::kAm, true}, {0x03, Mode::kFm},    {0x83, Mode::kFm, true},
                                        {0x04, Mode::kRtty},     {0x05, Mode::kRttyr}, {0x06, Mode::kData}};

std::string RecordFt920(const YaesuStatusState& state, const VfoState& vfo) {
  return BandNumber(vfo.hz) + Binary(vfo.hz, 4) + Binary(state.rig.offset_hz, 2) +
         Bytes({CodeForMode(kFt920Codes, vfo)}) + Zeros(6);
}

std::optional<std::string> UpdateFt920(const YaesuStatusState& state, int what, int channel, int /*meter*/) {
  switch (what) {
    case 1:
      return MemoryChannel(state);
    case 2:
      return InUse(state, RecordFt920) + RecordFt920(state, state.rig.vfos[1 - state.rig.receive_vfo]);
    case 3:
      return BothVfos(state, RecordFt920);
    case 4:
      return MemoryRecord(state, channel + 1, RecordFt920);
    default:
      return std::nullopt;
  }
}

// Byte 1: bit 0 VFO B transmits, 1 VFO B receives, 7 transmitting. Byte 2: bit 5 VFO, 6 memory. Byte 3: bit 1 tuner.
std::optional<std::string> FlagsFt920(const YaesuStatusState& state, int what) {
  if (what != 1) return std::nullopt;
  const RigState& rig = state.rig;
  const int first = rig.transmit_vfo | rig.receive_vfo << 1 | (rig.transmitting ? 0x80 : 0);
  return Bytes({first, rig.memory_mode ? 0x40 : 0x20, (state.tuner ? 0x02 : 0) | (rig.locked ? 0x08 : 0)}) + Zeros(5);
}

// S, ALC, volts, amperes
std::string MeterFt920(const YaesuStatusState& state, int meter) {
  const bool sending = state.rig.transmitting;
  return Bytes({sending ? 0xA0 : ScaleMeter(meter, 0x78, 0xF0), sending ? 0x40 : 0, 0x8A, sending ? 0x60 : 0x10, 0xF7});
}

constexpr std::array kFt920Spans{FrequencySpan{100'000, 30'000'000}, FrequencySpan{48'000'000, 56'000'000}};
constexpr std::array kFt920Modes{
    YaesuSetMode{0x00, Mode::kLsb},  YaesuSetMode{0x01, Mode::kUsb},      YaesuSetMode{0x02, Mode::kCw},
    YaesuSetMode{0x03, Mode::kCwr},  YaesuSetMode{0x04, Mode::kAm},       YaesuSetMode{0x05, Mode::kAm},
    YaesuSetMode{0x06, Mode::kFm},   YaesuSetMode{0x07, Mode::kFm, true}, YaesuSetMode{0x08, Mode::kRtty},
    YaesuSetMode{0x09, Mode::kRtty}, YaesuSetMode{0x0A, Mode::kRttyr},    YaesuSetMode{0x0B, Mode::kData},
};

// ---- FT-747: everything in 345 bytes, decimal frequencies in hertz at 1, 9 (A) and 17 (B), mode bits at 24
const std::vector<ModeCode> kFt747Codes{{0x01, Mode::kFm},       {0x81, Mode::kFm, true}, {0x02, Mode::kAm},
                                        {0x82, Mode::kAm, true}, {0x04, Mode::kCw},       {0x84, Mode::kCw, true},
                                        {0x08, Mode::kUsb},      {0x10, Mode::kLsb}};

std::optional<std::string> UpdateFt747(const YaesuStatusState& state, int /*what*/, int /*channel*/, int /*meter*/) {
  const RigState& rig = state.rig;
  std::string all = Zeros(345);
  // Bit 0 locked, 1 split, 2 clarifier, 3 VFO B, 4 memory, 5 transmitting.
  all[0] = static_cast<char>((rig.locked ? 0x01 : 0) | (rig.split() ? 0x02 : 0) | (rig.rit_on ? 0x04 : 0) |
                             (rig.receive_vfo == 1 ? 0x08 : 0) | (rig.transmitting ? 0x20 : 0));
  all.replace(1, 4, ToBcd(rig.current().hz, 4));
  all[5] = '\x48';  // no digit of the frequency
  all.replace(9, 4, ToBcd(rig.vfos[0].hz, 4));
  all.replace(17, 4, ToBcd(rig.vfos[1].hz, 4));
  all[23] = static_cast<char>(std::max(rig.memory_channel - 1, 0));
  all[24] = static_cast<char>(CodeForMode(kFt747Codes, rig.current()));
  // It says nothing while it transmits.
  return rig.transmitting ? std::string() : all;
}

constexpr std::array kFt747Spans{FrequencySpan{100'000, 29'999'990}};
constexpr std::array kFt747Modes{
    YaesuSetMode{0x00, Mode::kLsb},      YaesuSetMode{0x01, Mode::kUsb},      YaesuSetMode{0x02, Mode::kCw},
    YaesuSetMode{0x03, Mode::kCw, true}, YaesuSetMode{0x04, Mode::kAm},       YaesuSetMode{0x05, Mode::kAm, true},
    YaesuSetMode{0x06, Mode::kFm},       YaesuSetMode{0x07, Mode::kFm, true},
};

// ---- FT-757GXII: 75 bytes, decimal frequencies in 10 Hz, low pair first, and modes at 5 (displayed), 10 (A), 15 (B)
constexpr std::array kFt757Modes{
    YaesuSetMode{0x00, Mode::kLsb},      YaesuSetMode{0x01, Mode::kUsb}, YaesuSetMode{0x02, Mode::kCw},
    YaesuSetMode{0x03, Mode::kCw, true}, YaesuSetMode{0x04, Mode::kAm},  YaesuSetMode{0x05, Mode::kFm},
};
const std::vector<ModeCode> kFt757Codes{{0, Mode::kLsb},      {1, Mode::kUsb}, {2, Mode::kCw},
                                        {3, Mode::kCw, true}, {4, Mode::kAm},  {5, Mode::kFm}};

std::optional<std::string> UpdateFt757(const YaesuStatusState& state, int what, int /*channel*/, int meter) {
  const RigState& rig = state.rig;
  if (what == 1) return Bytes({ScaleMeter(meter, 9, 15)});
  if (what != 0) return std::nullopt;
  const auto five = [](const VfoState& vfo) {
    return ToBcdReversed(vfo.hz / 10, 4) + Bytes({CodeForMode(kFt757Codes, vfo)});
  };
  const int first = (rig.receive_vfo == 1 ? 0x08 : 0) | (rig.transmitting ? 0x20 : 0);
  const std::string told = Bytes({first, 0, 0, 0, 0}) + five(rig.current()) + five(rig.vfos[0]) + five(rig.vfos[1]);
  return told + Zeros(75 - told.size());
}

constexpr std::array kFt757Spans{FrequencySpan{150'000, 29'999'990}};

// ---- FT-100: b ffff m t d gg oo n ss i r..r   f = frequency in 1.25 Hz, m = lower half mode, upper half filter
const std::vector<ModeCode> kFt100Codes{{0, Mode::kLsb}, {1, Mode::kUsb},  {2, Mode::kCw}, {3, Mode::kCwr},
                                        {4, Mode::kAm},  {5, Mode::kData}, {6, Mode::kFm}};
constexpr std::array kFt100Modes{
    YaesuSetMode{0x00, Mode::kLsb}, YaesuSetMode{0x01, Mode::kUsb}, YaesuSetMode{0x02, Mode::kCw},
    YaesuSetMode{0x03, Mode::kCwr}, YaesuSetMode{0x04, Mode::kAm},  YaesuSetMode{0x05, Mode::kData},
    YaesuSetMode{0x06, Mode::kFm},
};
constexpr std::array kFt100Spans{FrequencySpan{100'000, 56'000'000}, FrequencySpan{76'000'000, 154'000'000},
                                 FrequencySpan{420'000'000, 470'000'000}};

std::optional<std::string> UpdateFt100(const YaesuStatusState& state, int what, int /*channel*/, int /*meter*/) {
  if (what != 0) return std::nullopt;
  const VfoState& vfo = state.rig.current();
  return BandNumber(vfo.hz) + Binary(vfo.hz * 4 / 5, 4) + Bytes({0x10 | CodeForMode(kFt100Codes, vfo)}) + Zeros(26);
}

// The fourth byte is the S-meter: 200 at rest, 120 at S9, 90 at 60 dB over it.
std::string MeterFt100(const YaesuStatusState& state, int meter) {
  const int power = state.rig.transmitting ? 0xC0 : 0;
  return Bytes({0, power, power / 16, 200 - ScaleMeter(meter, 80, 110), 0x40, 0, 0, 0x20, power / 2});
}

// Byte 1: bit 0 split, 7 transmitting. Byte 2: bit 2 VFO B.
std::optional<std::string> FlagsFt100(const YaesuStatusState& state, int what) {
  if (what != 1) return std::nullopt;
  const RigState& rig = state.rig;
  return Bytes({(rig.split() ? 0x01 : 0) | (rig.transmitting ? 0x80 : 0), rig.receive_vfo == 1 ? 0x04 : 0}) + Zeros(6);
}

}  // namespace

const YaesuStatusModel kFt1000D{
    .spans = kShortWave,
    .modes = kFt1000DModes,
    .opcodes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0C\x0E\x0F\x10\x81\x82\x84\x85\x8A\x8C\x8E\xF7\xF8\xF9\xFA",
    .update = UpdateFt1000D,
    .meter = MeterToF0,
    .flags = [](const YaesuStatusState& state, int) -> std::optional<std::string> {
      return Flags3(state, kFt1000DVfoB) + Bytes({0x10, 0x00});
    }};

const YaesuStatusModel kFt990{
    .spans = kShortWave,
    .modes = kFt1000DModes,
    .opcodes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0C\x0E\x0F\x10\x81\x82\x84\x85\x8C\x8E\xF7\xF8\xF9\xFA",
    .update = UpdateFt990,
    .meter = MeterToF0,
    .flags = [](const YaesuStatusState& state, int) -> std::optional<std::string> {
      return Flags3(state, kFt990VfoB) + Bytes({0x09, 0x90});
    }};

const YaesuStatusModel kFt1000Mp{
    .spans = kShortWave,
    .modes = kMpModes,
    .opcodes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0C\x0E\x0F\x10\x81\x82\x85\x8A\x8C\xF7\xFA",
    .update = UpdateMp,
    .meter = MeterMp,
    .flags = [](const YaesuStatusState& state, int) -> std::optional<std::string> {
      return Flags3(state, kFt1000DVfoB) + Bytes({0x03, 0x93});
    }};

const YaesuStatusModel kFt890{
    .spans = kShortWave,
    .modes = kFt890Modes,
    .opcodes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0C\x0E\x0F\x10\x81\x82\x84\x85\x8E\xF7\xF9\xFA",
    .update = UpdateFt890,
    .meter = MeterFt890,
    .flags = FlagsFt890};

const YaesuStatusModel kFt920{.spans = kFt920Spans,
                              .modes = kFt920Modes,
                              .opcodes = "\x01\x02\x03\x05\x06\x09\x0A\x0C\x0E\x0F\x10\x81\x82\x8A\x8C\xF7\xFA",
                              .update = UpdateFt920,
                              .meter = MeterFt920,
                              .flags = FlagsFt920};

const YaesuStatusModel kFt747{.spans = kFt747Spans,
                              .modes = kFt747Modes,
                              .opcodes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0C\x0E\x0F\x10",
                              .step_100_khz = 5,
                              .update = UpdateFt747};

const YaesuStatusModel kFt757Gx2{.spans = kFt757Spans,
                                 .modes = kFt757Modes,
                                 .opcodes = "\x05\x07\x08\x0A\x0C\x10",
                                 .step_100_khz = 5,
                                 .update = UpdateFt757};

const YaesuStatusModel kFt100{.spans = kFt100Spans,
                              .modes = kFt100Modes,
                              .opcodes = "\x01\x05\x0A\x0C\x0F\x10\x84\x8C\x92\xF7\xFA",
                              .update = UpdateFt100,
                              .meter = MeterFt100,
                              .flags = FlagsFt100};

}  // namespace kvx::sim
