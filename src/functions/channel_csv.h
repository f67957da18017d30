#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "functions/memory_channel.h"

namespace kvx::functions {

// Memory channels in the CSV that memory programs for radios exchange (CHIRP's): a heading names the columns, which may
// come in any order. Used are Location, Name, Frequency (MHz), Mode, Skip ("S") and Comment; the others are written
// with the values that stand for "none" and are not read, because repeater shifts and tones are set by the function
// keys.

/// A channel with its number; 0: any.
struct NumberedChannel {
  int number = 0;
  MemoryChannel channel;
  bool operator==(const NumberedChannel&) const = default;
};

std::string FormatChannels(const std::vector<NumberedChannel>& channels);
/// An error names the line and what is wrong with it, and then nothing is taken. Locations beyond 1 to 100 read as 0.
Result<std::vector<NumberedChannel>> ParseChannels(std::string_view csv);

/// MHz text such as "146.520000"; nothing for another text.
std::optional<Frequency> ParseMhz(std::string_view text);

}  // namespace kvx::functions
