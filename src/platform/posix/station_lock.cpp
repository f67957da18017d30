#include "platform/posix/station_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>

#include "core/text.h"
#include "platform/posix/cause.h"

namespace kvx::platform {
namespace {

/// What a holder writes into the file: "1234 kvx".
std::string Signature() {
  return std::to_string(::getpid()) + " " + ::program_invocation_short_name + "\n";
}

std::string ContentOf(int descriptor) {
  std::array<char, 200> content{};
  const ssize_t size = ::pread(descriptor, content.data(), content.size(), 0);
  return {content.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
}

/// "kvx, process 1234" from the file's content; the holder may be just about to write it.
std::string HolderText(int descriptor) {
  const std::string content = ContentOf(descriptor);
  const std::string_view text = Trim(content);
  const std::size_t blank = text.find(' ');
  if (blank == std::string_view::npos || !ParseNumber(text.substr(0, blank), 1, 1'000'000'000))
    return "another program";
  const std::string_view program = text.substr(blank + 1, text.find('\n') - blank - 1);
  return OneLine(program) + ", process " + std::string(text.substr(0, blank));
}

}  // namespace

Result<StationLock> StationLock::Take(const Path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) return CauseError(folder.string(), error.value());
  const Path path = folder / "kvx.lock";
  Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
  if (!file.valid()) return CauseError(path.string(), errno);
  if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK) return CauseError(path.string(), errno);
    return Error{ErrorCode::kBusy, "The station " + folder.string() + " is in use by " + HolderText(file.get())};
  }
  const bool after_crash = !ContentOf(file.get()).empty();  // who ends in order empties it
  const std::string signature = Signature();
  // The lock holds without its text: a full disk must not keep the station shut.
  if (::ftruncate(file.get(), 0) == 0) [[maybe_unused]]
    const ssize_t written = ::write(file.get(), signature.data(), signature.size());
  // A power failure is to leave it there, and nobody waits for that.
  ::sync_file_range(file.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
  return StationLock(std::move(file), after_crash);
}

StationLock::~StationLock() {
  if (descriptor_.valid() && !keeps_name_) [[maybe_unused]]
    const int emptied = ::ftruncate(descriptor_.get(), 0);
}

}  // namespace kvx::platform
