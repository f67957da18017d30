#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/result.h"
#include "platform/files.h"

namespace kvx::config {

/// What an old Jet database holds: rows as column name -> text (Yes/No as "1" or "0"), without those that are Null.
struct MdbContent {
  using Row = std::map<std::string, std::string>;
  std::vector<Row> rig_setup;  ///< table RigSetup
  std::vector<Row> rigfn;      ///< table rigfn; empty when the file has no such table
};

/// Reads tables RigSetup and rigfn of an `.mdb` (Jet 3 and 4), every row and column, texts in UTF-8. kDamaged with a
/// sentence that names the file when it is no such database, is cut short or has no table RigSetup.
Result<MdbContent> ReadMdb(const platform::Path& file);

}  // namespace kvx::config
