#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <string>

#include "event_loop.h"
#include "platform/posix/descriptor.h"
#include "platform/qt/standard_output.h"

namespace kvx {
namespace {

using namespace std::chrono_literals;
using platform::Descriptor;
using platform::StandardOutput;

/// A pipe like the one of a program that reads our output. Its writing end blocks, as standard output does.
struct Pipe {
  Pipe() {
    ::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) ::abort();
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
    ::fcntl(reading.get(), F_SETFL, O_NONBLOCK);
  }
  /// What is there now.
  std::string Read() const {
    std::string all;
    std::array<char, 65536> chunk{};
    for (ssize_t size = 1; size > 0;) {
      size = ::read(reading.get(), chunk.data(), chunk.size());
      if (size > 0) all.append(chunk.data(), static_cast<std::size_t>(size));
    }
    return all;
  }
  Descriptor reading;
  Descriptor writing;
};

/// Numbered lines, all of one length.
std::string Line(int number) {
  const std::string digits = std::to_string(100'000 + number);
  return digits + std::string(993, 'x');
}

TEST(StandardOutput, AStalledReaderGetsTheFirstLinesInOrderWhenItResumes) {
  const Pipe pipe;
  StandardOutput output(pipe.writing.get());
  int written = 0;
  const auto write = [&](int count) {
    for (int i = 0; i < count; ++i) output.WriteLine(Line(written++));
  };
  write(3000);
  EXPECT_LE(WakeUpsIn(50ms), kFewWakeUps) << "it waits for the reader by trying";
  std::string read;
  const auto arrived = [&](std::size_t bytes) {
    return WaitFor([&] { return (read += pipe.Read()).size() >= bytes; });
  };
  EXPECT_TRUE(arrived(2'500'000));
  write(1000);  // behind a front that has been sent
  EXPECT_TRUE(arrived(4'000'000));
  std::string expected;
  for (int i = 0; i < written; ++i) expected += Line(i) + '\n';
  EXPECT_TRUE(read == expected) << read.size();

  read.clear();
  const int first = written;
  write(6000);
  EXPECT_TRUE(WaitFor([&] {
    const std::string more = pipe.Read();
    read += more;
    return read.size() > 4'000'000 && more.empty();
  }));
  EXPECT_LT(read.size(), 5'000'000U) << "more was kept than the limit";
  EXPECT_TRUE(read.ends_with('\n'));
  const std::string answer(StandardOutput::kMostWaiting + 1, 'a');
  output.WriteAnswer(answer);
  std::string answered;
  EXPECT_TRUE(WaitFor([&] { return (answered += pipe.Read()).size() > answer.size(); })) << "an answer always comes";
  EXPECT_TRUE(answered == answer + "\n");
  for (std::size_t i = 0; i * 1000 < read.size(); ++i) {
    ASSERT_EQ(read.substr(i * 1000, 999), Line(first + static_cast<int>(i)));
  }
  output.WriteLine("later");
  EXPECT_EQ(pipe.Read(), "later\n");
}

TEST(StandardOutput, NothingIsWaitedForOnceTheReaderHasGone) {
  Pipe pipe;
  StandardOutput output(pipe.writing.get());
  for (int i = 0; i < 1000; ++i) output.WriteLine(Line(i));
  pipe.reading.Reset();
  EXPECT_LE(WakeUpsIn(50ms), kFewWakeUps);
  output.WriteLine("x");
  const auto start = std::chrono::steady_clock::now();
  output.Flush();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
  EXPECT_LE(WakeUpsIn(50ms), kFewWakeUps);
}

TEST(StandardOutput, TheLastLinesReachASlowReaderAndAStalledOneIsLeft) {
  const Pipe pipe;
  StandardOutput output(pipe.writing.get());
  for (int i = 0; i < 100; ++i) output.WriteLine(Line(i));  // more than the pipe holds
  const auto start = std::chrono::steady_clock::now();
  output.Flush();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
  std::string read = pipe.Read();
  EXPECT_LT(read.size(), 100'000U);
  output.Flush();
  read += pipe.Read();
  EXPECT_EQ(read.size(), 100'000U);
}

}  // namespace
}  // namespace kvx
