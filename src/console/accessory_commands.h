#pragma once

#include "console/command_line.h"

namespace kvx::console {

/// Adds the commands of the accessories: bearing, antenna, bit, antset, antpreset, antport.
void AddAccessoryCommands(CommandLine& commands, Station& station);

/// Their state, for `status`.
std::string AntennaJson(const Station& station);

}  // namespace kvx::console
