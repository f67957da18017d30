#pragma once

namespace kvx::app {

/// Becomes the program with the windows, which stands beside this one or, installed, in lib/kvx: apart, so that a
/// console without windows carries none of their libraries. Gives the exit code when that program cannot be run.
int RunWindowsProgram(char** argv);

}  // namespace kvx::app
