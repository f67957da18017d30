#include "platform/posix/release_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/posix/release_stand_in.h"

namespace kvx::platform {
namespace {

/// Without the console's name: who ends that by a pattern ("pkill -9 kvx") must not end both in the same moment.
constexpr const char* kName = "tx-release";
/// Their course is a crash, or nothing.
constexpr std::array kDefaultSignals{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGCHLD, SIGCONT};
constexpr int kSocket = 3;
constexpr int kMostWaits = 100;  // of a millisecond

/// Leaves the program's terminal, its signals and everything that it has open: a device or a lock must not outlive it
/// here. Calls nothing that a child of a program with threads may not call.
bool LeaveProgram(int socket, char* name_room, std::size_t name_size) {
  for (int number = 1; number < NSIG; ++number) ::signal(number, SIG_IGN);
  for (const int number : kDefaultSignals) ::signal(number, SIG_DFL);
  sigset_t none;
  ::sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  ::setsid();
  if (::chdir("/") != 0) return false;
  const int null = ::open("/dev/null", O_RDWR);
  if (socket < kSocket || ::dup2(socket, kSocket) < 0) return false;
  for (int standard = 0; standard < kSocket; ++standard) ::dup2(null, standard);
  ::close_range(kSocket + 1, ~0U, 0);
  ::prctl(PR_SET_NAME, kName);
  ::prctl(PR_SET_DUMPABLE, 0);  // who looks for the program that has a device finds the console
  if (name_size > 0) {
    std::memset(name_room, 0, name_size);
    std::memcpy(name_room, kName, std::min(std::strlen(kName), name_size - 1));
  }
  return true;
}

}  // namespace

ReleaseProcess::ReleaseProcess(int argc, char** argv) {
  if (argc < 1) return;
  name_room_ = argv[0];
  char* end = argv[0];
  for (int i = 0; i < argc && argv[i] == end; ++i) end += std::strlen(argv[i]) + 1;  // they stand one behind the other
  name_size_ = static_cast<std::size_t>(end - name_room_);
}

ReleaseProcess::~ReleaseProcess() {
  socket_.Reset();  // that ends it
  for (int wait = 0; child_ > 0 && wait < kMostWaits && ::waitpid(child_, nullptr, WNOHANG) == 0; ++wait)
    ::poll(nullptr, 0, 1);
}

bool ReleaseProcess::Start() {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) != 0) return false;
  Descriptor ours(ends[0]);
  const Descriptor theirs(ends[1]);
  const pid_t program = ::getpid();
  sigset_t all;  // no handler of the program runs in its child
  sigset_t before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  child_ = ::fork();
  if (child_ == 0) {
    ::close(ours.get());  // or it would never see the end, on a system without close_range
    if (!LeaveProgram(theirs.get(), name_room_, name_size_)) ::_exit(1);
    StandIn(kSocket, program);
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  if (child_ < 0) return false;
  socket_ = std::move(ours);
  return true;
}

void ReleaseProcess::Kill() {
  if (child_ > 0) {  // before it sees the end of the socket: what it believes to be armed may have been released
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }
  child_ = 0;
  socket_.Reset();
}

}  // namespace kvx::platform
