#pragma once

#include "app/options.h"

namespace kvx::app {

/// The console with its window. Exit codes as for the headless console.
int RunWindowed(int argc, char** argv, const Options& options);

}  // namespace kvx::app
