#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <thread>
#include <vector>

#include "event_loop.h"
#include "fakes/temporary_folder.h"
#include "far_end.h"
#include "platform/posix/station_lock.h"
#include "platform/qt/standard_input.h"
#include "platform/qt/stop_signals.h"

namespace kvx {
namespace {

using namespace std::chrono_literals;
using platform::Descriptor;
using platform::StandardInput;
using platform::StationLock;
using platform::StopSignals;

TEST(StationLock, OneConsoleAStationAndACrashLeavesNoLock) {
  TemporaryFolder folder;
  const std::string station = folder / "new/station";
  {
    OtherProcess console([&] { static const auto held = StationLock::Take(station); });
    const auto refused = StationLock::Take(station);
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.error().code, ErrorCode::kBusy);
    EXPECT_EQ(refused.error().message,
              "The station " + station + " is in use by platform_qt_test, process " + console.id());
  }
  auto held = StationLock::Take(station);
  ASSERT_TRUE(held.ok()) << held.error().message;
  {
    const StationLock moved = std::move(*held);
    EXPECT_EQ(StationLock::Take(station).error().code, ErrorCode::kBusy);
  }
  EXPECT_TRUE(StationLock::Take(station).ok());
  folder.Put("file", "no folder");
  EXPECT_FALSE(StationLock::Take(folder / "file").ok());
}

/// Reads a descriptor to its end.
struct Reader {
  explicit Reader(int descriptor) : input(descriptor) {
    input.on_line = [this](const std::string& line) { lines.push_back(line); };
    input.on_overlong = [this] { lines.push_back("<overlong>"); };
    input.on_end = [this] { ++ends; };
    input.Start();
  }
  StandardInput input;
  std::vector<std::string> lines;
  int ends = 0;
};

TEST(StandardInput, ReadsPipesFilesAndNothingToTheirEnd) {
  const std::string text = "status\r\n\nfreq 14025\n" + std::string(StandardInput::kLongestLine + 1, 'x') + "\n" +
                           std::string(StandardInput::kLongestLine, 'y') + "\nlast";
  const std::vector<std::string> expected{
      "status", "", "freq 14025", "<overlong>", std::string(StandardInput::kLongestLine, 'y'), "last"};
  TemporaryFolder folder;
  folder.Put("commands", text);
  const Descriptor file(::open((folder / "commands").c_str(), O_RDONLY));
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const Descriptor pipe(ends[0]);
  std::thread writer([&] {
    const Descriptor end(ends[1]);
    EXPECT_EQ(::write(end.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  });
  for (const int descriptor : {file.get(), pipe.get()}) {
    Reader reader(descriptor);
    EXPECT_TRUE(reader.lines.empty()) << "an event from inside Start";
    EXPECT_TRUE(WaitFor([&] { return reader.ends > 0; }));
    EXPECT_EQ(reader.lines, expected);
    EXPECT_LE(WakeUpsIn(100ms), kFewWakeUps);
    EXPECT_EQ(reader.ends, 1);
  }
  writer.join();

  const Descriptor nothing(::open("/dev/null", O_RDONLY));
  Reader reader(nothing.get());
  EXPECT_LE(WakeUpsIn(100ms), kFewWakeUps);
  EXPECT_EQ(reader.ends, 1);
  EXPECT_TRUE(reader.lines.empty());
}

TEST(StandardInput, ReadsATerminalLineByLineAndMayEndInAHandler) {
  FarEnd person;
  FarEnd terminal(person.device());
  auto reader = std::make_unique<Reader>(terminal.descriptor());
  person.Write("status\nstat");
  ASSERT_TRUE(WaitFor([&] { return reader->lines.size() == 1; }));
  EXPECT_LE(WakeUpsIn(100ms), kFewWakeUps);
  person.Write("us\n\x04");
  ASSERT_TRUE(WaitFor([&] { return reader->ends == 1; }));
  EXPECT_EQ(reader->lines, (std::vector<std::string>{"status", "status"}));

  reader = std::make_unique<Reader>(terminal.descriptor());
  reader->input.on_line = [&](const std::string&) { reader.reset(); };
  person.Write("quit\nmore\n");
  EXPECT_TRUE(WaitFor([&] { return reader == nullptr; }));
}

TEST(StopSignals, EachAsksOnceForTheEndAndNoneKills) {
  for (const int first : {SIGTERM, SIGINT, SIGHUP}) {
    StopSignals stop;
    std::vector<int> seen;
    stop.on_stop = [&](int signal) { seen.push_back(signal); };
    ::raise(first);
    ::raise(SIGTERM);
    ::raise(SIGINT);
    ::raise(SIGPIPE);
    EXPECT_TRUE(seen.empty());
    EXPECT_LE(WakeUpsIn(50ms), kFewWakeUps);
    ::raise(SIGINT);
    WakeUpsIn(20ms);
    EXPECT_EQ(seen, std::vector<int>{first});
  }
}

}  // namespace
}  // namespace kvx
