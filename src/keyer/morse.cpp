#include "keyer/morse.h"

#include <algorithm>
#include <array>

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

struct Sign {
  char character;
  std::string_view pattern;
};

// ITU-R M.1677, and the four marks at the end that operators use as well.
constexpr std::array kSigns{
    Sign{'A', ".-"},      Sign{'B', "-..."},   Sign{'C', "-.-."},   Sign{'D', "-.."},    Sign{'E', "."},
    Sign{'F', "..-."},    Sign{'G', "--."},    Sign{'H', "...."},   Sign{'I', ".."},     Sign{'J', ".---"},
    Sign{'K', "-.-"},     Sign{'L', ".-.."},   Sign{'M', "--"},     Sign{'N', "-."},     Sign{'O', "---"},
    Sign{'P', ".--."},    Sign{'Q', "--.-"},   Sign{'R', ".-."},    Sign{'S', "..."},    Sign{'T', "-"},
    Sign{'U', "..-"},     Sign{'V', "...-"},   Sign{'W', ".--"},    Sign{'X', "-..-"},   Sign{'Y', "-.--"},
    Sign{'Z', "--.."},    Sign{'0', "-----"},  Sign{'1', ".----"},  Sign{'2', "..---"},  Sign{'3', "...--"},
    Sign{'4', "....-"},   Sign{'5', "....."},  Sign{'6', "-...."},  Sign{'7', "--..."},  Sign{'8', "---.."},
    Sign{'9', "----."},   Sign{'.', ".-.-.-"}, Sign{',', "--..--"}, Sign{'?', "..--.."}, Sign{'/', "-..-."},
    Sign{'\'', ".----."}, Sign{'-', "-....-"}, Sign{'=', "-...-"},  Sign{'+', ".-.-."},  Sign{':', "---..."},
    Sign{'(', "-.--."},   Sign{')', "-.--.-"}, Sign{'"', ".-..-."}, Sign{'@', ".--.-."}, Sign{' ', " "},
    Sign{';', "-.-.-."},  Sign{'!', "-.-.--"}, Sign{'&', ".-..."},  Sign{'_', "..--.-"}, Sign{'$', "...-..-"},
};

constexpr int kUnitsOfBlank = 4;
constexpr int kUnitsOfLetterGap = 2;  // besides the one after the last element

std::string_view PatternOf(char character) {
  if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
  const auto* sign =
      std::find_if(kSigns.begin(), kSigns.end(), [&](const Sign& s) { return s.character == character; });
  return sign == kSigns.end() ? std::string_view() : sign->pattern;
}

}  // namespace

std::string MorsePattern(std::string_view symbol) {
  std::string pattern;
  for (const char character : symbol) {
    const std::string_view part = PatternOf(character);
    if (part.empty() || (part == " " && symbol.size() > 1)) return {};
    pattern += part;
  }
  return pattern;
}

int MorseUnits(std::string_view symbol) {
  const std::string pattern = MorsePattern(symbol);
  if (pattern.empty()) return 0;
  if (pattern == " ") return kUnitsOfBlank;
  int units = kUnitsOfLetterGap;
  for (const char element : pattern) units += element == '-' ? 4 : 2;
  return units;
}

Duration DotLength(int wpm) {
  return Duration(1200ms) / std::max(1, wpm);
}

Duration MorseLength(std::string_view symbol, int wpm) {
  return MorseUnits(symbol) * DotLength(wpm);
}

}  // namespace kvx::keyer
