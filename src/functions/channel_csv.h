#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "functions/memory_channel.h"

namespace kvx::functions {

// Memory channels in the CSV that memory programs for radios exchange (CHIRP's): a heading names the columns, which may
// come in any order, and versions differ in them. Location, Name, Frequency (MHz), Mode, Skip ("S") and Comment have a
// place in a channel. Repeater shifts, tones, calls and modes that no rig here has are kept behind the comment, where
// the operator reads them, and go back into their columns. A channel's VFO stands behind the comment in the file. Text
// that is no UTF-8 is taken as Windows-1252. Steps and powers are the radio's own and are not read.

/// A channel with its number; 0: any.
struct NumberedChannel {
  int number = 0;
  MemoryChannel channel;
  bool has_extras = false;  ///< its comment keeps what it has no place for
  bool operator==(const NumberedChannel&) const = default;
};

std::string FormatChannels(const std::vector<NumberedChannel>& channels);
/// An error names the line and what is wrong with it, and then nothing is taken. Locations beyond 1 to 100 read as 0.
/// Lines without a frequency are empty channels and left out.
Result<std::vector<NumberedChannel>> ParseChannels(std::string_view csv);

/// MHz text such as "146.520000"; nothing for another text.
std::optional<Frequency> ParseMhz(std::string_view text);

}  // namespace kvx::functions
