#pragma once

#include "console/command_line.h"
#include "console/station_setup.h"

namespace kvx::console {

/// Adds the headless commands that set a station up: devices, device, line, stopbits, test, storeslot, clearslot,
/// region, interval, gmt, offset, setting, theme, textsize, color. `setup` outlives the command line.
void AddSetupCommands(CommandLine& commands, StationSetup& setup);

}  // namespace kvx::console
