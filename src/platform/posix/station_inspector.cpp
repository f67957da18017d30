#include "platform/posix/station_inspector.h"

#include <pthread.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/posix/real_time_attributes.h"

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostFiles = 1000;  // of the folder
constexpr std::size_t kMostRefused = 10;

}  // namespace

FolderFacts PosixStationInspector::Look(const Path& folder) const {
  FolderFacts facts;
  std::error_code error;
  facts.exists = fs::exists(folder, error);
  facts.is_folder = fs::is_directory(folder, error);
  facts.readable = ::eaccess(folder.c_str(), R_OK | X_OK) == 0;
  facts.writable = ::eaccess(folder.c_str(), W_OK | X_OK) == 0;
  struct statvfs disk {};
  if (::statvfs(folder.c_str(), &disk) == 0) facts.free_bytes = std::uint64_t{disk.f_bavail} * disk.f_frsize;
  std::size_t seen = 0;
  for (fs::directory_iterator it(folder, error), end; !error && it != end && ++seen < kMostFiles; it.increment(error)) {
    std::error_code gone;
    if (!fs::is_regular_file(it->path(), gone) || ::eaccess(it->path().c_str(), R_OK | W_OK) == 0) continue;
    facts.refused.push_back(it->path().filename().string());
  }
  std::sort(facts.refused.begin(), facts.refused.end());
  if (facts.refused.size() > kMostRefused) facts.refused.resize(kMostRefused);
  return facts;
}

/// A thread that does nothing tells: the limits alone do not say what a container or a security module forbids.
bool PosixStationInspector::may_have_real_time() const {
  const RealTimeAttributes kind;
  pthread_t thread{};
  const bool made = ::pthread_create(
                        &thread, kind.get(), [](void*) -> void* { return nullptr; }, nullptr) == 0;
  if (made) ::pthread_join(thread, nullptr);
  return made;
}

std::string PosixStationInspector::display() const {
  for (const char* name : {"WAYLAND_DISPLAY", "DISPLAY", "QT_QPA_PLATFORM"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return value;
  }
  return "";
}

}  // namespace kvx::platform
