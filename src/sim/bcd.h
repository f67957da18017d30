#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kvx::sim {

// Packed decimal numbers, two digits a byte. A nibble above 9 makes the whole number nothing.

/// Most significant digits first: 14 25 00 00 is 14250000.
std::optional<std::int64_t> FromBcd(std::string_view bytes);
/// Least significant pair first, as CI-V and the older Yaesu sets send it: 00 00 25 14 is 14250000.
std::optional<std::int64_t> FromBcdReversed(std::string_view bytes);
/// `number` in `bytes` bytes; digits that do not fit are lost.
std::string ToBcd(std::int64_t number, int bytes);
std::string ToBcdReversed(std::int64_t number, int bytes);

/// One byte of a string as a number 0..255.
inline int ByteAt(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

}  // namespace kvx::sim
