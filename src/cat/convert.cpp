#include "cat/convert.h"

#include <algorithm>

#include "core/hex_text.h"
#include "core/text.h"

namespace kvx::cat {
namespace {

void AppendPair(std::string& bytes, std::string_view pair, const ConvertError& on_error) {
  if (const auto byte = HexByte(pair)) {
    bytes += static_cast<char>(*byte);
  } else if (on_error) {
    on_error(pair);
  }
}

}  // namespace

std::string Converthex1(std::string_view text, const ConvertError& on_error) {
  const std::string digits = WithoutBlanks(text);
  std::string bytes;
  if (digits.empty()) return bytes;
  if (digits.size() <= 2) {
    AppendPair(bytes, digits, on_error);
    return bytes;
  }
  for (std::size_t end = digits.size(); end >= 2; end -= 2) {
    AppendPair(bytes, std::string_view(digits).substr(end - 2, 2), on_error);
  }
  return bytes;
}

std::string ConvertHex(std::string_view text, std::string_view family, const ConvertError& on_error) {
  if (EqualNoCase(family, "KENWOOD")) return std::string(text);
  return Converthex1(text, on_error);
}

std::int64_t ConvertDec(std::string_view text) {
  if (text.starts_with("&h")) text.remove_prefix(2);
  if (text.size() > 12) return 0;
  std::int64_t value = 0;
  for (const char digit : text) {
    const int nibble = HexDigitValue(digit);
    if (nibble < 0) return 0;
    value = value * 16 + nibble;
  }
  return value;
}

std::optional<std::int64_t> GetDecFromBCD(std::string_view bytes) {
  if (bytes.size() > 8) return std::nullopt;
  std::int64_t value = 0;
  for (const char byte : bytes) {
    const int high = static_cast<unsigned char>(byte) >> 4;
    const int low = static_cast<unsigned char>(byte) & 15;
    if (high > 9 || low > 9) return std::nullopt;
    value = value * 100 + high * 10 + low;
  }
  return value;
}

std::optional<std::int64_t> GetDecFromReversedBCD(std::string_view bytes) {
  return GetDecFromBCD(std::string(bytes.rbegin(), bytes.rend()));
}

std::string GetByteArrayFromDec(std::uint64_t value, int count) {
  std::string bytes(static_cast<std::size_t>(count), '\0');
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, value >>= 8) *byte = static_cast<char>(value & 0xFF);
  return bytes;
}

}  // namespace kvx::cat
