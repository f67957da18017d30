#include "platform/posix/running_programs.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>

#include "core/text.h"

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kHighestProcess = 1'000'000'000;

}  // namespace

std::string BeginningOf(const Path& file) {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return "";
  std::array<char, 4096> bytes{};
  std::ifstream stream(file, std::ios::binary);
  stream.read(bytes.data(), bytes.size());
  return {bytes.data(), static_cast<std::size_t>(stream.gcount())};
}

std::optional<RunningProgram> RunningPrograms::Program(int process) const {
  const Path folder = proc_ / std::to_string(process);
  std::error_code error;
  if (process <= 0 || !fs::is_directory(folder, error)) return std::nullopt;
  const std::string stat = BeginningOf(folder / "stat");  // 12 (its name) S 1 ...
  int parent = 0;
  if (const std::size_t end = stat.rfind(')'); end != std::string::npos)
    (void)std::sscanf(stat.c_str() + end, ") %*c %d", &parent);
  return RunningProgram{OneLine(Trim(Split(BeginningOf(folder / "comm"), '\n').front()), 40), process, parent};
}

std::vector<RunningProgram> RunningPrograms::WithOpen(
    const std::function<bool(const std::string& target, const Path& facts)>& wanted) const {
  std::vector<RunningProgram> found;
  std::error_code error;
  for (fs::directory_iterator it(proc_, error), end; !error && it != end; it.increment(error)) {
    const auto process = ParseNumber(it->path().filename().string(), 1, kHighestProcess);
    if (!process) continue;
    std::error_code hidden;
    for (fs::directory_iterator file(it->path() / "fd", hidden); !hidden && file != end; file.increment(hidden)) {
      std::error_code gone;
      const std::string target = fs::read_symlink(file->path(), gone).string();
      if (gone || !wanted(target, it->path() / "fdinfo" / file->path().filename())) continue;
      if (auto program = Program(static_cast<int>(*process))) found.push_back(std::move(*program));
      break;
    }
  }
  return found;
}

bool RunningPrograms::sees_all() const {
  std::error_code error;
  for (fs::directory_iterator it(proc_, error), end; !error && it != end; it.increment(error)) {
    if (!AllDigits(it->path().filename().string())) continue;
    if (::access((it->path() / "fd").c_str(), R_OK) != 0 && errno == EACCES) return false;
  }
  return !error;
}

// 1: FLOCK  ADVISORY  WRITE 708 00:1f:12345 0 EOF      process, device, i-node
std::optional<RunningProgram> RunningPrograms::LockHolder(const Path& file) const {
  struct stat facts {};
  if (::stat(file.c_str(), &facts) != 0) return std::nullopt;
  // By the holder, in the file. A device is never opened.
  const bool may_tell = S_ISREG(facts.st_mode);
  const auto noted = may_tell ? static_cast<int>(LeadingNumber(BeginningOf(file).substr(0, 20))) : 0;
  std::ifstream locks(proc_ / "locks");
  for (std::string line; std::getline(locks, line);) {
    std::array<char, 16> kind{};
    int process = 0;
    unsigned major = 0;
    unsigned minor = 0;
    unsigned long node = 0;
    if (std::sscanf(line.c_str(), "%*d: %15s %*s %*s %d %x:%x:%lu", kind.data(), &process, &major, &minor, &node) != 5)
      continue;
    if (std::string_view(kind.data()) != "FLOCK" || node != facts.st_ino) continue;
    // Some file systems have another device number here than stat(2) tells.
    if (makedev(major, minor) != facts.st_dev && (noted == 0 || process != noted)) continue;
    if (auto program = Program(process)) return program;
  }
  return std::nullopt;
}

}  // namespace kvx::platform
