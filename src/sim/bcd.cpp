#include "sim/bcd.h"

#include <algorithm>

namespace kvx::sim {
namespace {

constexpr std::size_t kMostBytes = 9;  // more do not fit

}  // namespace

std::optional<std::int64_t> FromBcd(std::string_view bytes) {
  if (bytes.size() > kMostBytes) return std::nullopt;
  std::int64_t number = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int high = ByteAt(bytes, i) >> 4;
    const int low = ByteAt(bytes, i) & 0x0F;
    if (high > 9 || low > 9) return std::nullopt;
    number = number * 100 + high * 10 + low;
  }
  return number;
}

std::optional<std::int64_t> FromBcdReversed(std::string_view bytes) {
  return FromBcd(std::string(bytes.rbegin(), bytes.rend()));
}

std::string ToBcdReversed(std::int64_t number, int bytes) {
  std::string result;
  for (int i = 0; i < bytes; ++i, number /= 100) {
    result += static_cast<char>((number / 10 % 10) << 4 | (number % 10));
  }
  return result;
}

std::string ToBcd(std::int64_t number, int bytes) {
  std::string result = ToBcdReversed(number, bytes);
  std::reverse(result.begin(), result.end());
  return result;
}

}  // namespace kvx::sim
