#pragma once

#include <string>
#include <vector>

#include "console/command_line.h"

namespace kvx::app {

/// The manual page kvx(1) as troff reads it, with the commands of the headless command line.
std::string ManualPage(const std::vector<console::CommandLine::CommandHelp>& commands);
/// `kvx --man`. The commands are asked of a station in an empty folder that is not started. Gives the exit code.
int PrintManualPage(int argc, char** argv);

}  // namespace kvx::app
