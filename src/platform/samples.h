#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

namespace kvx::platform {

/// A sample of 16 bits from one of -1..1, which is limited. It undoes ToFloat exactly.
inline std::int16_t To16Bits(float sample) {
  return static_cast<std::int16_t>(std::lround(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F)));
}

inline float ToFloat(std::int16_t sample) {
  return static_cast<float>(sample) / 32768.0F;
}

inline std::vector<std::int16_t> To16Bits(std::span<const float> samples) {
  std::vector<std::int16_t> result;
  result.reserve(samples.size());
  for (const float sample : samples) result.push_back(To16Bits(sample));
  return result;
}

}  // namespace kvx::platform
