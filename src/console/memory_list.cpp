#include "console/memory_list.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::console {
namespace {

using functions::MemoryChannel;

Told Tell(Station& station, const std::string& sentence) {
  station.Notice(sentence);
  station.announcer.Operated(sentence);
  return {.sentence = sentence};
}

Told Refuse(Station& station, const std::string& sentence) {
  station.Notice(sentence);
  return {.sentence = sentence, .good = false};
}

/// A rig that is set by hand has no commands to be missed.
bool IsSetByHand(const Station& station) {
  return !station.engine.dispatcher.Has("XSETFREQ") && !station.engine.dispatcher.Has("XGETFREQ");
}

std::string NameOf(int number, const MemoryChannel& channel) {
  const std::string name = OneLine(channel.name);
  return "Memory " + std::to_string(number) + (name.empty() ? "" : " " + name);
}

}  // namespace

bool Passes(int number, const MemoryChannel& channel, const MemoryFilter& filter) {
  if (channel.empty()) return filter.empty && Trim(filter.text).empty();
  const std::string searched =
      channel.name + '\n' + KhzText(channel.frequency) + '\n' + channel.mode + '\n' + channel.comment;
  const std::vector<std::string> words = Split(filter.text, ' ');
  return std::all_of(words.begin(), words.end(), [&](const std::string& word) {
    return word == std::to_string(number) || ContainsNoCase(searched, Trim(word));
  });
}

bool HasNarrow(const MemoryChannel& channel) {
  return channel.mode == "CW" || channel.mode == "FM";
}

Result<MemoryChannel> WithFrequency(MemoryChannel channel, std::string_view khz) {
  const auto frequency = ParseKhz(khz);
  if (!frequency || frequency->decihertz <= 0)
    return Error{ErrorCode::kInvalid, "\"" + OneLine(khz, 40) + "\" is no frequency in kHz"};
  channel.frequency = *frequency;
  return channel;
}

MemoryChannel WithMode(MemoryChannel channel, std::string_view mode) {
  channel.mode = mode;
  channel.narrow = channel.narrow && HasNarrow(channel);
  return channel;
}

int PlaceBefore(int channel, int other) {
  return channel < other ? other - 1 : other;
}

std::vector<int> NamedChannels(const functions::MemoryChannels& memories, std::size_t most) {
  std::vector<int> numbers;
  for (int number = 1; number <= functions::kChannels && numbers.size() < most; ++number) {
    const MemoryChannel& channel = memories.channel(number);
    if (!channel.empty() && !Trim(channel.name).empty()) numbers.push_back(number);
  }
  return numbers;
}

Told RecallMemory(Station& station, int number) {
  station.console.ErrorText.Set("");
  const auto outcome = station.memories.Recall(number);
  if (!outcome) return Refuse(station, outcome.error().message);
  const std::string name = NameOf(number, station.memories.channel(number));
  if (*outcome == cat::SendOutcome::kSent || IsSetByHand(station)) return Tell(station, name);
  return Refuse(station, name + ": " + station.WhyNotSent(*outcome));
}

Told StepMemory(Station& station, int direction) {
  const int number = station.memories.Neighbour(direction);
  if (number == 0) return Refuse(station, "All memory channels are empty");
  return RecallMemory(station, number);
}

Told StoreMemory(Station& station, int number) {
  if (number == 0) number = station.memories.first_free();
  if (number == 0) return Refuse(station, "All memory channels are taken");
  if (const Status stored = station.memories.Store(number); !stored) return Refuse(station, stored.error().message);
  const MemoryChannel& channel = station.memories.channel(number);
  return Tell(station, NameOf(number, channel) + " stored: " + KhzText(channel.frequency) + " " + channel.mode);
}

Told PressMemoryKey(Station& station, std::string_view key) {
  struct Row {
    std::string_view key;
    const char* sentence;
  };
  static constexpr std::array kRows{Row{"XVFOTOMEM", "VFO to memory"}, Row{"XMEMTOVFO", "Memory to VFO"},
                                    Row{"XMEMCH", "Memory channel"}};
  const auto* row = std::find_if(kRows.begin(), kRows.end(), [&](const Row& each) { return each.key == key; });
  const std::string name = row == kRows.end() ? std::string(key) : row->sentence;
  const cat::SendOutcome outcome = station.PressKey(key, name);
  if (outcome == cat::SendOutcome::kSent) return {.sentence = name};
  return Refuse(station, name + ": " + station.WhyNotSent(outcome));
}

}  // namespace kvx::console
