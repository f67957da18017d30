#pragma once

#include "app/options.h"

namespace kvx::app {

/// `kvx --headless decode`: prints the CW of a recording as it is read, word by word. Gives the program's exit code; an
/// error is one line on standard error.
int RunFileDecoding(int argc, char** argv, const Options& options);

}  // namespace kvx::app
