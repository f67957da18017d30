#pragma once

#include <algorithm>
#include <string_view>

namespace kvx {

/// A text file's content without the byte-order mark that some editors put before it.
inline std::string_view WithoutByteOrderMark(std::string_view content) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  return content.starts_with(kMark) ? content.substr(kMark.size()) : content;
}

struct Line {
  std::string_view text;
  std::string_view end;  ///< CR LF, LF, CR, or empty at the end of the file
};

/// Takes the first line off the content.
inline Line TakeLine(std::string_view& content) {
  const std::size_t length = std::min(content.find_first_of("\r\n"), content.size());
  const std::size_t end = content.substr(length).starts_with("\r\n") ? 2 : 1;
  const Line line{content.substr(0, length), content.substr(length, end)};
  content.remove_prefix(length + line.end.size());
  return line;
}

}  // namespace kvx
