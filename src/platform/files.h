#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "core/result.h"

namespace kvx::platform {

using Path = std::filesystem::path;

/// A file that is being rewritten: its temporary file is taken, so nobody else rewrites it meanwhile. Destroyed without
/// Commit, the temporary file goes and the old file stays.
class Replacement {
 public:
  virtual ~Replacement() = default;
  /// Puts `content` in the place of the file: written to the temporary file, brought to the disk, renamed over the old
  /// one. Whatever moment the power fails, the old or the new file is there whole.
  virtual Status Commit(std::string_view content) = 0;
  /// Puts the temporary file, which another program has left, in the place of the file as it stands: it is not written,
  /// so it is there whole at every moment. After a failure it still has its old name.
  virtual Status Adopt() = 0;
};

/// The file system as the station folder needs it. Errors name the file.
class Files {
 public:
  /// How BeginReplace treats a temporary file that is there already and that no living program holds.
  enum class Stale { kRespectYoung, kTakeOver };

  virtual ~Files() = default;
  virtual bool Exists(const Path& path) const = 0;
  /// The whole file, at most `limit` bytes (a larger one is kInvalid). kNotFound when it does not exist.
  virtual Result<std::string> Read(const Path& path, std::size_t limit = 16U << 20) const = 0;
  /// Takes `temporary`, which is to become `path`. kBusy while another program holds it, and, under kRespectYoung,
  /// while it is younger than three seconds (a program that does not lock may be writing it).
  virtual Result<std::unique_ptr<Replacement>> BeginReplace(const Path& path, const Path& temporary, Stale stale) = 0;
  /// BeginReplace (temporary: the name with ".new") and Commit in one.
  virtual Status Write(const Path& path, std::string_view content) = 0;
  virtual Status Rename(const Path& from, const Path& to) = 0;
  virtual Status MakeFolder(const Path& path) = 0;
};

/// "name.damaged", or the first of "name.damaged.2", ... that does not exist: where a file that cannot be used is set
/// aside.
Path SetAsideName(const Files& files, const Path& path);
/// Puts a file that cannot be used out of the way of the one that will be written in its place. What has been done, to
/// be put behind a sentence: "; set aside as name.damaged"; empty when that was not possible.
std::string SetAside(Files& files, const Path& path);

}  // namespace kvx::platform
