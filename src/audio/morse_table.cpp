#include "audio/morse_table.h"

#include <algorithm>

namespace kvx::audio {
namespace {

struct Prosign {
  char character;
  std::string_view text;
};

constexpr std::array kProsigns{
    Prosign{'=', "<BT>"}, Prosign{'~', "<AA>"},  Prosign{'<', "<AS>"}, Prosign{'>', "<AR>"}, Prosign{'%', "<SK>"},
    Prosign{'+', "<KN>"}, Prosign{'&', "<INT>"}, Prosign{'{', "<HM>"}, Prosign{'}', "<VE>"},
};

constexpr std::array<MorseSign, 59> kSigns{{
    {'A', ".-"},     {'B', "-..."},   {'C', "-.-."},   {'D', "-.."},     {'E', "."},       {'F', "..-."},
    {'G', "--."},    {'H', "...."},   {'I', ".."},     {'J', ".---"},    {'K', "-.-"},     {'L', ".-.."},
    {'M', "--"},     {'N', "-."},     {'O', "---"},    {'P', ".--."},    {'Q', "--.-"},    {'R', ".-."},
    {'S', "..."},    {'T', "-"},      {'U', "..-"},    {'V', "...-"},    {'W', ".--"},     {'X', "-..-"},
    {'Y', "-.--"},   {'Z', "--.."},   {'1', ".----"},  {'2', "..---"},   {'3', "...--"},   {'4', "....-"},
    {'5', "....."},  {'6', "-...."},  {'7', "--..."},  {'8', "---.."},   {'9', "----."},   {'0', "-----"},
    {'=', "-...-"},  {'~', ".-.-"},   {'<', ".-..."},  {'>', ".-.-."},   {'%', "...-.-"},  {'+', "-.--."},
    {'&', "..-.-"},  {'{', "....--"}, {'}', "...-."},  {'\\', ".-..-."}, {'$', "...-..-"}, {'(', "-.--."},
    {')', "-.--.-"}, {',', "--..--"}, {'.', ".-.-.-"}, {'/', "-..-."},   {':', "---..."},  {';', "-.-.-."},
    {'?', "..--.."}, {'_', "..--.-"}, {'@', ".--.-."}, {'!', "-.-.--"},  {'-', "-....-"},
}};

}  // namespace

std::array<MorseSign, 59> MakeChar() {
  return kSigns;
}

char CharacterOf(std::string_view code) {
  const auto sign = std::find_if(kSigns.begin(), kSigns.end(), [&](const MorseSign& s) { return s.code == code; });
  return sign == kSigns.end() ? '\0' : sign->character;
}

std::string ShownText(char character) {
  for (const Prosign& prosign : kProsigns) {
    if (prosign.character == character) return std::string(prosign.text);
  }
  return {character};
}

}  // namespace kvx::audio
