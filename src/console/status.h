#pragma once

#include <string>

#include "console/station.h"

namespace kvx::console {

/// The station's state as one line of JSON: rig, family, port, open, freq (display text), hz, mode, vfo, band, from,
/// to, step, ref, smeter, meter, polling, msg, spk, keyer, links, and what went over the rig line.
std::string StatusJson(const Station& station);

}  // namespace kvx::console
