#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "audio/audio_analysis.h"

namespace kvx::audio {

/// Decoded text as one run of characters; those of a correction have their highest bit set.
std::string FlatText(const std::vector<DecodedText>& text);
inline constexpr char kCorrected = static_cast<char>(0x80);

/// How a text that is shown becomes another one: so many characters go in front, so many of the rest stay, and what is
/// behind those is replaced by what the new text has there.
struct TextChange {
  std::size_t removed_in_front = 0;
  std::size_t kept = 0;

  bool operator==(const TextChange&) const = default;
};
TextChange FindTextChange(std::string_view shown, std::string_view now);

}  // namespace kvx::audio
