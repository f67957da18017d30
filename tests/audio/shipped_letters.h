#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "audio/letter_model.h"

namespace kvx::audio {

/// What the words of the dictionary that is shipped tell of letters.
inline const LetterModel& Letters() {
  static const LetterModel letters = [] {
    std::ifstream file(std::string(KVX_DATA) + "/dict.txt");
    return LetterModel(std::string(std::istreambuf_iterator<char>(file), {}));
  }();
  return letters;
}

}  // namespace kvx::audio
