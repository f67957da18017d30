#pragma once

#include <string>
#include <string_view>

#include "accessories/tuner_store.h"

namespace kvx::accessories {

// The notebook's records as other programs have them.

/// CSV under a heading of the column names, one segment a line, in the order of the segments.
std::string FormatTunerCsv(const TunerRecords& records);
/// The same read back; columns may be missing or in any order. The error names the line.
Result<TunerRecords> ParseTunerCsv(std::string_view csv);
/// The table Tuner of an old `.mdb`. Records whose key is that of no segment are left out.
Result<TunerRecords> ReadTunerMdb(const platform::Path& file);

}  // namespace kvx::accessories
