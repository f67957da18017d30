#include "platform/windows/files.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/windows/cause.h"

namespace kvx::platform {
namespace {

constexpr std::uint64_t kYoung = 3 * 10'000'000;  // three seconds in the unit of file times
constexpr std::size_t kPiece = 1U << 20;

Error Failure(const Path& path, const std::string& what, DWORD cause) {
  return CauseError(path.string() + " " + what, cause);
}

class Handle {
 public:
  explicit Handle(HANDLE handle = INVALID_HANDLE_VALUE) : handle_(handle) {}
  Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Handle() {
    if (valid()) CloseHandle(handle_);
  }
  bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

std::uint64_t Number(const FILETIME& time) {
  return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

bool IsYoung(HANDLE file) {
  FILETIME written{};
  FILETIME now{};
  if (!GetFileTime(file, nullptr, nullptr, &written)) return false;
  GetSystemTimeAsFileTime(&now);
  const std::uint64_t age = Number(now) - Number(written);
  return age < kYoung || ~age < kYoung;  // from the near future too
}

/// Success or the cause; the content is on the disk then.
DWORD WriteAll(HANDLE file, std::string_view content) {
  if (!SetEndOfFile(file)) return GetLastError();  // nothing was read: the place is the beginning
  while (!content.empty()) {
    DWORD count = 0;
    const auto piece = static_cast<DWORD>(std::min(content.size(), kPiece));
    if (!WriteFile(file, content.data(), piece, &count, nullptr)) return GetLastError();
    if (count == 0) return ERROR_DISK_FULL;
    content.remove_prefix(count);
  }
  return FlushFileBuffers(file) ? ERROR_SUCCESS : GetLastError();
}

/// Renames the very file that is held, over another one if need be.
DWORD RenameHeld(HANDLE file, const Path& to) {
  std::error_code error;
  const std::wstring name = std::filesystem::absolute(to, error).wstring();
  // Aligned for the handle in it, and with a zero behind the name.
  std::vector<std::uint64_t> room(sizeof(FILE_RENAME_INFO) / 8 + name.size() / 4 + 1);
  auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(room.data());  // NOLINT: it ends with the name
  info->ReplaceIfExists = TRUE;
  info->FileNameLength = static_cast<DWORD>(name.size() * sizeof(wchar_t));
  std::memcpy(info->FileName, name.data(), info->FileNameLength);
  const auto size = static_cast<DWORD>(room.size() * sizeof room[0]);
  if (!SetFileInformationByHandle(file, FileRenameInfo, info, size)) return GetLastError();
  FlushFileBuffers(file);  // the new name too
  return ERROR_SUCCESS;
}

void DeleteHeld(HANDLE file) {
  FILE_DISPOSITION_INFO gone{};
  gone.DeleteFile = TRUE;
  SetFileInformationByHandle(file, FileDispositionInfo, &gone, sizeof gone);
}

class WindowsReplacement final : public Replacement {
 public:
  WindowsReplacement(Path target, Path temporary, Handle held)
      : target_(std::move(target)), temporary_(std::move(temporary)), held_(std::move(held)) {}
  ~WindowsReplacement() override {
    if (held_.valid()) DeleteHeld(held_.get());
  }

  Status Commit(std::string_view content) override {
    const Handle held = std::exchange(held_, Handle());
    if (!held.valid()) return WrittenAlready();
    DWORD cause = WriteAll(held.get(), content);
    if (cause == ERROR_SUCCESS) cause = RenameHeld(held.get(), target_);
    if (cause == ERROR_SUCCESS) return Ok();
    DeleteHeld(held.get());
    return Failure(target_, "could not be written", cause);
  }

  Status Adopt() override {
    const Handle held = std::exchange(held_, Handle());
    if (!held.valid()) return WrittenAlready();
    DWORD cause = FlushFileBuffers(held.get()) ? ERROR_SUCCESS : GetLastError();
    if (cause == ERROR_SUCCESS) cause = RenameHeld(held.get(), target_);
    if (cause == ERROR_SUCCESS) return Ok();
    return Failure(temporary_, "could not become " + target_.string(), cause);
  }

 private:
  Error WrittenAlready() const { return {ErrorCode::kInvalid, target_.string() + " was written already"}; }

  Path target_;
  Path temporary_;
  Handle held_;
};

}  // namespace

bool WindowsFiles::Exists(const Path& path) const {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

Result<std::string> WindowsFiles::Read(const Path& path, std::size_t limit) const {
  const DWORD facts = GetFileAttributesW(path.c_str());
  if (facts != INVALID_FILE_ATTRIBUTES && (facts & FILE_ATTRIBUTE_DIRECTORY) != 0)
    return Error{ErrorCode::kIo, path.string() + " cannot be read: it is a folder"};
  const Handle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, 0, nullptr));
  if (!file.valid()) return Failure(path, "cannot be read", GetLastError());
  if (GetFileType(file.get()) != FILE_TYPE_DISK)
    return Error{ErrorCode::kInvalid, path.string() + " is no ordinary file"};
  std::string content;
  std::string chunk(64U << 10, '\0');
  while (true) {
    DWORD count = 0;
    if (!ReadFile(file.get(), chunk.data(), static_cast<DWORD>(chunk.size()), &count, nullptr))
      return Failure(path, "cannot be read", GetLastError());
    if (count == 0) return content;
    content.append(chunk, 0, count);
    if (content.size() > limit) return Error{ErrorCode::kInvalid, path.string() + " is too large"};
  }
}

Result<std::unique_ptr<Replacement>> WindowsFiles::BeginReplace(const Path& path, const Path& temporary, Stale stale) {
  Handle held(CreateFileW(temporary.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  const DWORD cause = GetLastError();  // also says whether the file was there
  const bool young = stale == Stale::kRespectYoung && cause == ERROR_ALREADY_EXISTS && IsYoung(held.get());
  if (young || (!held.valid() && cause == ERROR_SHARING_VIOLATION))
    return Error{ErrorCode::kBusy, temporary.string() + " is in use by another program"};
  if (!held.valid()) return Failure(temporary, "could not be made", cause);
  return std::unique_ptr<Replacement>(new WindowsReplacement(path, temporary, std::move(held)));
}

Status WindowsFiles::Write(const Path& path, std::string_view content) {
  Path temporary = path;
  temporary += ".new";
  auto replacement = BeginReplace(path, temporary, Stale::kTakeOver);
  if (!replacement) return replacement.error();
  return (*replacement)->Commit(content);
}

Status WindowsFiles::Rename(const Path& from, const Path& to) {
  if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return Ok();
  return Failure(from, "could not be renamed", GetLastError());
}

Status WindowsFiles::MakeFolder(const Path& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (error) return Error{ErrorCode::kIo, path.string() + " could not be made: " + error.message()};
  return Ok();
}

}  // namespace kvx::platform
