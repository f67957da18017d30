#include "platform/posix/release_guard.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/posix/release_process.h"
#include "platform/posix/release_watch.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

const std::vector<int> kEnds{SIGSEGV, SIGBUS,  SIGABRT, SIGFPE,  SIGILL,    SIGTRAP,     SIGSYS,  SIGQUIT,
                             SIGINT,  SIGTERM, SIGHUP,  SIGALRM, SIGVTALRM, SIGPROF,     SIGXCPU, SIGXFSZ,
                             SIGPIPE, SIGIO,   SIGPWR,  SIGUSR1, SIGUSR2,   SIGRTMIN + 1};

/// Runs `use` with a guard in a process of its own: what its device got, and how it ended.
std::pair<std::string, int> WrittenBy(const std::function<void(PosixReleaseGuard&, int device)>& use) {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe(ends.data()), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    ::close(ends[0]);
    for (const int number : kEnds) ::signal(number, SIG_DFL);  // a sanitizer has its own actions
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
  for (const int number : kEnds) {
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

TEST(ReleaseGuard, ASignalThatIsIgnoredStaysSo) {
  const auto before = ::signal(SIGUSR1, SIG_IGN);
  {
    PosixReleaseGuard guard([] { return -1; });
    EXPECT_EQ(::raise(SIGUSR1), 0);
  }
  ::signal(SIGUSR1, before);
}

TEST(ReleaseGuard, OneThatIsDestroyedWhileTheTransmitterIsKeyedReleasesIt) {
  const auto [written, status] = WrittenBy([](PosixReleaseGuard&, int device) {
    PosixReleaseGuard keyer([=] { return device; });
    keyer.Arm(";RX;");
  });
  EXPECT_EQ(written, ";RX;");
  EXPECT_TRUE(WIFEXITED(status)) << status;
}

/// A program whose engine does nothing more: why the watch made a release within ten seconds.
std::string ReasonOf(ReleaseWatch& watch) {
  pollfd event{watch.event(), POLLIN, 0};
  return ::poll(&event, 1, 10'000) > 0 ? watch.Resume() : "none";
}

TEST(ReleaseWatch, ReleasesWhatIsDueWhileTheEngineHangs) {
  const auto [written, status] = WrittenBy([](PosixReleaseGuard& rig, int device) {
    ReleaseWatch watch;
    PosixReleaseGuard keyer([=] { return device; });
    rig.Arm("never ");
    rig.ReleaseAfter(0ms);
    rig.Disarm();
    rig.Arm("later ");
    rig.ReleaseAfter(1h);
    keyer.Arm("now ");
    keyer.ReleaseAfter(30ms);
    const std::string why = ReasonOf(watch);
    ::write(device, why.data(), why.size());
    ::_exit(CrashRelease::keying_ended() ? 1 : 0);
  });
  EXPECT_EQ(written, "now The transmitter was keyed for too long and has been released");
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(ReleaseWatch, ASleepOfTheComputerReleasesWhatWasKeyedBeforeIt) {
  const auto [written, status] = WrittenBy([](PosixReleaseGuard& rig, int device) {
    std::atomic<std::int64_t> asleep{5};
    std::atomic<int> looks{0};
    ReleaseWatch watch([&] {
      ++looks;
      return std::chrono::seconds(asleep);
    });
    asleep = 500;  // nothing is keyed
    rig.Arm(";RX;");
    for (const int before = looks; looks < before + 2;) ::poll(nullptr, 0, 10);
    ::write(device, "kept ", 5);
    asleep = 900;
    const std::string why = ReasonOf(watch);
    ::write(device, why.data(), why.size());
    ::_exit(0);
  });
  EXPECT_EQ(written,
            "kept ;RX;The computer has slept: what was being sent has been dropped and the transmitter released");
}

TEST(ReleaseWatch, AProgramThatATerminalStopsHasReleasedBefore) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::setpgid(0, 0);  // as a shell does: a group that somebody can continue
    ::signal(SIGTSTP, SIG_DFL);
    PosixReleaseGuard guard([&] { return ends[1]; });
    ReleaseWatch watch;
    guard.Arm(";RX;");
    ::raise(SIGTSTP);
    const std::string why = ReasonOf(watch);
    guard.Disarm();
    ::raise(SIGTSTP);  // and once more
    ::poll(nullptr, 0, 60'000);
    ::_exit(why.starts_with("The program was stopped") ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, WUNTRACED), child);
  EXPECT_TRUE(WIFSTOPPED(status)) << status;
  std::array<char, 64> piece{};
  ASSERT_EQ(::fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
  EXPECT_EQ(std::string(piece.data(), std::max<ssize_t>(::read(ends[0], piece.data(), piece.size()), 0)), ";RX;");
  ::kill(child, SIGCONT);
  ASSERT_EQ(::waitpid(child, &status, WUNTRACED), child);
  EXPECT_TRUE(WIFSTOPPED(status)) << status;
  ::kill(child, SIGKILL);
  ::waitpid(child, &status, 0);
  for (const int end : ends) ::close(end);
}

TEST(ReleaseWatch, ReleasesForAnEngineThatDoesNotHearThatItShallEnd) {
  const auto [written, status] = WrittenBy([](PosixReleaseGuard& rig, int device) {
    ReleaseWatch watch;
    rig.Arm("released ");
    CrashRelease::ExpectOrderlyEnd();
    CrashRelease::EndsInOrder();
    ::poll(nullptr, 0, 500);
    ::write(device, "heard ", 6);
    CrashRelease::ExpectOrderlyEnd();
    const std::string why = ReasonOf(watch);
    ::write(device, why.data(), why.size());
    ::_exit(0);
  });
  EXPECT_EQ(written, "heard released The program hung when it was asked to end: the transmitter has been released");
}

TEST(ReleaseProcess, GoesOnWithWhatADeviceDoesNotTakeInTime) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(ends[0]);
    ReleaseProcess process(0, nullptr);
    process.Start();
    ReleaseWatch watch(TimeAsleep, &process);
    PosixReleaseGuard guard([&] { return ends[1]; });
    while (::write(ends[1], "x", 1) > 0) continue;
    guard.Arm(";RX;");
  }
  if (child == 0) ::_exit(0);  // everything has ended in order
  ::close(ends[1]);
  int status = 0;
  ::waitpid(child, &status, 0);
  ::poll(nullptr, 0, 700);
  std::string written;
  std::array<char, 65536> piece{};
  ASSERT_EQ(::fcntl(ends[0], F_SETFL, 0), 0);
  for (ssize_t size = 0; (size = ::read(ends[0], piece.data(), piece.size())) > 0;)
    written.append(piece.data(), static_cast<std::size_t>(size));
  ::close(ends[0]);
  EXPECT_TRUE(written.ends_with("x;RX;")) << written.substr(written.size() - std::min<std::size_t>(written.size(), 9));
}

TEST(ReleaseProcess, ReleasesWhatIsArmedWhenTheProgramIsKilled) {
  const auto killed_with = [](const std::function<void(PosixReleaseGuard&, PosixReleaseGuard&)>& use) {
    return WrittenBy([&use](PosixReleaseGuard& rig, int device) {
             PosixReleaseGuard keyer([=] { return device; });
             rig.Arm("before ");  // it hears of this later
             ReleaseProcess process(0, nullptr);
             process.Start();
             ReleaseWatch watch(TimeAsleep, &process);
             use(rig, keyer);
             ::raise(SIGKILL);
           })
        .first;
  };
  EXPECT_EQ(killed_with([](auto& rig, auto& keyer) {
              rig.Arm(";RX;");
              keyer.Arm(std::string("\x0A\x0B\0", 3));
            }),
            std::string(";RX;\x0A\x0B\0", 7));
  EXPECT_EQ(killed_with([](auto& rig, auto& keyer) {
              keyer.Arm("never");
              keyer.Disarm();
              rig.Arm(";RX;");
            }),
            ";RX;");
  EXPECT_EQ(killed_with([](auto&, auto&) {}), "before ");
  EXPECT_EQ(killed_with([](auto& rig, auto&) { rig.Disarm(); }), "");
}

}  // namespace
}  // namespace kvx::platform
