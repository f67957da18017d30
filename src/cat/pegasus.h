#pragma once

#include <string>
#include <string_view>

#include "config/rig_definition.h"
#include "core/frequency.h"
#include "core/result.h"

namespace kvx::cat {

/// Whether the rig is tuned by the Pegasus rule instead of a frequency template.
bool IsPegasus(const config::RigDefinition& rig);

/// The bytes that tune receiver (N) and transmitter (T) of a Pegasus to a frequency in the mode of that caption, with
/// the filters that its row sets with the mode. The rig takes three factors instead of digits: coarse, fine and BFO.
/// Source: Pegasus Programmer's Reference Guide, second edition, with the maker's later correction for CW.
Result<std::string> PegasusTuning(Frequency frequency, std::string_view mode, bool narrow);

}  // namespace kvx::cat
