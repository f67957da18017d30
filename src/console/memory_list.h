#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "console/station.h"

namespace kvx::console {

// What the windows do with the memory channels.

/// The modes that a channel can have, besides none.
inline constexpr std::array<const char*, 6> kMemoryModes{"CW", "USB", "LSB", "AM", "FM", "RTTY"};

struct MemoryFilter {
  std::string text;  ///< every word has to be in the channel's name, frequency, mode or comment, or be its number
  bool empty = true;
  bool operator==(const MemoryFilter&) const = default;
};
/// An empty channel passes when empty ones are shown and nothing is searched.
bool Passes(int number, const functions::MemoryChannel& channel, const MemoryFilter& filter);

/// Whether the mode has a narrow width.
bool HasNarrow(const functions::MemoryChannel& channel);

/// A channel's cell as the operator types it; an error says what is wrong with it.
Result<functions::MemoryChannel> WithFrequency(functions::MemoryChannel channel, std::string_view khz);
functions::MemoryChannel WithMode(functions::MemoryChannel channel, std::string_view mode);

/// Where a channel has to go to stand before that other one (101: behind all).
int PlaceBefore(int channel, int other);

/// The first channels that have a name.
std::vector<int> NamedChannels(const functions::MemoryChannels& memories, std::size_t most);

/// What the operator is told of something done.
struct Told {
  std::string sentence;
  bool good = true;
};
/// Recalls a channel, in the console's message line and announced. One that cannot be sent is told with the reason.
Told RecallMemory(Station& station, int number);
/// Recalls the next channel that holds something, upwards (1) or downwards (-1).
Told StepMemory(Station& station, int direction);
/// Stores the present frequency into a channel; 0: the first free one.
Told StoreMemory(Station& station, int number);
/// Sends one of the rig's own memory keys ("XVFOTOMEM").
Told PressMemoryKey(Station& station, std::string_view key);

}  // namespace kvx::console
