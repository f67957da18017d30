#pragma once

#include "console/command_line.h"

namespace kvx::console {

/// Adds the headless command `tuner` of the tuner notebook. `station` outlives the command line.
void AddTunerCommands(CommandLine& commands, Station& station);

}  // namespace kvx::console
