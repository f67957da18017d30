#pragma once

#include <array>
#include <string_view>

#include "core/frequency.h"

namespace kvx::cat {

/// One amateur band as the console knows it: its number, its place in the band memory, where it begins when nothing is
/// remembered, and its tuning limits.
struct Band {
  int number;
  int memory;  ///< index in the band memory; 0: it has none and no button
  Frequency default_frequency;
  Frequency reference;
  Frequency lower;
  Frequency upper;
  bool sets_limits_first =
      false;                ///< its button sets limits before the mode is sent; the others only through SetLimits
  Frequency first_lower{};  ///< those limits where they differ
};

namespace detail {
constexpr Band Row(int number, int memory, std::int64_t start, std::int64_t reference, std::int64_t lower,
                   std::int64_t upper, bool first) {
  return {number,
          memory,
          Frequency::FromKhz(start),
          Frequency::FromKhz(reference),
          Frequency::FromKhz(lower),
          Frequency::FromKhz(upper),
          first,
          Frequency::FromKhz(lower)};
}
constexpr Band SixtyMeters() {
  Band band = Row(60, 7, 5302, 5302, 5332, 5405, true);
  band.first_lower = Frequency::FromKhz(5302);
  return band;
}
}  // namespace detail

/// 60 m and 12 m begin below their lower limits and 902 MHz (number 35) counts from 222 MHz: so the console has always
/// behaved.
inline constexpr std::array kBands{
    detail::Row(160, 1, 1800, 1800, 1800, 2000, true),
    detail::Row(80, 2, 3500, 3500, 3500, 4000, true),
    detail::Row(40, 3, 7000, 7000, 7000, 7300, true),
    detail::Row(20, 4, 14000, 14000, 14000, 14350, true),
    detail::Row(15, 5, 21000, 21000, 21000, 21450, true),
    detail::Row(10, 6, 28000, 28000, 28000, 29700, true),
    detail::SixtyMeters(),
    detail::Row(30, 8, 10100, 10100, 10100, 10150, true),
    detail::Row(17, 9, 18068, 18068, 18068, 18168, true),
    detail::Row(12, 10, 24880, 24880, 24890, 24990, false),
    detail::Row(6, 11, 50000, 50000, 50000, 54000, false),
    detail::Row(2, 12, 144000, 144000, 144000, 148000, false),
    detail::Row(220, 13, 222000, 222000, 222000, 225000, false),
    detail::Row(440, 14, 420000, 420000, 420000, 450000, false),
    detail::Row(35, 15, 902000, 222000, 902000, 928000, false),
    detail::Row(23, 0, 1240000, 1240000, 1240000, 1300000, false),
};

/// The band of that number, or null.
const Band* FindBand(int number);
/// The band within whose limits a frequency lies, or null.
const Band* BandOf(Frequency frequency);

}  // namespace kvx::cat
