#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvx {

/// A frequency or a frequency offset, kept as a whole number of tenths of a hertz so that kHz with four decimals is
/// exact. Never a binary fraction: 14025.37 kHz stays 14025.37 kHz.
struct Frequency {
  std::int64_t decihertz = 0;

  static constexpr Frequency FromHz(std::int64_t hz) { return {hz * 10}; }
  static constexpr Frequency FromKhz(std::int64_t khz) { return {khz * 10'000}; }

  /// Whole hertz, rounded towards zero.
  constexpr std::int64_t hz() const { return decihertz / 10; }
  /// Units of 10 Hz, the display's last digit, rounded towards zero.
  constexpr std::int64_t tens_of_hz() const { return decihertz / 100; }
  /// The same frequency cut to what the display shows (10 Hz).
  constexpr Frequency displayed() const { return {tens_of_hz() * 100}; }

  auto operator<=>(const Frequency&) const = default;
};

constexpr Frequency operator+(Frequency a, Frequency b) {
  return {a.decihertz + b.decihertz};
}
constexpr Frequency operator-(Frequency a, Frequency b) {
  return {a.decihertz - b.decihertz};
}

/// The highest frequency that the console accepts: 1 THz. Keeps all arithmetic on outside text far from overflow.
inline constexpr Frequency kHighestFrequency = Frequency::FromHz(1'000'000'000'000);

/// kHz text with two decimals and a point, "14025.00"; cut, not rounded, to 10 Hz. Negative offsets get "-".
std::string KhzText(Frequency frequency);

/// Reads kHz text such as "14025", "14025.5", "-1.5" or "14025,37" (blanks around it allowed); digits past the fourth
/// decimal are cut. Nothing when anything else stands in it, it holds no digit, or it is beyond kHighestFrequency.
std::optional<Frequency> ParseKhz(std::string_view text);

}  // namespace kvx
