#include "platform/tcp_server.h"

namespace kvx::platform {

bool IsLoopback(std::string_view address) {
  return address.starts_with("127.") || address == "::1";
}

}  // namespace kvx::platform
