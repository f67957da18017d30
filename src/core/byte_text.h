#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvx {

/// The byte-to-hex text table with which bytes are shown in the debug view: 256 entries of a blank and two hexadecimal
/// digits, made once at start-up. Byte 0x21 reads "22", as it always has in this table; whatever has to be exact
/// (commands, replies, traces) is written by HexText and SpacedHex.
class ByteText {
 public:
  ByteText();

  /// The two digits shown for a byte.
  std::string_view operator[](std::uint8_t byte) const { return std::string_view(table_).substr(3 * byte + 1, 2); }
  /// "FE FE 94": bytes as the table shows them.
  std::string Spaced(std::string_view bytes) const;
  const std::string& table() const { return table_; }

 private:
  std::string table_;
};

}  // namespace kvx
