#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "config/rig_definition.h"
#include "core/frequency.h"
#include "core/result.h"

namespace kvx::cat {

/// Where a "get" template says its value stands in the reply: "[start-length]", optionally "{position/length}", then
/// the command code. Positions are 1-based characters, for binary rigs hexadecimal characters.
///   007C0000BB[1-2]{3/2}32   data: characters 1-2; the command code, at 3 for 2 characters, must read "32"
///   0000000003[1-8]10        data: characters 1-8 of a reply that has 10 characters
struct Extraction {
  int start = 0;
  int length = 0;
  int code_start = 0;  ///< 0: no code to check
  int code_length = 0;
  std::string code;      ///< upper case
  int reply_length = 0;  ///< characters of the whole reply; 0: not given

  bool operator==(const Extraction&) const = default;
  /// The characters that a reply must have for both pieces to be there.
  int needed() const;
  /// The data of a reply; nothing when it is too short or the command code does not read as it must. `any_width`: the
  /// data may end with the reply before their length is reached.
  std::optional<std::string_view> DataOf(std::string_view reply, bool any_width = false) const;
};

/// A template taken apart: what is sent, and how the reply is read.
struct QueryTemplate {
  std::string command;
  std::optional<Extraction> extraction;
};

/// Splits a "get" template at its first "[".
QueryTemplate SplitQuery(std::string_view text);
/// A slider's "set" template without its bounds suffix.
std::string_view CutBounds(std::string_view text);

/// A frequency placeholder: how many digits, and what the last one counts.
struct FrequencyPlaceholder {
  std::string_view name;
  int digits;
  enum class Unit { kHertz, kTensOfHertz, kTensWhenBinary, kHexadecimalHertz } unit;
  int most_digits = 0;  ///< for a frequency that needs more of them; 0: none does
};

/// "<FREQ8>" counts 10 Hz in the four BCD bytes of a binary rig and hertz in the text of a text rig and on CI-V.
/// "<FREQ10-12>" has 10 digits below 10 GHz and 12 from there on. "<FREQHEX8>" is a hexadecimal number, most
/// significant byte first whatever the row says of its order.
inline constexpr std::array kFrequencyPlaceholders{
    FrequencyPlaceholder{"<FREQ11>", 11, FrequencyPlaceholder::Unit::kHertz},
    FrequencyPlaceholder{"<FREQ10>", 10, FrequencyPlaceholder::Unit::kHertz},
    FrequencyPlaceholder{"<FREQ10-12>", 10, FrequencyPlaceholder::Unit::kHertz, 12},
    FrequencyPlaceholder{"<FREQHEX8>", 8, FrequencyPlaceholder::Unit::kHexadecimalHertz},
    FrequencyPlaceholder{"<FREQ9>", 9, FrequencyPlaceholder::Unit::kHertz},
    FrequencyPlaceholder{"<FREQ8>", 8, FrequencyPlaceholder::Unit::kTensWhenBinary},
    FrequencyPlaceholder{"<FREQ7>", 7, FrequencyPlaceholder::Unit::kTensOfHertz},
};

/// The placeholder that stands in a template, or null.
const FrequencyPlaceholder* FindFrequencyPlaceholder(std::string_view text);

/// Whose frequency data are to be written: text, BCD bytes, or those of CI-V.
enum class FrequencyData { kText, kBinary, kCiv };

/// The digits that a frequency gets in place of `placeholder`, most significant first. kInvalid when it needs more
/// digits than there are, or is negative.
Result<std::string> FrequencyDigits(Frequency frequency, const FrequencyPlaceholder& placeholder, FrequencyData data);

/// Digit pairs in reversed order, digits inside a pair kept: BCD bytes least significant first.
std::string ReversePairs(std::string_view digits);

/// In commands that say which VFO or receiver they are for it stands for the one in use: 0 for A, 1 for B.
inline constexpr std::string_view kVfoPlaceholder = "<VFO>";
constexpr char VfoDigit(char vfo) {
  return vfo == 'B' ? '1' : '0';
}
constexpr bool NamesVfo(std::string_view text) {
  return text.find(kVfoPlaceholder) != std::string_view::npos;
}
/// The command for that VFO, whichever is in use.
std::string NameVfo(std::string command, char vfo);

/// What a template's placeholders are filled from.
struct Fill {
  const config::RigDefinition& rig;
  std::array<int, config::kSliders> sliders{};
  std::string_view address_number = "1";  ///< "1" to "7"
  Frequency frequency;                    ///< as the rig is to have it
  char vfo = 'A';                         ///< 'A' or 'B'
};

/// Fills in every placeholder of a command: <FREQn>, the sliders' (<AFGAIN>, or with a width <AFGAIN3>), <ADDR>,
/// <VFO>.
/// kInvalid with a sentence when a value cannot be written as the template wants it.
Result<std::string> Expand(std::string command, const Fill& fill);

}  // namespace kvx::cat
