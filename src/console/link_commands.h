#pragma once

#include "console/command_line.h"
#include "console/station_setup.h"

namespace kvx::console {

/// The two switches of the links to a logger: rig.ini keeps them. An error is one sentence, which the message area has
/// too.
Status SwitchLogger(StationSetup& setup, bool on);
Status SwitchLoggerKeyer(StationSetup& setup, bool on);
/// The NET rigctl server in the same way.
Status SwitchNet(StationSetup& setup, bool on);

/// Adds the headless command that switches the links to other programs on and off: link. `setup` outlives the command
/// line.
void AddLinkCommands(CommandLine& commands, StationSetup& setup);

}  // namespace kvx::console
