#pragma once

#include "console/command_line.h"

namespace kvx::console {

/// Adds the headless commands of what is stored by frequency: fntext, store, recall, delete, fnlist, fnset, fnexport,
/// fnimport, scan, memory; and the events of a scan. `station` outlives the command line.
void AddMemoryCommands(CommandLine& commands, Station& station);

}  // namespace kvx::console
