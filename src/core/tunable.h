#pragma once

#include "core/frequency.h"

namespace kvx {

/// What a rig is told to tune to by other programs, or by a typed frequency. Below it digits have been lost, above it
/// digits have been added: no rig and no transverter goes there.
inline constexpr Frequency kLowestTunable = Frequency::FromKhz(30);
inline constexpr Frequency kHighestTunable = Frequency::FromKhz(10'500'000);

constexpr bool IsTunable(Frequency frequency) {
  return frequency >= kLowestTunable && frequency <= kHighestTunable;
}

}  // namespace kvx
