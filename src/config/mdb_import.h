#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/result.h"
#include "platform/files.h"

namespace kvx::config {

/// A row of an old Jet database: column name -> text (Yes/No as "1" or "0"), without those that are Null.
using MdbRow = std::map<std::string, std::string>;
/// Its rows by the name of their table, as that was asked for.
using MdbTables = std::map<std::string, std::vector<MdbRow>>;

/// Reads tables of an `.mdb` (Jet 3 and 4), every row and column, texts in UTF-8. kDamaged with a sentence that names
/// the file when it is no such database, is cut short or has no table of the first name; the others may be missing.
Result<MdbTables> ReadMdbTables(const platform::Path& file, const std::vector<std::string>& names);

/// What an old rig database holds.
struct MdbContent {
  using Row = MdbRow;
  std::vector<Row> rig_setup;  ///< table RigSetup
  std::vector<Row> rigfn;      ///< table rigfn; empty when the file has no such table
};

/// Reads tables RigSetup, which has to be there, and rigfn.
Result<MdbContent> ReadMdb(const platform::Path& file);

}  // namespace kvx::config
