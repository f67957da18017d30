#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvx::cat {

// The converters between hexadecimal text and bytes. Faulty pairs contribute nothing; `on_error` hears the text that
// could not be converted.
using ConvertError = std::function<void(std::string_view faulty)>;

/// Hexadecimal text to bytes. One or two digits are one byte; longer text is taken in pairs from its right end, so that
/// a multi-byte value goes out least significant byte first ("12345678" is 78 56 34 12); of an odd count the first
/// digit is dropped. Blanks anywhere are ignored.
std::string Converthex1(std::string_view text, const ConvertError& on_error = {});

/// The same, but a rig of the family KENWOOD gets the text unchanged.
std::string ConvertHex(std::string_view text, std::string_view family, const ConvertError& on_error = {});

/// Hexadecimal text to its value; 0 for more than 12 digits or for anything that is no digit. A prefix "&h" is allowed.
std::int64_t ConvertDec(std::string_view text);

/// The decimal value of packed BCD bytes, most significant byte first; nothing when a nibble is no decimal digit.
std::optional<std::int64_t> GetDecFromBCD(std::string_view bytes);
/// The same for bytes that come least significant first, as CI-V sends them.
std::optional<std::int64_t> GetDecFromReversedBCD(std::string_view bytes);

/// `count` bytes of the value, most significant first.
std::string GetByteArrayFromDec(std::uint64_t value, int count);
constexpr std::uint8_t HiByte(std::uint16_t value) {
  return static_cast<std::uint8_t>(value >> 8);
}
constexpr std::uint8_t LoByte(std::uint16_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}

}  // namespace kvx::cat
