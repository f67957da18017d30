#include "platform/posix/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "platform/posix/cause.h"
#include "platform/posix/descriptor.h"

namespace kvx::platform {
namespace {

constexpr time_t kYoungSeconds = 3;
constexpr int kLockTries =
    20;  // a temporary file may be renamed away between our opening and our locking it, again and again

Error Failure(const Path& path, const std::string& what, int cause) {
  return CauseError(path.string() + " " + what, cause);
}

int OpenRetrying(const Path& path, int flags, mode_t mode = 0) {
  while (true) {
    const int fd = open(path.c_str(), flags | O_CLOEXEC, mode);
    if (fd >= 0 || errno != EINTR) return fd;
  }
}

/// 0, or the cause.
int WriteAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t count = write(fd, content.data(), content.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) return ENOSPC;
    content.remove_prefix(static_cast<std::size_t>(count));
  }
  return fsync(fd) == 0 ? 0 : errno;
}

/// Brings a rename to the disk. A file system that cannot is not a failure: the file itself is there whole.
void SyncFolderOf(const Path& path) {
  const Descriptor folder(
      OpenRetrying(path.has_parent_path() ? path.parent_path() : Path("."), O_RDONLY | O_DIRECTORY));
  if (folder.valid()) fsync(folder.get());
}

