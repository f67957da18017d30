#include "core/utf8.h"

#include <algorithm>
#include <array>

namespace kvx {
namespace {

/// Of the codes 0x80 to 0x9F of Windows-1252; those that it leaves free stand for themselves.
constexpr std::array<char16_t, 32> kWindowsCharacters{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                      0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void Append(std::string& text, unsigned code) {
  const auto tail = [&](unsigned shift) { text += static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0 | (code >> 6));
    tail(0);
  } else {
    text += static_cast<char>(0xE0 | (code >> 12));
    tail(6);
    tail(0);
  }
}

}  // namespace

std::size_t Utf8Length(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = lead < 0x80                   ? 1
                             : lead >= 0xC2 && lead < 0xE0 ? 2
                             : (lead & 0xF0) == 0xE0       ? 3
                             : (lead & 0xF8) == 0xF0       ? 4
                                                           : 0;
  if (length == 0 || length > text.size()) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
  }
  const auto second = length > 1 ? static_cast<unsigned char>(text[1]) : 0;
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool beyond = (lead == 0xED && second >= 0xA0) || (lead == 0xF4 && second >= 0x90) || lead > 0xF4;
  return overlong || beyond ? 0 : length;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = Utf8Length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string Utf8Of(std::string_view content) {
  if (IsUtf8(content)) return std::string(content);
  std::string text;
  text.reserve(content.size() + content.size() / 8);
  for (const char c : content) {
    const unsigned code = static_cast<unsigned char>(c);
    Append(text, code >= 0x80 && code < 0xA0 ? kWindowsCharacters[code - 0x80] : code);
  }
  return text;
}

}  // namespace kvx
