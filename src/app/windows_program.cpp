#include "app/windows_program.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>

namespace kvx::app {

int RunWindowsProgram(char** argv) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
  fs::path program = folder / "kvx-windows";
  if (!fs::exists(program, error)) program = (folder / ".." / "lib" / "kvx" / "kvx-windows").lexically_normal();
  ::execv(program.c_str(), argv);
  const int cause = errno;
  std::cerr << "kvx: " << program.string() << ", which has the windows, cannot be run: " << std::strerror(cause)
            << '\n';
  return 1;
}

}  // namespace kvx::app
