#include "platform/gateway_lines.h"

#include <algorithm>
#include <utility>

namespace kvx::platform {

std::string_view TakeWord(std::string_view& line) {
  const std::string_view word = line.substr(0, line.find(' '));
  line.remove_prefix(std::min(line.size(), word.size() + 1));
  return word;
}

int WordNumber(std::string_view word) {
  constexpr std::size_t kMostDigits = 9;
  if (word.empty() || word.size() > kMostDigits) return -1;
  int number = 0;
  for (const char c : word) {
    if (c < '0' || c > '9') return -1;
    number = number * 10 + (c - '0');
  }
  return number;
}

std::string GatewayText(std::string_view bytes) {
  std::string text(bytes.substr(0, std::min(bytes.find('\0'), kLongestGatewayText)));
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
  return text;
}

std::vector<std::string> GatewayLines::Take(std::string_view bytes) {
  std::vector<std::string> lines;
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const std::string_view piece = bytes.substr(0, end);
    if (line_.size() + piece.size() > kLongestGatewayLine) overlong_ = true;
    if (overlong_) {
      line_.clear();
    } else {
      line_ += piece;
    }
    if (end == std::string_view::npos) break;
    bytes.remove_prefix(end + 1);
    if (line_.ends_with('\r')) line_.pop_back();
    if (!std::exchange(overlong_, false)) lines.push_back(std::exchange(line_, {}));
  }
  return lines;
}

void GatewayLines::Clear() {
  line_.clear();
  overlong_ = false;
}

}  // namespace kvx::platform
