#include "platform/tcp_server.h"

#include "core/text.h"

namespace kvx::platform {
namespace {

constexpr std::size_t kLongest = 45;  // of an IPv6 address

}  // namespace

bool IsAddress(std::string_view text) {
  if (text.find(':') != std::string_view::npos)
    return text.size() <= kLongest && text.find_first_not_of("0123456789abcdefABCDEF:.") == std::string_view::npos;
  int numbers = 0;
  while (true) {
    const std::size_t point = text.find('.');
    const std::string_view number = text.substr(0, point);
    if (number.size() > 3 || !ParseNumber(number, 0, 255)) return false;
    ++numbers;
    if (point == std::string_view::npos) return numbers == 4;
    text.remove_prefix(point + 1);
  }
}

bool IsLoopback(std::string_view address) {
  return address.starts_with("127.") || address == "::1";
}

}  // namespace kvx::platform
