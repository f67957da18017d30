#include "config/mdb_import.h"

namespace kvx::config {

/// In the place of mdb_import.cpp where there is no libmdb. Not kDamaged: a program that can read the file takes it.
Result<MdbContent> ReadMdb(const platform::Path& file) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) return Error{ErrorCode::kNotFound, file.string() + " does not exist"};
  return Error{ErrorCode::kInvalid, file.string() + " cannot be imported: this program was built without libmdb"};
}

}  // namespace kvx::config
