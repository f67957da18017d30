#pragma once

#include <string_view>

namespace kvx::cat {

/// What the template of a logical key is, which decides how it is cut and what its reply means.
enum class KeyKind {
  kCommand,
  kQuery,        ///< frequency, mode or S-meter: cut before "[", the reply goes to the display
  kSliderQuery,  ///< cut before "[", the reply sets a slider
  kSlider,       ///< cut before "{"
  kFunction,     ///< a function button: two states, value, caption rules
  kFrequency,    ///< filled with the displayed frequency
};

struct CommandKey {
  std::string_view key;    ///< upper case
  std::string_view field;  ///< of the rig's row; "/1" and "/2": the halves of MEMO5
  KeyKind kind = KeyKind::kCommand;
  int number = 0;  ///< slider #1 to #11 or function 1 to 9
};

/// The logical key of that name (any case), or null: then the text is a literal command.
const CommandKey* FindKey(std::string_view text);

/// The key that sends slider #1 to #11.
const CommandKey* SliderKey(int number);

}  // namespace kvx::cat
