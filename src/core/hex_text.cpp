#include "core/hex_text.h"

namespace kvx {
namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

void AppendByte(std::string& out, char byte) {
  const auto value = static_cast<unsigned char>(byte);
  out += kDigits[value >> 4];
  out += kDigits[value & 15];
}

}  // namespace

HexText HexText::FromBytes(std::string_view bytes) {
  HexText text;
  text.digits.reserve(bytes.size() * 2);
  for (const char byte : bytes) AppendByte(text.digits, byte);
  return text;
}

int HexDigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

std::optional<std::uint8_t> HexByte(std::string_view digits) {
  if (digits.empty() || digits.size() > 2) return std::nullopt;
  int value = 0;
  for (const char digit : digits) {
    const int nibble = HexDigitValue(digit);
    if (nibble < 0) return std::nullopt;
    value = value * 16 + nibble;
  }
  return static_cast<std::uint8_t>(value);
}

std::optional<std::string> BytesFromHex(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  bytes.reserve(digits.size() / 2);
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const auto byte = HexByte(digits.substr(i, 2));
    if (!byte) return std::nullopt;
    bytes += static_cast<char>(*byte);
  }
  return bytes;
}

std::string SpacedHex(std::string_view bytes) {
  std::string out;
  for (const char byte : bytes) {
    if (!out.empty()) out += ' ';
    AppendByte(out, byte);
  }
  return out;
}

}  // namespace kvx
