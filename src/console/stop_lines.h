#pragma once

#include <string_view>

#include "console/station.h"

namespace kvx::console {

/// Whether a command of the command line only ever stops a transmission: such a one waits for nothing.
bool StopsTransmission(const Station& station, std::string_view line);

}  // namespace kvx::console
