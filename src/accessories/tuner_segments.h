#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/frequency.h"

namespace kvx::accessories {

/// A stretch of frequencies that has tuner settings of its own: from `from` up to, not including, `to`.
struct TunerSegment {
  std::string_view key;  ///< under which the notebook keeps it
  std::int64_t from;     ///< kHz
  std::int64_t to;       ///< kHz

  constexpr bool Holds(Frequency frequency) const {
    return frequency >= Frequency::FromKhz(from) && frequency < Frequency::FromKhz(to);
  }
};

/// In rising order. The last one is everything that is in no other, with limits that hold nothing.
inline constexpr std::array kTunerSegments{
    TunerSegment{"1000", 1000, 1900},
    TunerSegment{"1900", 1900, 2000},
    TunerSegment{"2000", 2000, 3000},
    TunerSegment{"3000", 3000, 3700},
    TunerSegment{"3700", 3700, 4000},
    TunerSegment{"4000", 4000, 5000},
    TunerSegment{"5000", 5000, 5360},
    TunerSegment{"5360", 5360, 6000},
    TunerSegment{"6000", 6000, 7000},
    TunerSegment{"7000", 7000, 7150},
    TunerSegment{"7150", 7150, 7400},
    TunerSegment{"7400", 7400, 8000},
    TunerSegment{"8000", 8000, 9000},
    TunerSegment{"9000", 9000, 10'000},
    TunerSegment{"10000", 10'000, 11'000},
    TunerSegment{"11000", 11'000, 12'000},
    TunerSegment{"12000", 12'000, 13'000},
    TunerSegment{"13000", 13'000, 14'000},
    TunerSegment{"14000", 14'000, 14'200},
    TunerSegment{"14200", 14'200, 14'400},
    TunerSegment{"14400", 14'400, 15'000},
    TunerSegment{"15000", 15'000, 16'000},
    TunerSegment{"16000", 16'000, 17'000},
    TunerSegment{"17000", 17'000, 18'000},
    TunerSegment{"18000", 18'000, 18'115},
    TunerSegment{"18115", 18'115, 19'000},
    TunerSegment{"19000", 19'000, 20'000},
    TunerSegment{"20000", 20'000, 21'000},
    TunerSegment{"21000", 21'000, 21'200},
    TunerSegment{"21200", 21'200, 22'000},
    TunerSegment{"22000", 22'000, 23'000},
    TunerSegment{"23000", 23'000, 24'000},
    TunerSegment{"24000", 24'000, 25'000},
    TunerSegment{"26000", 26'000, 27'000},
    TunerSegment{"27000", 27'000, 28'000},
    TunerSegment{"28000", 28'000, 28'800},
    TunerSegment{"28800", 28'800, 29'000},
    TunerSegment{"29000", 29'000, 30'000},
    TunerSegment{"30000", 30'000, 50'000},
    TunerSegment{"50000", 50'000, 52'000},
    TunerSegment{"52000", 52'000, 54'000},
    TunerSegment{"54000", 54'000, 146'000},
    TunerSegment{"146000", 146'000, 148'000},
    TunerSegment{"148000", 148'000, 420'000},
    TunerSegment{"420000", 420'000, 480'000},
    TunerSegment{"480000", 480'000, 500'000'000},
    TunerSegment{"1", 0, 0},
};

const TunerSegment& SegmentOf(Frequency frequency);
/// Null when there is no segment of that key.
const TunerSegment* SegmentOfKey(std::string_view key);
/// "14000.00 to 14199.99 kHz", as far as the display's digits go; "all other frequencies".
std::string RangeText(const TunerSegment& segment);

}  // namespace kvx::accessories
