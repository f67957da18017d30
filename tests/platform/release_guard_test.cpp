#include "platform/posix/release_guard.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace kvx::platform {
namespace {

constexpr std::array kCrashes{SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL};

/// Runs `use` with a guard in a process of its own: what its device got, and how it ended.
std::pair<std::string, int> WrittenBy(const std::function<void(PosixReleaseGuard&, int device)>& use) {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe(ends.data()), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    ::close(ends[0]);
    for (const int number : kCrashes) ::signal(number, SIG_DFL);  // a sanitizer has its own actions
    PosixReleaseGuard guard([&] { return ends[1]; });
    use(guard, ends[1]);
    ::_exit(9);  // without anything that happens at exit
  }
  ::close(ends[1]);
  std::string written;
  std::array<char, 64> piece{};
  for (ssize_t size = 0; (size = ::read(ends[0], piece.data(), piece.size())) > 0;)
    written.append(piece.data(), static_cast<std::size_t>(size));
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  return {written, status};
}

TEST(ReleaseGuard, ACrashAndAnExitWriteTheReleaseAndEndAsTheyWould) {
  for (const int number : kCrashes) {
    const auto [written, status] = WrittenBy([number](PosixReleaseGuard& guard, int) {
      guard.Arm(";RX;");
      ::raise(number);
    });
    EXPECT_EQ(written, ";RX;") << number;
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
  }
  const auto [at_abort, aborted] = WrittenBy([](PosixReleaseGuard& guard, int) {
    guard.Arm(";RX;");
    std::abort();
  });
  EXPECT_EQ(at_abort, ";RX;");
  EXPECT_TRUE(WIFSIGNALED(aborted) && WTERMSIG(aborted) == SIGABRT) << aborted;
  const auto [at_exit, ended] = WrittenBy([](PosixReleaseGuard& guard, int) {
    guard.Arm("first");
    guard.Arm(std::string("\0\0\0\0\x88", 5));
    std::exit(1);
  });
  EXPECT_EQ(at_exit, std::string("\0\0\0\0\x88", 5));
  EXPECT_TRUE(WIFEXITED(ended) && WEXITSTATUS(ended) == 1) << ended;
}

TEST(ReleaseGuard, SeveralReleaseEachItsOwnAndOnlyWhatIsArmed) {
  const auto [written, status] = WrittenBy([](PosixReleaseGuard& rig, int device) {
    PosixReleaseGuard keyer([=] { return device; });
    PosixReleaseGuard other([=] { return device; });
    rig.Arm(";RX;");
    keyer.Arm(std::string("\x0A\x0B\0", 3));
    other.Arm("never");
    other.Disarm();
    {
      PosixReleaseGuard gone([=] { return device; });
    }  // takes the handler away from nobody
    ::raise(SIGBUS);
  });
  EXPECT_EQ(written, std::string(";RX;\x0A\x0B\0", 7));
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGBUS) << status;
}

TEST(ReleaseGuard, WritesToNothingButTheDeviceThatIsKeyed) {
  const auto disarmed = WrittenBy([](PosixReleaseGuard& guard, int) {
    guard.Arm(";RX;");
    guard.Disarm();
    ::raise(SIGSEGV);
  });
  EXPECT_EQ(disarmed.first, "");
  // Its number now belongs to another file.
  const auto closed = WrittenBy([](PosixReleaseGuard& guard, int device) {
    guard.Arm(";RX;");
    const int other = ::open("/dev/full", O_WRONLY);
    ::dup2(other, device);
    ::raise(SIGSEGV);
  });
  EXPECT_EQ(closed.first, ";RX;");
  const auto child = WrittenBy([](PosixReleaseGuard& guard, int) {
    guard.Arm(";RX;");
    if (::fork() == 0) ::raise(SIGSEGV);
    int status = 0;
    ::wait(&status);
  });
  EXPECT_EQ(child.first, "") << "a child that crashes is not the console";
}

}  // namespace
}  // namespace kvx::platform
