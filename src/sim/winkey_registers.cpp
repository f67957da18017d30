#include "sim/winkey_registers.h"

#include <algorithm>

#include "sim/bcd.h"

namespace kvx::sim {
namespace {

struct Limits {
  int low;
  int high;
  bool or_zero;
};

// K1EL WinKeyer 2 manual, host mode commands. A pot byte has six bits, so the range ends at 63.
constexpr std::array<Limits, WinkeyRegisters::kCount> kLimits{{{0, 0xFF, false},
                                                               {5, 99, true},
                                                               {1, 0xFF, false},
                                                               {10, 90, false},
                                                               {0, 250, false},
                                                               {0, 250, false},
                                                               {5, 99, false},
                                                               {0, 63, false},
                                                               {0, 250, false},
                                                               {0, 250, false},
                                                               {10, 99, true},
                                                               {10, 90, false},
                                                               {33, 66, false},
                                                               {0, 0xFF, false},
                                                               {0, 0xFF, false}}};
constexpr int kPaddleOnly = 0x80;  // of the side tone

}  // namespace

bool WinkeyRegisters::Allowed(WinkeyRegister which, int value) const {
  const Limits& limits = kLimits[static_cast<std::size_t>(which)];
  if (which == WinkeyRegister::kSideTone) {
    const int tone = value & ~kPaddleOnly;
    return (tone >= 1 && tone <= 10) || (fine_side_tone_ && tone >= 15 && tone <= 125);
  }
  return (value >= limits.low && value <= limits.high) || (limits.or_zero && value == 0);
}

bool WinkeyRegisters::Set(WinkeyRegister which, int value) {
  if (!Allowed(which, value)) return false;
  values_[static_cast<std::size_t>(which)] = value;
  return true;
}

bool WinkeyRegisters::Load(std::string_view bytes) {
  if (bytes.size() != kCount) return false;
  for (std::size_t i = 0; i < kCount; ++i) {
    if (!Allowed(static_cast<WinkeyRegister>(i), ByteAt(bytes, i))) return false;
  }
  for (std::size_t i = 0; i < kCount; ++i) values_[i] = ByteAt(bytes, i);
  return true;
}

std::string WinkeyRegisters::Bytes() const {
  std::string bytes;
  for (const int value : values_) bytes += static_cast<char>(value);
  return bytes;
}

int WinkeyRegisters::side_tone_hertz() const {
  const int tone = (*this)[WinkeyRegister::kSideTone] & ~kPaddleOnly;
  return tone > 10 ? 62'500 / tone : 4000 / std::max(tone, 1);
}

}  // namespace kvx::sim
