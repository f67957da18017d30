#pragma once

#include <string>

#include "console/command_line.h"

namespace kvx::console {

/// Adds the commands of the receiver's audio, `audio ...`, and its events: "audio open", "cw read CQ".
void AddAudioCommands(CommandLine& commands, Loop& loop, Station& station);

/// For `status`: source, settings and counts of the audio analysis.
std::string AudioJson(const audio::AudioAnalysis& audio);

}  // namespace kvx::console
