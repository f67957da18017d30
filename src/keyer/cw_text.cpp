#include "keyer/cw_text.h"

#include <algorithm>
#include <array>

#include "core/text.h"
#include "keyer/morse.h"

namespace kvx::keyer {
namespace {

constexpr std::size_t kLongestSign = 8;  // letters run together
constexpr std::size_t kMostUnknown = 8;

struct Writing {
  std::string_view utf8;
  std::string_view morse;
};

/// How a character that is no plain one is written out.
constexpr std::array kWritings{
    Writing{"Ä", "AE"}, Writing{"ä", "AE"},  Writing{"Ö", "OE"}, Writing{"ö", "OE"},     Writing{"Ü", "UE"},
    Writing{"ü", "UE"}, Writing{"ß", "SS"},  Writing{"ẞ", "SS"}, Writing{"Æ", "AE"},     Writing{"æ", "AE"},
    Writing{"Ø", "OE"}, Writing{"ø", "OE"},  Writing{"Å", "AA"}, Writing{"å", "AA"},     Writing{"À", "A"},
    Writing{"à", "A"},  Writing{"Á", "A"},   Writing{"á", "A"},  Writing{"Â", "A"},      Writing{"â", "A"},
    Writing{"Ã", "A"},  Writing{"ã", "A"},   Writing{"Ç", "C"},  Writing{"ç", "C"},      Writing{"È", "E"},
    Writing{"è", "E"},  Writing{"É", "E"},   Writing{"é", "E"},  Writing{"Ê", "E"},      Writing{"ê", "E"},
    Writing{"Ë", "E"},  Writing{"ë", "E"},   Writing{"Í", "I"},  Writing{"í", "I"},      Writing{"Î", "I"},
    Writing{"î", "I"},  Writing{"Ï", "I"},   Writing{"ï", "I"},  Writing{"Ñ", "N"},      Writing{"ñ", "N"},
    Writing{"Ó", "O"},  Writing{"ó", "O"},   Writing{"Ô", "O"},  Writing{"ô", "O"},      Writing{"Õ", "O"},
    Writing{"õ", "O"},  Writing{"Ú", "U"},   Writing{"ú", "U"},  Writing{"Û", "U"},      Writing{"û", "U"},
    Writing{"Č", "C"},  Writing{"č", "C"},   Writing{"Š", "S"},  Writing{"š", "S"},      Writing{"Ž", "Z"},
    Writing{"ž", "Z"},  Writing{"Ł", "L"},   Writing{"ł", "L"},  Writing{"\u00A0", " "}, Writing{"’", "'"},
    Writing{"‘", "'"},  Writing{"“", "\""},  Writing{"”", "\""}, Writing{"–", "-"},      Writing{"—", "-"},
    Writing{"−", "-"},  Writing{"…", "..."}, Writing{"×", "X"}};

/// The length of the character that the text begins with; 1 for a byte that begins none.
std::size_t CharacterLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 1;
  if (length > text.size()) return 1;
  const bool whole = std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length),
                                 [](char c) { return (c & 0xC0) == 0x80; });
  return whole ? length : 1;
}

/// Takes characters off the text and makes symbols of them.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  CwText Read() {
    while (!rest_.empty()) {
      if (!TakeSign()) TakeCharacter();
    }
    return std::move(text_);
  }

 private:
  /// "<AR>"; false when there is none here.
  bool TakeSign() {
    if (rest_.front() != '<') return false;
    const std::size_t end = rest_.substr(0, kLongestSign + 2).find('>');
    if (end == std::string_view::npos) return false;
    const std::string sign = Upper(rest_.substr(1, end - 1));
    const bool letters =
        std::all_of(sign.begin(), sign.end(), [](char c) { return IsDigit(c) || (c >= 'A' && c <= 'Z'); });
    if (!letters || MorsePattern(sign).empty()) return false;
    text_.symbols.push_back(sign);
    rest_.remove_prefix(end + 1);
    return true;
  }

  void TakeCharacter() {
    const std::size_t length = rest_.starts_with("\r\n") ? 2 : CharacterLength(rest_);
    const std::string_view character = rest_.substr(0, length);
    rest_.remove_prefix(length);
    if (character.find_first_of("\r\n\t") != std::string_view::npos) return Add(" ");
    const auto* writing = std::find_if(kWritings.begin(), kWritings.end(),
                                       [character](const Writing& row) { return row.utf8 == character; });
    if (writing == kWritings.end()) return Take(character);
    for (const char c : writing->morse) Add(std::string(1, c));
  }

  void Take(std::string_view character) {
    const std::string symbol = Upper(character);
    if (character.size() == 1 && !MorsePattern(symbol).empty()) return Add(symbol);
    const std::string shown = OneLine(character);
    const bool named = std::find(text_.unknown.begin(), text_.unknown.end(), shown) != text_.unknown.end();
    if (!named && text_.unknown.size() < kMostUnknown) text_.unknown.push_back(shown);
  }

  void Add(std::string symbol) { text_.symbols.push_back(std::move(symbol)); }

  std::string_view rest_;
  CwText text_;
};

}  // namespace

std::string CwText::complaint() const {
  if (unknown.empty()) return {};
  std::string names;
  for (std::size_t i = 0; i < unknown.size(); ++i)
    names += (i == 0 ? "" : i + 1 == unknown.size() ? " and " : ", ") + unknown[i];
  return "There is no Morse sign for " + names;
}

CwText ParseCwText(std::string_view utf8) {
  return Reader(utf8).Read();
}

std::string ShownSymbol(std::string_view symbol) {
  return symbol.size() > 1 ? "<" + std::string(symbol) + ">" : std::string(symbol);
}

}  // namespace kvx::keyer
