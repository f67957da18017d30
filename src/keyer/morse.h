#pragma once

#include <string>
#include <string_view>

#include "core/loop.h"

namespace kvx::keyer {

/// The elements of a symbol as '.' and '-': of one character, of letters run together as one sign ("AR"), or " " for a
/// blank. Empty when there is no sign for it, or none for one of its letters. Letters of either case.
std::string MorsePattern(std::string_view symbol);

/// How many dots a symbol lasts with the gap after it: a letter's makes 3 in all, and a blank adds what makes the gap
/// between words 7. 0 where MorsePattern is empty.
int MorseUnits(std::string_view symbol);

/// A dot at so many words a minute, "PARIS " being one word.
Duration DotLength(int wpm);

/// How long a symbol lasts with the gap after it.
Duration MorseLength(std::string_view symbol, int wpm);

}  // namespace kvx::keyer
