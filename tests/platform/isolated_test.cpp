#include "platform/isolated.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

TEST(Isolated, GivesBackWhatTheWorkReturned) {
  std::string all;
  for (int i = 0; i < 300'000; ++i) all += static_cast<char>(i);
  const auto result = RunIsolated([&all] { return all; });
  ASSERT_TRUE(result.ok());
  EXPECT_EQ(*result, all);
  EXPECT_EQ(*RunIsolated([] { return std::string(); }), "");
}

TEST(Isolated, WorkThatCrashesLoopsOrSaysTooMuchIsAnError) {
  const auto crash = RunIsolated([] {
    raise(SIGSEGV);
    return std::string();
  });
  const auto abort = RunIsolated([]() -> std::string { std::abort(); });
  const auto leaves = RunIsolated([]() -> std::string { _exit(0); });
  const auto loops = RunIsolated(
      [] {
        while (true) pause();
        return std::string();
      },
      {.time = 100ms});
  const auto large = RunIsolated([] { return std::string(5000, 'x'); }, {.result_bytes = 1000});
  for (const auto* result : {&crash, &abort, &leaves, &loops, &large}) {
    ASSERT_FALSE(result->ok());
    EXPECT_EQ(result->error().code, ErrorCode::kDamaged);
  }
  EXPECT_EQ(abort.error().message, "it crashed (signal 6)");
  EXPECT_EQ(loops.error().message, "it took too long");
}

TEST(Isolated, WorkReachesNothingOfOurs) {
  signal(SIGSEGV, [](int) { _exit(0); });
  const auto result = RunIsolated([]() -> std::string {
    std::puts("noise");
    std::fprintf(stderr, "noise\n");
    int open = 0;
    for (int fd = 4; fd < 100; ++fd) open += fcntl(fd, F_GETFD) >= 0 ? 1 : 0;
    return std::to_string(open) + (std::getenv("PATH") == nullptr ? " bare" : " dressed") +
           (signal(SIGSEGV, SIG_DFL) == SIG_DFL ? " own" : " inherited");
  });
  signal(SIGSEGV, SIG_DFL);
  ASSERT_TRUE(result.ok());
  EXPECT_EQ(*result, "0 bare own");
}

}  // namespace
}  // namespace kvx::platform
