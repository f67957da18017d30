#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/loop.h"

namespace kvx::sim {

/// The signs that a WinKeyer sends for a character, "-.-." for 'C'; small letters as capitals. Some punctuation stands
/// for letters run together ('<' is AR, '>' is SK). Nothing for what it cannot send. A blank is no sign.
std::optional<std::string_view> WinkeyPattern(char character);
/// The character of a pattern, '#' when there is none.
char WinkeyCharacter(std::string_view pattern);

/// The durations by which keying is read.
struct KeyPace {
  Duration unit{};     ///< a dit
  Duration spacing{};  ///< a third of the pause between letters
  Duration longer{};   ///< by this much elements are longer, and pauses shorter, than their units
};

/// Reads a key by ear: elements and pauses between edges become text. What is no letter reads "#".
class MorseReader {
 public:
  static constexpr std::size_t kMostText = 4000;

  /// The key went down or up. `pace` is that of what begins now.
  void Key(bool down, TimePoint when, const KeyPace& pace);
  /// The text so far, a letter that may not be over yet included; the newest kMostText characters.
  std::string text() const;

 private:
  void Pause(Duration length);
  void EndLetter();

  std::string text_;
  std::string pattern_;
  TimePoint last_{};
  KeyPace pace_;
  bool down_ = false;
};

}  // namespace kvx::sim
