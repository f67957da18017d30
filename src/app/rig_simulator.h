#pragma once

#include "app/options.h"

namespace kvx::app {

/// One simulated rig or keyer on a pseudo-terminal. Prints the device's path as its first line; then standard input is
/// its front panel, and what it refuses is printed. A keyer's tone can be recorded ("record FILE", "record off"), and
/// it can be unplugged. Ends on "quit", SIGTERM or SIGINT.
int RunRigSimulator(int argc, char** argv, const Options& options);

}  // namespace kvx::app
