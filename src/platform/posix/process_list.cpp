#include "platform/posix/process_list.h"

#include <array>
#include <fstream>
#include <utility>

#include "core/text.h"

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

/// The beginning of a file; those of /proc tell no size.
std::string Beginning(const fs::path& path) {
  std::array<char, 4096> bytes{};
  std::ifstream file(path, std::ios::binary);
  file.read(bytes.data(), bytes.size());
  return {bytes.data(), static_cast<std::size_t>(file.gcount())};
}

/// Paths of both systems: "/usr/bin/x", "C:\Logger\x.exe".
std::string FileName(std::string_view path) {
  return std::string(path.substr(path.find_last_of("/\\") + 1));
}

bool IsLoader(std::string_view name) {
  return name.starts_with("wine") || name.starts_with("mono");
}

/// The first word, and what stands behind words that are loaders.
void AddNames(const std::string& command_line, std::vector<std::string>& names) {
  for (const std::string& word : Split(command_line, '\0')) {
    std::string name = FileName(word);
    if (name.empty()) return;
    const bool loader = IsLoader(Lower(name));
    names.push_back(std::move(name));
    if (!loader) return;
  }
}

}  // namespace

std::vector<std::string> PosixProcessList::Names() const {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator it(proc_, error), end; !error && it != end; it.increment(error)) {
    if (!AllDigits(it->path().filename().string())) continue;
    // A process that ends in this moment has no texts any more.
    AddNames(Beginning(it->path() / "cmdline"), names);
    if (std::string name(Trim(Split(Beginning(it->path() / "comm"), '\n').front())); !name.empty())
      names.push_back(std::move(name));
  }
  return names;
}

}  // namespace kvx::platform
