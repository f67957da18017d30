#include "far_end.h"

#include <asm/termbits.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>

namespace kvx {
namespace {

constexpr int kFlags = O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;

}  // namespace

FarEnd::FarEnd() : descriptor_(::posix_openpt(kFlags)) {
  ::unlockpt(descriptor_.get());
  device_ = ::ptsname(descriptor_.get());
}

FarEnd::FarEnd(const std::string& path) : descriptor_(::open(path.c_str(), kFlags)), device_(path) {}

void FarEnd::Write(std::string_view bytes) {
  if (::write(descriptor_.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) ::abort();
}

std::string FarEnd::Read() {
  std::string all;
  std::array<char, 4096> piece;
  for (ssize_t size; (size = ::read(descriptor_.get(), piece.data(), piece.size())) > 0;) {
    all.append(piece.data(), static_cast<std::size_t>(size));
  }
  return all;
}

FarEnd::Line FarEnd::line() const {
  termios2 modes{};
  if (::ioctl(descriptor_.get(), TCGETS2, &modes) != 0) return {};
  return {modes.c_ospeed, (modes.c_cflag & CSTOPB) != 0,
          (modes.c_cflag & CSIZE) == CS8 && (modes.c_cflag & PARENB) == 0,
          (modes.c_iflag & (ICRNL | INLCR | IGNCR | ISTRIP | IXON | IXOFF)) == 0 && (modes.c_oflag & OPOST) == 0 &&
              (modes.c_lflag & (ECHO | ICANON | ISIG)) == 0};
}

std::string AllBytes() {
  std::string bytes;
  for (int value = 0; value < 256; ++value) bytes += static_cast<char>(value);
  return bytes + "\r\n\x11\x13\x03\x04\xff\xff";
}

}  // namespace kvx
