#pragma once

#include "console/station.h"

namespace kvx::console {

/// Gives a station that has none yet some memory channels, stored function keys of its rig and antennas, so that a
/// demonstration has something to show. What cannot be written is told.
void FillForDemonstration(Station& station);

}  // namespace kvx::console
