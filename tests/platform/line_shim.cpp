// Stands in for the ioctl of the system where modem lines and parallel ports are concerned, for a pseudo-terminal has
// no lines and the machine no such port. Linked into a test or preloaded into a program
// (LD_PRELOAD=libkvx_line_shim.so). Does nothing unless KVX_LINE_LOG names a file: to that it appends a line for each
// change that is asked for, beginning with the monotonic clock in nanoseconds:
//   123456789 DTR 1        123456789 RTS 0        123456789 CONTROL 0c 08   (mask, value)        123456789 DATA 41
//   123456789 CLAIM 1      123456789 CLAIM 0      (given back)
// As long as a file of that name with ".gone" behind it exists, every such request fails as for an unplugged device,
// and with ".hang" nothing reaches the disk, as on a network drive whose server has gone: who asks for that waits.

#include <errno.h>
#include <fcntl.h>
#include <linux/ppdev.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>

namespace {

std::array<std::atomic<int>, 1024> g_lines{};  // of each descriptor
std::atomic<unsigned char> g_data{0};

/// May be called from a signal handler.
void Record(const char* log, const char* what, int first, int second, const char* format) {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  std::array<char, 96> text{};
  int size =
      ::snprintf(text.data(), text.size(), "%lld%09ld %s ", static_cast<long long>(now.tv_sec), now.tv_nsec, what);
  size += ::snprintf(text.data() + size, text.size() - static_cast<std::size_t>(size), format, first, second);
  const int file = ::open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (::write(file, text.data(), static_cast<std::size_t>(size)) != size) ::abort();
  ::close(file);
}

int ChangeLines(const char* log, int descriptor, int lines, bool on) {
  if (on) g_lines[static_cast<std::size_t>(descriptor)] |= lines;
  if (!on) g_lines[static_cast<std::size_t>(descriptor)] &= ~lines;
  if ((lines & TIOCM_DTR) != 0) Record(log, "DTR", on ? 1 : 0, 0, "%d\n");
  if ((lines & TIOCM_RTS) != 0) Record(log, "RTS", on ? 1 : 0, 0, "%d\n");
  return 0;
}

int Play(const char* log, int descriptor, unsigned long request, void* argument) {
  switch (request) {
    case TIOCMGET:
      *static_cast<int*>(argument) = g_lines[static_cast<std::size_t>(descriptor)];
      return 0;
    case TIOCMBIS:
    case TIOCMBIC:
      return ChangeLines(log, descriptor, *static_cast<int*>(argument), request == TIOCMBIS);
    case PPCLAIM:
    case PPRELEASE:
      Record(log, "CLAIM", request == PPCLAIM ? 1 : 0, 0, "%d\n");
      return 0;
    case PPWDATA:
      g_data = *static_cast<unsigned char*>(argument);
      Record(log, "DATA", g_data, 0, "%02x\n");
      return 0;
    case PPRDATA:
      *static_cast<unsigned char*>(argument) = g_data;
      return 0;
    case PPFCONTROL: {
      const auto* control = static_cast<ppdev_frob_struct*>(argument);
      Record(log, "CONTROL", control->mask, control->val, "%02x %02x\n");
      return 0;
    }
    default:
      return 0;
  }
}

bool IsOurs(unsigned long request) {
  for (const unsigned long ours : std::initializer_list<unsigned long>{
           TIOCMGET, TIOCMBIS, TIOCMBIC, PPWDATA, PPRDATA, PPFCONTROL, PPCLAIM, PPRELEASE, PPNEGOT, PPDATADIR}) {
    if (request == ours) return true;
  }
  return false;
}

bool Exists(const char* log, const char* ending) {
  std::array<char, 512> name{};
  ::snprintf(name.data(), name.size(), "%s%s", log, ending);
  return ::access(name.data(), F_OK) == 0;
}

}  // namespace

extern "C" int fsync(int descriptor) {
  const char* log = ::getenv("KVX_LINE_LOG");
  while (log != nullptr && Exists(log, ".hang")) ::usleep(10'000);
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const char* log = ::getenv("KVX_LINE_LOG");
  if (log == nullptr || !IsOurs(request) || descriptor < 0 || descriptor >= static_cast<int>(g_lines.size())) {
    return static_cast<int>(::syscall(SYS_ioctl, descriptor, request, argument));
  }
  if (Exists(log, ".gone")) {
    errno = EIO;
    return -1;
  }
  return Play(log, descriptor, request, argument);
}