bool IsFile(int fd, const Path& path) {
  struct stat held {};
  struct stat named {};
  return fstat(fd, &held) == 0 && lstat(path.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
         held.st_ino == named.st_ino;
}

/// Where a chain of symbolic links ends, whether or not a file is there.
Path Target(const Path& path) {
  Path target = path;
  std::error_code error;
  for (int i = 0; i < 40 && std::filesystem::is_symlink(target, error); ++i) {
    const Path link = std::filesystem::read_symlink(target, error);
    target = link.is_absolute() ? link : target.parent_path() / link;
  }
  return target;
}

Error NoOrdinaryFile(const Path& path) {
  return {ErrorCode::kInvalid, path.string() + " is no ordinary file"};
}

/// Written whole and renamed; on a failure the written file goes. A device, a pipe or a folder is not replaced.
Status PutInPlace(int fd, const Path& written, const Path& target, std::string_view content) {
  struct stat old {};
  const bool there = stat(target.c_str(), &old) == 0;
  if (there && !S_ISREG(old.st_mode)) {
    unlink(written.c_str());
    return NoOrdinaryFile(target);
  }
  if (there) fchmod(fd, old.st_mode & 07777);
  int cause = ftruncate(fd, 0) == 0 ? WriteAll(fd, content) : errno;
  if (cause == 0 && rename(written.c_str(), target.c_str()) != 0) cause = errno;
  if (cause != 0) {
    unlink(written.c_str());
    return Failure(target, "could not be written", cause);
  }
  SyncFolderOf(target);
  return Ok();
}

class PosixReplacement final : public Replacement {
 public:
  PosixReplacement(Path target, Path temporary, Descriptor held)
      : target_(std::move(target)), temporary_(std::move(temporary)), held_(std::move(held)) {}
  ~PosixReplacement() override { RemoveTemporary(); }

  Status Commit(std::string_view content) override {
    if (!held_.valid()) return Error{ErrorCode::kInvalid, target_.string() + " was written already"};
    const Status status = target_.parent_path() == temporary_.parent_path()
                              ? PutInPlace(held_.get(), temporary_, target_, content)
                              : CommitElsewhere(content);
    RemoveTemporary();
    return status;
  }

  Status Adopt() override {
    // Let go of at the end whatever comes of it: the temporary file may be the only one there is.
    const Descriptor held = std::exchange(held_, Descriptor());
    if (!held.valid()) return Error{ErrorCode::kInvalid, target_.string() + " was written already"};
    if (fsync(held.get()) != 0 || rename(temporary_.c_str(), target_.c_str()) != 0) {
      return Failure(temporary_, "could not become " + target_.string(), errno);
    }
    SyncFolderOf(target_);
    return Ok();
  }

 private:
  /// A link led to another folder, perhaps on another disk: the new file is made there, the temporary file is the lock
  /// only.
  Status CommitElsewhere(std::string_view content) const {
    Path beside = target_;
    beside += ".new";
    const Descriptor fd(OpenRetrying(beside, O_WRONLY | O_CREAT | O_NOFOLLOW, 0666));
    if (!fd.valid()) return Failure(beside, "could not be made", errno);
    return PutInPlace(fd.get(), beside, target_, content);
  }

  void RemoveTemporary() {
    if (held_.valid() && IsFile(held_.get(), temporary_)) unlink(temporary_.c_str());
    held_.Reset();
  }

  Path target_;
  Path temporary_;
  Descriptor held_;
};

enum class Attempt { kTaken, kBusy, kAgain };

bool IsYoung(int fd) {
  struct stat file {};
  if (fstat(fd, &file) != 0) return false;
  const time_t age = time(nullptr) - file.st_mtime;
  return age < kYoungSeconds && age > -kYoungSeconds;
}

/// A file that was there already is ours when nobody holds it, it still has its name, and it may be taken over.
Attempt Claim(int fd, const Path& path, bool made, Files::Stale stale) {
  if (flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return Attempt::kBusy;
  if (!IsFile(fd, path)) return Attempt::kAgain;
  if (!made && stale == Files::Stale::kRespectYoung && IsYoung(fd)) return Attempt::kBusy;
  return Attempt::kTaken;
}

}  // namespace

bool PosixFiles::Exists(const Path& path) const {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

Result<std::string> PosixFiles::Read(const Path& path, std::size_t limit) const {
  const Descriptor fd(OpenRetrying(path, O_RDONLY | O_NONBLOCK));  // a named pipe must not hold us up
  if (!fd.valid()) return Failure(path, "cannot be read", errno);
  struct stat file {};
  if (fstat(fd.get(), &file) != 0) return Failure(path, "cannot be read", errno);
  if (S_ISDIR(file.st_mode)) return Failure(path, "cannot be read", EISDIR);
  if (!S_ISREG(file.st_mode)) return NoOrdinaryFile(path);
  std::string content;
  std::string chunk(std::clamp<std::size_t>(static_cast<std::size_t>(file.st_size) + 1, 4096, 1U << 20), '\0');
  while (true) {
    const ssize_t count = read(fd.get(), chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return Failure(path, "cannot be read", errno);
    if (count == 0) return content;
    content.append(chunk, 0, static_cast<std::size_t>(count));
    if (content.size() > limit) return Error{ErrorCode::kInvalid, path.string() + " is too large"};
  }
}

Result<std::unique_ptr<Replacement>> PosixFiles::BeginReplace(const Path& path, const Path& temporary, Stale stale) {
  bool takes_files = false;
  for (int i = 0; i < kLockTries; ++i) {
    Descriptor fd(OpenRetrying(temporary, O_RDWR | O_CREAT | O_EXCL, 0666));
    const bool made = fd.valid();
    if (!made && errno == EEXIST) fd = Descriptor(OpenRetrying(temporary, O_RDWR | O_NOFOLLOW | O_NONBLOCK));
    if (!fd.valid() && errno == ENOENT && Exists(temporary.parent_path())) continue;  // gone meanwhile
    if (!fd.valid()) return Failure(temporary, "could not be made", errno);
    takes_files = true;
    struct stat opened {};
    if (fstat(fd.get(), &opened) == 0 && !S_ISREG(opened.st_mode)) return NoOrdinaryFile(temporary);
    const Attempt attempt = Claim(fd.get(), temporary, made, stale);
    if (attempt == Attempt::kBusy) break;
    if (attempt == Attempt::kTaken) {
      return std::unique_ptr<Replacement>(new PosixReplacement(Target(path), temporary, std::move(fd)));
    }
  }
  if (!takes_files) return Error{ErrorCode::kIo, path.string() + " could not be made: its folder takes no files"};
  return Error{ErrorCode::kBusy, temporary.string() + " is in use by another program"};
}

Status PosixFiles::Write(const Path& path, std::string_view content) {
  const Path target = Target(path);
  Path temporary = target;
  temporary += ".new";
  auto replacement = BeginReplace(target, temporary, Stale::kTakeOver);
  if (!replacement) return replacement.error();
  return (*replacement)->Commit(content);
}

Status PosixFiles::Rename(const Path& from, const Path& to) {
  if (rename(from.c_str(), to.c_str()) != 0) return Failure(from, "could not be renamed", errno);
  SyncFolderOf(to);
  return Ok();
}

Status PosixFiles::MakeFolder(const Path& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error) return Failure(path, "could not be made", error.value());
  return Ok();
}

}  // namespace kvx::platform
