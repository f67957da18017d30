#pragma once

#include "core/result.h"
#include "platform/files.h"

namespace kvx::app {

/// Makes the simulated station in a folder: a TS-2000 on "sim:ts2000". A rig.ini or ports.ini that is there already
/// stays as it is.
Status MakeDemoStation(platform::Files& files, const platform::Path& folder);

}  // namespace kvx::app
