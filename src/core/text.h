#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvx {

// Text helpers with the conventions that settings files, rig rows and older programs of the station share.
// Upper and lower case are those of ASCII: keys, family names and commands hold nothing else.

std::string Upper(std::string_view text);
std::string Lower(std::string_view text);
/// Without blanks (and tabs) at both ends.
std::string_view Trim(std::string_view text);
/// Whether `needle` occurs anywhere in `text`, ignoring case.
bool ContainsNoCase(std::string_view text, std::string_view needle);
bool EqualNoCase(std::string_view a, std::string_view b);
std::string ReplaceAll(std::string text, std::string_view from, std::string_view to);
std::vector<std::string> Split(std::string_view text, char separator);
std::string WithoutBlanks(std::string_view text);
constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
/// Whether there is at least one character and every one is a decimal digit.
bool AllDigits(std::string_view text);

/// The whole number that the text begins with: leading blanks and a sign are allowed, reading stops at the first
/// character that is no digit, "" and "abc" read as 0. Saturates at +-1e15.
std::int64_t LeadingNumber(std::string_view text);

/// A number as settings files hold it: a blank (or "-") before the digits, as in "SCREENCOLOR= 8421504".
std::string NumberText(std::int64_t number);

/// The number padded with zeros on the left to at least `digits` digits.
std::string PadNumber(std::int64_t number, int digits);

/// The whole text as a plain decimal number within [low, high] (blanks around it allowed), else nothing.
std::optional<std::int64_t> ParseNumber(std::string_view text, std::int64_t low, std::int64_t high);

/// Control characters made visible, `<CR>`, `<LF>`, `<0x07>`, so that any field fits on one line of CSV or of a log. A
/// "<" that would read as one of these is written `<0x3C>`: FromVisible(ToVisible(x)) == x for every x.
std::string ToVisible(std::string_view text);
std::string FromVisible(std::string_view text);

/// UTF-8 to the one-byte-a-character form (ISO 8859-1) in which text goes to a serial line; characters beyond it become
/// "?".
std::string ToLatin1(std::string_view utf8);

/// Whether a file's content can be text of a person or of another program: no NUL byte, and hardly any other control
/// character.
bool IsText(std::string_view content);

/// A quoted JSON string. Bytes that are no UTF-8 are taken as ISO 8859-1, so the result is always valid JSON.
std::string JsonString(std::string_view text);

/// Text from a device or a file made fit for one line of output: ToVisible, bounded to `limit` bytes.
std::string OneLine(std::string_view text, std::size_t limit = 200);

}  // namespace kvx
