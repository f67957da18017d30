#include "core/text.h"

#include <algorithm>

#include "core/hex_text.h"
#include "core/utf8.h"

namespace kvx {
namespace {

constexpr std::int64_t kNumberLimit = 1'000'000'000'000'000;

char UpperChar(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
char LowerChar(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}
bool SameNoCase(char a, char b) {
  return UpperChar(a) == UpperChar(b);
}

/// One visible mark at the start of `text`: how many characters it takes (0: none) and the character it stands for.
struct Mark {
  std::size_t length = 0;
  char character = 0;
};

Mark ReadMark(std::string_view text) {
  if (text.starts_with("<CR>")) return {4, '\r'};
  if (text.starts_with("<LF>")) return {4, '\n'};
  if (text.size() >= 6 && (text.starts_with("<0x") || text.starts_with("<0X")) && text[5] == '>') {
    if (const auto byte = HexByte(text.substr(3, 2))) return {6, static_cast<char>(*byte)};
  }
  return {};
}

}  // namespace

std::string Upper(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), UpperChar);
  return out;
}

std::string Lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), LowerChar);
  return out;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool ContainsNoCase(std::string_view text, std::string_view needle) {
  return std::search(text.begin(), text.end(), needle.begin(), needle.end(), SameNoCase) != text.end() ||
         needle.empty();
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), SameNoCase);
}

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (true) {
    const std::size_t at = text.find(separator);
    parts.emplace_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + 1);
  }
}

std::string WithoutBlanks(std::string_view text) {
  std::string out(text);
  std::erase_if(out, IsBlank);
  return out;
}

bool AllDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

std::int64_t LeadingNumber(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  std::int64_t value = 0;
  for (const char c : text) {
    if (!IsDigit(c)) break;
    value = std::min(value * 10 + (c - '0'), kNumberLimit);
  }
  return negative ? -value : value;
}

std::string NumberText(std::int64_t number) {
  return (number < 0 ? "" : " ") + std::to_string(number);
}

std::string PadNumber(std::int64_t number, int digits) {
  std::string text = std::to_string(number);
  const auto width = static_cast<std::size_t>(digits);
  return text.size() < width ? std::string(width - text.size(), '0') + text : text;
}

std::optional<std::int64_t> ParseNumber(std::string_view text, std::int64_t low, std::int64_t high) {
  text = Trim(text);
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  if (digits.size() > 15 || !AllDigits(digits)) return std::nullopt;
  const std::int64_t number = LeadingNumber(text);
  if (number < low || number > high) return std::nullopt;
  return number;
}

std::string ToVisible(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const auto code = static_cast<unsigned char>(c);
    if (c == '\r') {
      out += "<CR>";
    } else if (c == '\n') {
      out += "<LF>";
    } else if (code < 0x20 || code == 0x7F || (c == '<' && ReadMark(text.substr(i)).length > 0)) {
      out += "<0x" + HexText::FromBytes({&c, 1}).digits + ">";
    } else {
      out += c;
    }
  }
  return out;
}

std::string FromVisible(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const Mark mark = text.front() == '<' ? ReadMark(text) : Mark{};
    out += mark.length > 0 ? mark.character : text.front();
    text.remove_prefix(std::max<std::size_t>(mark.length, 1));
  }
  return out;
}

std::string ToLatin1(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  while (!utf8.empty()) {
    const std::size_t length = Utf8Length(utf8);
    if (length <= 1) {
      out += utf8.front();  // ASCII, or a byte that is no UTF-8 and goes out as it stands
    } else {
      const int code =
          ((static_cast<unsigned char>(utf8[0]) & 0x1F) << 6) | (static_cast<unsigned char>(utf8[1]) & 0x3F);
      out += length == 2 && code < 0x100 ? static_cast<char>(code) : '?';
    }
    utf8.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return out;
}

std::string JsonString(std::string_view text) {
  std::string out = "\"";
  while (!text.empty()) {
    const std::size_t length = Utf8Length(text);
    const auto code = static_cast<unsigned char>(text.front());
    if (length == 0) {  // ISO 8859-1
      out += static_cast<char>(0xC0 | (code >> 6));
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code == '"' || code == '\\') {
      out += '\\';
      out += text.front();
    } else if (code < 0x20) {
      out += "\\u00" + HexText::FromBytes(text.substr(0, 1)).digits;
    } else {
      out += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return out + '"';
}

bool IsText(std::string_view content) {
  const auto odd = [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\r' && c != '\n' && c != '\t'; };
  const auto count = static_cast<std::size_t>(std::count_if(content.begin(), content.end(), odd));
  // A function key's text may hold one now and then; of random bytes every ninth is one.
  return content.find('\0') == std::string_view::npos && count <= 2 + content.size() / 32;
}

std::string OneLine(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return ToVisible(text);
  constexpr std::size_t kMostBehindFirst = 3;  // bytes of a UTF-8 character, which is not cut
  std::size_t end = limit;
  while (end > 0 && limit - end < kMostBehindFirst && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return ToVisible(text.substr(0, end)) + "...";
}

}  // namespace kvx
