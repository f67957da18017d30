#include "sim/winkey_morse.h"

#include <array>

namespace kvx::sim {
namespace {

struct Sign {
  char character;
  std::string_view pattern;
};

// Characters that share a pattern: the first one is what is read back. K1EL WinKeyer 2 manual, table of prosigns.
constexpr std::array kSigns{
    Sign{'A', ".-"},      Sign{'B', "-..."},   Sign{'C', "-.-."},   Sign{'D', "-.."},    Sign{'E', "."},
    Sign{'F', "..-."},    Sign{'G', "--."},    Sign{'H', "...."},   Sign{'I', ".."},     Sign{'J', ".---"},
    Sign{'K', "-.-"},     Sign{'L', ".-.."},   Sign{'M', "--"},     Sign{'N', "-."},     Sign{'O', "---"},
    Sign{'P', ".--."},    Sign{'Q', "--.-"},   Sign{'R', ".-."},    Sign{'S', "..."},    Sign{'T', "-"},
    Sign{'U', "..-"},     Sign{'V', "...-"},   Sign{'W', ".--"},    Sign{'X', "-..-"},   Sign{'Y', "-.--"},
    Sign{'Z', "--.."},    Sign{'0', "-----"},  Sign{'1', ".----"},  Sign{'2', "..---"},  Sign{'3', "...--"},
    Sign{'4', "....-"},   Sign{'5', "....."},  Sign{'6', "-...."},  Sign{'7', "--..."},  Sign{'8', "---.."},
    Sign{'9', "----."},   Sign{'.', ".-.-.-"}, Sign{',', "--..--"}, Sign{'?', "..--.."}, Sign{'/', "-..-."},
    Sign{'=', "-...-"},   Sign{'+', ".-.-."},  Sign{'<', ".-.-."},  Sign{'>', "...-.-"}, Sign{'-', "-....-"},
    Sign{'\'', ".----."}, Sign{'(', "-.--."},  Sign{':', "-.--."},  Sign{')', "-.--.-"}, Sign{'"', ".-..-."},
    Sign{'$', "...-..-"}, Sign{';', ".-.-"},   Sign{'@', ".--.-."}, Sign{'[', ".-..."},  Sign{'\\', "-..-."},
    Sign{']', "-.--."},
};

char Capital(char character) {
  return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

}  // namespace

std::optional<std::string_view> WinkeyPattern(char character) {
  for (const Sign& sign : kSigns) {
    if (sign.character == Capital(character)) return sign.pattern;
  }
  return std::nullopt;
}

char WinkeyCharacter(std::string_view pattern) {
  for (const Sign& sign : kSigns) {
    if (sign.pattern == pattern) return sign.character;
  }
  return '#';
}

void MorseReader::Key(bool down, TimePoint when, const KeyPace& pace) {
  if (down == down_) return;
  const Duration length = when - last_;
  if (down) {
    Pause(length);
  } else {
    pattern_ += 2 * (length - pace_.longer) > 3 * pace_.unit ? '-' : '.';
  }
  down_ = down;
  last_ = when;
  pace_ = pace;
}

// Halfway between one unit and three a letter ends, between three and seven a word does.
void MorseReader::Pause(Duration length) {
  const Duration pause = length + pace_.longer;
  if (pattern_.empty() || pause < pace_.unit + pace_.spacing) return;
  EndLetter();
  if (pause > 5 * pace_.spacing) text_ += ' ';
}

void MorseReader::EndLetter() {
  text_ += WinkeyCharacter(pattern_);
  pattern_.clear();
  if (text_.size() > kMostText) text_.erase(0, text_.size() - kMostText);
}

std::string MorseReader::text() const {
  MorseReader copy = *this;
  if (!copy.pattern_.empty()) copy.EndLetter();
  return copy.text_;
}

}  // namespace kvx::sim
