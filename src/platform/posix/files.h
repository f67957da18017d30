#pragma once

#include "platform/files.h"

namespace kvx::platform {

/// Files on a POSIX system. A temporary file is held by a lock that dies with its holder, so one that a crash left
/// behind is known from one in use. A replaced file keeps its mode, and a symbolic link stays one: the file it leads to
/// is replaced.
class PosixFiles final : public Files {
 public:
  bool Exists(const Path& path) const override;
  Result<std::string> Read(const Path& path, std::size_t limit = 16U << 20) const override;
  Result<std::unique_ptr<Replacement>> BeginReplace(const Path& path, const Path& temporary, Stale stale) override;
  Status Write(const Path& path, std::string_view content) override;
  Status Rename(const Path& from, const Path& to) override;
  Status MakeFolder(const Path& path) override;
};

}  // namespace kvx::platform
