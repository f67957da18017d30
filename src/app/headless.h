#pragma once

#include "app/options.h"

namespace kvx::console {
class CommandLine;
}

namespace kvx::app {

class Program;

/// Adds the commands of every module.
void AddCommands(console::CommandLine& commands, Program& program);
/// The console without a window: commands on standard input, events on standard output. Ends on "quit", SIGTERM or
/// SIGINT, not at the end of input. Gives the program's exit code: 2 when another console has the station folder.
int RunHeadless(int argc, char** argv, const Options& options);

}  // namespace kvx::app
