#pragma once

#include "console/command_line.h"

namespace kvx::console {

/// Adds `decode WAV`: reads the CW of a recording, on the worker of the station's audio.
void AddDecodeCommand(CommandLine& commands, Loop& loop, Station& station);

}  // namespace kvx::console
