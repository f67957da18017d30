#include "sim/text_line.h"

#include <algorithm>
#include <utility>

#include "core/text.h"

namespace kvx::sim {

std::optional<TextLine::Command> TextLine::Take(char byte) {
  if (byte == terminator_) return Command{std::exchange(pending_, {}), std::exchange(overrun_, false)};
  if (pending_.size() < kLongest) {
    pending_ += byte;
  } else {
    overrun_ = true;
  }
  return std::nullopt;
}

std::optional<int> FixedDigits(std::string_view text, std::size_t digits) {
  if (text.size() != digits || digits == 0 || digits > 9) return std::nullopt;
  if (!std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; })) return std::nullopt;
  return static_cast<int>(LeadingNumber(text));
}

}  // namespace kvx::sim
