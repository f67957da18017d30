#include "platform/windows/cause.h"

#include <windows.h>

#include <array>
#include <filesystem>
#include <string_view>

namespace kvx::platform {
namespace {

ErrorCode CodeOf(DWORD cause) {
  switch (cause) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return ErrorCode::kNotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
      return ErrorCode::kDenied;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return ErrorCode::kBusy;
    default:
      return ErrorCode::kIo;
  }
}

}  // namespace

Error CauseError(const std::string& what, std::uint32_t cause) {
  std::array<wchar_t, 256> words{};
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, cause, 0,
                                      words.data(), words.size(), nullptr);
  std::wstring_view sentence(words.data(), length);
  sentence = sentence.substr(0, sentence.find_last_not_of(L"\r\n. ") + 1);
  // A path turns the system's characters into UTF-8.
  const std::string text =
      sentence.empty() ? "error " + std::to_string(cause) : std::filesystem::path(sentence).string();
  return {CodeOf(cause), what + ": " + text};
}

}  // namespace kvx::platform
