#pragma once

#include "console/command_line.h"

namespace kvx::console {

/// Adds the commands of CW keying: cw, cwback, cwpause, cwfn, cwset, tune, keyer, sendchar; and its events: "cw sending
/// X", "cw idle", "tune on", "keyer ready".
void AddCwCommands(CommandLine& commands, Loop& loop, Station& station);

}  // namespace kvx::console
