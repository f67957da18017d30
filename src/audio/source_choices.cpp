#include "audio/source_choices.h"

#include <algorithm>
#include <string_view>

namespace kvx::audio {
namespace {

constexpr std::string_view kWav = "wav:";

}  // namespace

std::vector<SourceChoice> SourceChoices(const std::vector<platform::AudioDevice>& devices, const std::string& in_use) {
  std::vector<SourceChoice> choices;
  for (const platform::AudioDevice& device : devices)
    choices.push_back({device.id, device.monitor ? device.name + " (monitor)" : device.name});
  const auto has = [&](const std::string& source) {
    return std::any_of(choices.begin(), choices.end(), [&](const auto& choice) { return choice.source == source; });
  };
  if (!has("")) choices.insert(choices.begin(), {"", "System default"});
  choices.push_back({"sim:receiver", "Simulated receiver"});
  if (has(in_use)) return choices;
  if (!in_use.starts_with(kWav)) {
    choices.push_back({in_use, in_use + " (not present)"});
  } else {
    const std::size_t folder = in_use.find_last_of("/\\");
    const std::size_t name = folder == std::string::npos ? kWav.size() : folder + 1;
    choices.push_back({in_use, in_use.substr(name)});
  }
  return choices;
}

std::string WavSource(const std::string& file) {
  return std::string(kWav) + file;
}

}  // namespace kvx::audio
