#include "core/frequency.h"

#include "core/text.h"

namespace kvx {
namespace {

constexpr int kDecimals = 4;  // of a kHz, as many as decihertz can hold

}  // namespace

std::string KhzText(Frequency frequency) {
  const std::int64_t tens = frequency.tens_of_hz();
  const std::int64_t magnitude = tens < 0 ? -tens : tens;
  const std::string decimals = std::to_string(magnitude % 100);
  return (tens < 0 ? "-" : "") + std::to_string(magnitude / 100) + (decimals.size() < 2 ? ".0" : ".") + decimals;
}

std::optional<Frequency> ParseKhz(std::string_view text) {
  text = Trim(text);
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  std::int64_t value = 0;
  int decimals = -1;  // -1 until the point is seen
  bool any_digit = false;
  for (const char c : text) {
    if ((c == '.' || c == ',') && decimals < 0) {
      decimals = 0;
    } else if (!IsDigit(c)) {
      return std::nullopt;
    } else {
      any_digit = true;
      if (decimals >= kDecimals) continue;
      value = value * 10 + (c - '0');
      if (decimals >= 0) ++decimals;
      if (value > kHighestFrequency.decihertz) return std::nullopt;
    }
  }
  if (!any_digit) return std::nullopt;
  for (int i = decimals < 0 ? 0 : decimals; i < kDecimals; ++i) value *= 10;
  if (value > kHighestFrequency.decihertz) return std::nullopt;
  return Frequency{negative ? -value : value};
}

}  // namespace kvx
