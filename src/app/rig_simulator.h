#pragma once

#include "app/options.h"

namespace kvx::app {

/// One simulated rig on a pseudo-terminal. Prints the device's path as its first line; then standard input is the rig's
/// front panel, and what the rig refuses is printed. Ends on "quit", SIGTERM or SIGINT.
int RunRigSimulator(int argc, char** argv, const Options& options);

}  // namespace kvx::app
