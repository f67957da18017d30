#pragma once

#include "app/options.h"

namespace kvx::app {

/// The console without a window: commands on standard input, events on standard output. Ends on "quit", SIGTERM or
/// SIGINT, not at the end of input. Gives the program's exit code: 2 when another console has the station folder.
int RunHeadless(int argc, char** argv, const Options& options);

}  // namespace kvx::app
