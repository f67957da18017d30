#pragma once

#include <array>
#include <string>
#include <string_view>

namespace kvx::audio {

/// A sign as it is decoded.
struct MorseSign {
  char character;
  std::string_view code;
};

/// The signs in the order in which they are looked up: "-.--." is always '+', never '('.
std::array<MorseSign, 59> MakeChar();

/// The table's character of a code; 0 when there is none.
char CharacterOf(std::string_view code);

/// What is shown for a character of the table: itself, or "<AR>" and its like for those that stand for a prosign.
std::string ShownText(char character);

}  // namespace kvx::audio
