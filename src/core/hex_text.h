#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvx {

/// Text of upper-case hexadecimal pairs, one pair a byte: the form in which the receive buffer of a binary rig is read.
struct HexText {
  std::string digits;

  static HexText FromBytes(std::string_view bytes);
  auto operator<=>(const HexText&) const = default;
};

/// The value of one hexadecimal digit, or -1.
int HexDigitValue(char digit);

/// The byte that a text of one or two hexadecimal digits stands for, else nothing.
std::optional<std::uint8_t> HexByte(std::string_view digits);

/// Pairs of hexadecimal digits to bytes, left to right; nothing when the count is odd or a character is no digit.
std::optional<std::string> BytesFromHex(std::string_view digits);

/// "FE FE 94": bytes as spaced pairs, for traces and messages.
std::string SpacedHex(std::string_view bytes);

}  // namespace kvx
