#include "config/mdb_import.h"

namespace kvx::config {
namespace {

/// Not kDamaged: a program that can read the file takes it.
Error NotBuiltIn(const platform::Path& file) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) return Error{ErrorCode::kNotFound, file.string() + " does not exist"};
  return Error{ErrorCode::kInvalid, file.string() + " cannot be imported: this program was built without libmdb"};
}

}  // namespace

// In the place of mdb_import.cpp where there is no libmdb.
Result<MdbTables> ReadMdbTables(const platform::Path& file, const std::vector<std::string>& /*names*/) {
  return NotBuiltIn(file);
}

Result<MdbContent> ReadMdb(const platform::Path& file) {
  return NotBuiltIn(file);
}

}  // namespace kvx::config
