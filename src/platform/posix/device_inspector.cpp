#include "platform/posix/device_inspector.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "core/text.h"
#include "platform/posix/braille_rules.h"

namespace kvx::platform {
namespace {

namespace fs = std::filesystem;

constexpr int kMostSteps = 8;  // from a USB port's terminal up to the device that carries the numbers
constexpr const char* kPseudo = "/dev/pts/";

std::string Line(const Path& file) {
  return OneLine(Trim(Split(BeginningOf(file), '\n').front()), 120);
}

std::string UsbNumbers(const Path& device) {
  const std::string vendor = Line(device / "idVendor");
  return vendor.empty() ? "" : Lower(vendor + ":" + Line(device / "idProduct"));
}

bool IsListed(const group& members, uid_t user) {
  const passwd* self = ::getpwuid(user);
  if (self == nullptr) return false;
  if (self->pw_gid == members.gr_gid) return true;
  for (char** name = members.gr_mem; *name != nullptr; ++name) {
    if (std::strcmp(*name, self->pw_name) == 0) return true;
  }
  return false;
}

bool IsGranted(gid_t wanted) {
  std::array<gid_t, 1024> groups{};
  const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
  const auto end = groups.begin() + std::max(count, 0);
  return ::getegid() == wanted || std::find(groups.begin(), end, wanted) != end;
}

/// A file in a folder that many write to, as /var/lock, can be deleted by its owner alone.
bool IsRemovable(const Path& file) {
  struct stat folder {};
  struct stat facts {};
  if (::stat(file.parent_path().c_str(), &folder) != 0 || ::stat(file.c_str(), &facts) != 0) return false;
  const bool own = ::geteuid() == 0 || facts.st_uid == ::geteuid() || folder.st_uid == ::geteuid();
  return ::access(file.parent_path().c_str(), W_OK) == 0 && ((folder.st_mode & S_ISVTX) == 0 || own);
}

/// The process that a lock file names: digits in its first line, or the number itself in four bytes.
int ProcessIn(const Path& file) {
  const std::string content = BeginningOf(file);
  std::int32_t number = 0;
  if (content.size() == sizeof number && !IsDigit(content.back()) && content.back() != '\n') {
    std::memcpy(&number, content.data(), sizeof number);
    return number;
  }
  return static_cast<int>(std::clamp<std::int64_t>(LeadingNumber(content.substr(0, 20)), 0, 1'000'000'000));
}

}  // namespace

DeviceFacts PosixDeviceInspector::Inspect(const std::string& path) const {
  DeviceFacts facts;
  std::error_code error;
  facts.is_link = fs::is_symlink(fs::symlink_status(path, error));
  facts.exists = fs::exists(path, error);
  if (!facts.exists) return facts;
  facts.leads_to = fs::canonical(path, error).string();
  facts.is_device = fs::is_character_file(facts.leads_to, error);
  const std::string name = Path(facts.leads_to).filename().string();
  if (name.starts_with("ttyS")) {
    const std::string type = Line(root_ / "sys/class/tty" / name / "type");
    facts.hardware = type.empty() || LeadingNumber(type) != 0;
  }
  facts.usb = UsbNumbers(UsbDeviceOf(name));
  TakePermission(facts);
  TakeUsers(facts);
  TakeLocks(facts);
  return facts;
}

void PosixDeviceInspector::TakePermission(DeviceFacts& facts) const {
  struct stat file {};
  if (::stat(facts.leads_to.c_str(), &file) != 0) return;
  facts.usable = ::eaccess(facts.leads_to.c_str(), R_OK | W_OK) == 0;
  if (const passwd* owner = ::getpwuid(file.st_uid)) facts.owner = owner->pw_name;
  constexpr mode_t kBoth = S_IRGRP | S_IWGRP;
  const group* members = (file.st_mode & kBoth) == kBoth ? ::getgrgid(file.st_gid) : nullptr;
  if (members == nullptr || file.st_gid == 0) return;
  facts.group = members->gr_name;
  facts.listed = IsListed(*members, ::geteuid());
  facts.granted = IsGranted(file.st_gid);
}

/// A program that has a pseudo-terminal's other end has made it, and may keep this one open too.
void PosixDeviceInspector::TakeUsers(DeviceFacts& facts) const {
  const bool pseudo = facts.leads_to.starts_with(kPseudo);
  const std::string index = pseudo ? facts.leads_to.substr(std::strlen(kPseudo)) : std::string();
  const auto is_other_end = [&](const std::string& target, const Path& file) {
    if (!target.ends_with("/ptmx")) return false;
    for (const std::string& line : Split(BeginningOf(file), '\n')) {
      if (line.starts_with("tty-index:")) return Trim(std::string_view(line).substr(10)) == index;
    }
    return false;
  };
  std::vector<RunningProgram> makers;
  if (pseudo) makers = programs_.WithOpen(is_other_end);
  if (!makers.empty()) facts.maker = makers.front();
  facts.users = programs_.WithOpen([&](const std::string& target, const Path&) { return target == facts.leads_to; });
  const auto holder = programs_.LockHolder(facts.leads_to);
  const auto is_no_user = [&](const RunningProgram& program) {
    const bool made_it = std::find(makers.begin(), makers.end(), program) != makers.end();
    return made_it && program != holder;
  };
  std::erase_if(facts.users, is_no_user);
  const bool hidden = holder && std::find(facts.users.begin(), facts.users.end(), *holder) == facts.users.end();
  if (hidden && !is_no_user(*holder)) facts.users.push_back(*holder);
}

void PosixDeviceInspector::TakeLocks(DeviceFacts& facts) const {
  constexpr std::string_view kDev = "/dev/";
  std::string name = facts.leads_to;
  if (name.starts_with(kDev)) name.erase(0, kDev.size());
  std::error_code error;
  std::vector<Path> seen;
  for (const char* folder : {"run/lock", "var/lock", "var/spool/lock"}) {
    for (const std::string& form : {ReplaceAll(name, "/", "_"), Path(name).filename().string()}) {
      const Path file = fs::canonical(root_ / folder / ("LCK.." + form), error);
      if (error || std::find(seen.begin(), seen.end(), file) != seen.end()) continue;
      seen.push_back(file);
      const int process = ProcessIn(file);
      const auto holder = programs_.Program(process);
      facts.locks.push_back({.path = file.string(),
                             .holder = holder.value_or(RunningProgram{"", process}),
                             .alive = holder.has_value(),
                             .removable = IsRemovable(file)});
    }
  }
}

/// The USB device that a terminal belongs to; an empty path when it is none.
Path PosixDeviceInspector::UsbDeviceOf(const std::string& terminal) const {
  std::error_code error;
  Path at = fs::canonical(root_ / "sys/class/tty" / terminal / "device", error);
  for (int step = 0; !error && step < kMostSteps && at != at.root_path(); ++step, at = at.parent_path()) {
    if (fs::exists(at / "idVendor", error)) return at;
  }
  return {};
}

std::vector<BrailleClaim> PosixDeviceInspector::BrailleClaims() const {
  const std::vector<BrailleRule> rules = ReadBrailleRules(root_);
  std::vector<BrailleClaim> claims;
  std::vector<Path> ports;
  std::error_code error;
  for (fs::directory_iterator it(root_ / "sys/class/tty", error), end; !error && it != end; it.increment(error)) {
    const Path device = UsbDeviceOf(it->path().filename().string());
    if (!device.empty()) ports.push_back(device);
  }
  for (fs::directory_iterator it(root_ / "sys/bus/usb/devices", error), end; !error && it != end; it.increment(error)) {
    const UsbTexts texts{UsbNumbers(it->path()), Line(it->path() / "manufacturer"), Line(it->path() / "product")};
    const auto takes = [&texts](const BrailleRule& rule) { return rule.Takes(texts); };
    if (texts.numbers.empty() || std::none_of(rules.begin(), rules.end(), takes)) continue;
    std::error_code gone;
    const bool has_port = std::find(ports.begin(), ports.end(), fs::canonical(it->path(), gone)) != ports.end();
    claims.push_back({texts.numbers, std::string(Trim(texts.manufacturer + " " + texts.product)), has_port});
  }
  return claims;
}

bool PosixDeviceInspector::has_driver(std::string_view name) const {
  std::error_code error;
  return fs::exists(root_ / "sys/module" / name, error);
}

}  // namespace kvx::platform
