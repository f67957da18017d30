#pragma once

#include <string>
#include <string_view>

#include "core/frequency.h"
#include "core/result.h"

namespace kvx::keyer {

/// What the macros of a text stand for.
struct MacroValues {
  std::string call;         ///< {CALL}: the other station
  std::string rst = "599";  ///< {RST}
  int number = 1;           ///< {NR}, {NR+}: the contact's number, 1 to 9999
  std::string my_call;      ///< {MYCALL}
  bool cut_rst = false;     ///< {RST} with N for 9 and T for 0
  bool cut_number = false;  ///< {NR} with T for 0
  Frequency frequency;      ///< {FREQ}, in kHz
};

inline constexpr int kMostContacts = 9999;

/// A text with its macros written out.
struct MacroText {
  std::string text;
  int next_number = 1;  ///< the number of the next contact: one more when {NR+} occurred
};

/// Writes out {CALL}, {RST}, {NR}, {NR+}, {FREQ} and {MYCALL}, in any case. kInvalid names a macro that there is not,
/// or one that has no value yet: then nothing of the text may be sent.
Result<MacroText> ExpandMacros(std::string_view text, const MacroValues& values);

}  // namespace kvx::keyer
