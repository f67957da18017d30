#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvx::keyer {

/// What an operator has typed, as the symbols that a keyer sends.
struct CwText {
  std::vector<std::string> symbols;  ///< "A", "?", " ", letters run together as "AR"
  std::vector<std::string> unknown;  ///< what there is no sign for, each once, fit to be shown

  /// "There is no sign for # and €"; empty when everything can be sent.
  std::string complaint() const;
};

/// Text in UTF-8. Letters become upper case, "<AR>" is one sign of letters run together, line ends and tabs are blanks,
/// letters with marks are written out as they are in Morse ("Ä" is "AE"). What there is no sign for is left out.
CwText ParseCwText(std::string_view utf8);

/// A symbol as it is typed: "A", "<AR>".
std::string ShownSymbol(std::string_view symbol);

}  // namespace kvx::keyer
