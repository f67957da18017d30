#include "platform/posix/device_user.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "core/text.h"

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr Duration kSearchAgain = 10s;

bool HasOpen(const fs::path& process, const std::string& real_path) {
  std::error_code error;
  for (fs::directory_iterator it(process / "fd", error), end; !error && it != end; it.increment(error)) {
    std::error_code unreadable;
    if (fs::read_symlink(it->path(), unreadable) == real_path) return true;
  }
  return false;
}

/// The process that has a file open, another one rather than this one; 0 when none can be seen.
pid_t Search(const std::string& real_path) {
  std::error_code error;
  pid_t own = 0;
  for (fs::directory_iterator it("/proc", error), end; !error && it != end; it.increment(error)) {
    const auto number = ParseNumber(it->path().filename().string(), 1, 1'000'000'000);
    if (!number || !HasOpen(it->path(), real_path)) continue;
    if (*number != ::getpid()) return static_cast<pid_t>(*number);
    own = ::getpid();
  }
  return own;
}

}  // namespace

bool DeviceUser::is_another() const {
  return process_ != 0 && process_ != ::getpid();
}

bool DeviceUser::IsStillThere(const std::string& real_path) const {
  return path_ == real_path && is_another() && HasOpen("/proc/" + std::to_string(process_), real_path);
}

void DeviceUser::Look(const std::string& real_path) {
  path_ = real_path;
  process_ = Search(real_path);
  searched_ = now_();
}

bool DeviceUser::IsAnother(const std::string& real_path) {
  if (!IsStillThere(real_path)) Look(real_path);
  return is_another();
}

std::string DeviceUser::InUseBy(const std::string& real_path) {
  const bool vainly_just_now = path_ == real_path && !is_another() && now_() - searched_ < kSearchAgain;
  if (!vainly_just_now && !IsStillThere(real_path)) Look(real_path);
  if (process_ == 0) return "in use by another program";
  if (process_ == ::getpid()) return "in use already by this program";
  std::string name;
  std::getline(std::ifstream("/proc/" + std::to_string(process_) + "/comm"), name);
  return "in use by another program (" + OneLine(name) + ", process " + std::to_string(process_) + ")";
}

}  // namespace kvx::platform
