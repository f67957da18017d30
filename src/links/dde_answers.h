#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/frequency.h"

namespace kvx::links {

// What programs written for HRD's DDE server ask and say, apart from how it reaches the console.

enum class DdeItem { kNone, kRadio, kHertz, kMode };

/// Known by the item's name anywhere in the text.
DdeItem DdeItemOf(std::string_view name);

/// The eight characters for a displayed frequency, tens of hertz: "14025.00" gives "01402500". Nothing below 1000 kHz
/// and from 990 MHz on.
std::optional<std::string> DdeHertz(std::string_view displayed);
/// The mode's name there for a caption: "RTTY" is "FSK". Nothing for a mode that has none, FM among them.
std::optional<std::string> DdeMode(std::string_view caption);

/// What a command wants to be set.
struct DdeOrder {
  std::string mode = {};  ///< a name that the console knows: "RTTY"; empty: none
  std::optional<Frequency> frequency = {};
  bool understood = false;  ///< it wants something, and nothing of it was beyond reading
};

/// An execute: "MODE" and "FREQ" anywhere in it. The mode stands behind its word after blanks, colons, "=" or commas;
/// "CW R" is CW. The frequency is the first number behind its word, in kHz with or without decimals, as the display
/// shows it; from 990,000 on it is in hertz, and eight digits of which the first is 0 are those of a request.
DdeOrder ReadDdeExecute(std::string_view command);
/// What is poked into an item: a mode, a frequency as an execute has it, or one in the eight digits of a request.
DdeOrder ReadDdePoke(DdeItem item, std::string_view value);

}  // namespace kvx::links
