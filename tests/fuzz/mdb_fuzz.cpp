#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "config/mdb_import.h"
#include "input.h"

/// An old database that has been damaged: it is read in a process of its own, which may crash without harm.
KVX_FUZZ(input) {
  static const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("kvx-mdb-fuzz-" + std::to_string(getpid()) + ".mdb");
  std::ofstream(file, std::ios::binary) << input.Rest();
  kvx::config::ReadMdb(file).ok();
}
