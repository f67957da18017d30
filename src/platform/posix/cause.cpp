#include "platform/posix/cause.h"

#include <cerrno>
#include <cstring>

namespace kvx::platform {

ErrorCode CodeOf(int cause) {
  switch (cause) {
    case ENOENT:
      return ErrorCode::kNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
      return ErrorCode::kDenied;
    case EWOULDBLOCK:
    case EBUSY:
      return ErrorCode::kBusy;
    default:
      return ErrorCode::kIo;
  }
}

Error CauseError(const std::string& what, int cause) {
  return {CodeOf(cause), what + ": " + std::strerror(cause)};
}

}  // namespace kvx::platform
