#include "audio/text_change.h"

#include <algorithm>

namespace kvx::audio {
namespace {

constexpr std::size_t kEnough = 64;  // characters that tell where the rest of a text has gone

std::size_t SameBeginning(std::string_view a, std::string_view b) {
  const std::size_t shorter = std::min(a.size(), b.size());
  return static_cast<std::size_t>(
      std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(shorter), b.begin()).first - a.begin());
}

}  // namespace

std::string FlatText(const std::vector<DecodedText>& text) {
  std::string flat;
  for (const DecodedText& run : text) {
    for (const char character : run.text)
      flat += static_cast<char>((character & 0x7f) | (run.corrected ? kCorrected : 0));
  }
  return flat;
}

TextChange FindTextChange(std::string_view shown, std::string_view now) {
  const std::size_t same = SameBeginning(shown, now);
  if (same >= kEnough || now.size() < kEnough) return {0, same};
  const std::size_t moved = shown.find(now.substr(0, kEnough));
  if (moved == std::string_view::npos) return {0, same};
  return {moved, SameBeginning(shown.substr(moved), now)};
}

}  // namespace kvx::audio
