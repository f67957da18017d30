#pragma once

#include "platform/files.h"

namespace kvx::platform {

/// Files on Windows. A temporary file is held by a handle that lets nobody else write or delete it and that dies with
/// its holder, so one that a crash left behind is known from one in use. A replaced file gets the rights of its folder.
class WindowsFiles final : public Files {
 public:
  bool Exists(const Path& path) const override;
  Result<std::string> Read(const Path& path, std::size_t limit = 16U << 20) const override;
  Result<std::unique_ptr<Replacement>> BeginReplace(const Path& path, const Path& temporary, Stale stale) override;
  Status Write(const Path& path, std::string_view content) override;
  Status Rename(const Path& from, const Path& to) override;
  Status MakeFolder(const Path& path) override;
};

}  // namespace kvx::platform
