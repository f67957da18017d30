#pragma once

#include <optional>
#include <string_view>

#include "cat/command_template.h"
#include "config/rig_definition.h"
#include "core/frequency.h"

namespace kvx::cat {

// What the binary Yaesu models tell, model by model: their replies have no name, so a layout is known by its query and
// by its length, which stand in the row. docs/protocols/yaesu.md draws them.

/// The frequency in the data that a query cuts out of its reply (hexadecimal digits); nothing for a layout or data that
/// hold none.
std::optional<Frequency> YaesuFrequency(const QueryTemplate& query, std::string_view data);

/// The mode caption for such data; empty for an unknown code.
std::string_view YaesuMode(const QueryTemplate& query, std::string_view data, const config::RigDefinition& rig);

/// What the meter of a model makes of its reply.
struct YaesuMeter {
  int mask = 0xFF;  ///< the meter's bits in its byte
  int zero = 0;     ///< the byte at rest, ...
  int top = 255;    ///< ... and at S9+60; lower than `zero` on a rig whose reading falls

  int ValueOf(int byte) const;
  int full_scale() const { return top > zero ? top - zero : zero - top; }
};
const YaesuMeter& YaesuMeterOf(const config::RigDefinition& rig);

/// Whether a binary rig acknowledges commands with one byte: those that need not be told to listen first.
bool YaesuAcknowledges(const config::RigDefinition& rig);

}  // namespace kvx::cat
