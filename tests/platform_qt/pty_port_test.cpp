#include "platform/qt/pty_port.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include <filesystem>

#include "event_loop.h"
#include "fakes/temporary_folder.h"
#include "far_end.h"

namespace kvx {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using platform::PtyPort;

TEST(PtyPort, OtherProgramsComeAndGoAtItsLink) {
  TemporaryFolder folder;
  PtyPort port(folder / "logger");
  std::string received;
  int lost = 0;
  port.on_data = [&] { received += port.Read(); };
  port.on_lost = [&](const std::string&) { ++lost; };
  ASSERT_TRUE(port.Open({}).ok());
  EXPECT_EQ(fs::read_symlink(folder / "logger"), port.slave_path());
  for (int visit = 0; visit < 10; ++visit) {
    FarEnd program(folder / "logger");
    received.clear();
    EXPECT_TRUE(visit % 2 == 0 || port.Open({}).ok()) << "opened anew under the program";
    program.Write(AllBytes());
    ASSERT_TRUE(WaitFor([&] { return received.size() >= AllBytes().size(); })) << visit;
    EXPECT_EQ(received, AllBytes());
    port.Write(AllBytes());
    std::string answer;
    ASSERT_TRUE(WaitFor([&] { return (answer += program.Read()).size() >= AllBytes().size(); })) << visit;
    EXPECT_EQ(answer, AllBytes());
  }
  EXPECT_LE(WakeUpsIn(200ms), kFewWakeUps);
  EXPECT_EQ(lost, 0);
  EXPECT_TRUE(port.is_open());
}

TEST(PtyPort, WhatAProgramHasWrittenIsToldBeforeItsEnd) {
  TemporaryFolder folder;
  PtyPort port(folder / "logger");
  std::string story;
  port.on_data = [&] { story += port.Read(); };
  port.on_visit_ended = [&] { story += '>'; };
  ASSERT_TRUE(port.Open({}).ok());
  for (int visit = 0; visit < 200; ++visit) {
    story.clear();
    FarEnd(folder / "logger").Write("TX;");
    ASSERT_TRUE(WaitFor([&] { return story.ends_with('>'); })) << visit;
    EXPECT_EQ(story, "TX;>");
  }
}

TEST(PtyPort, AProgramThatCrashedIsNotLockedOut) {
  PtyPort port("");
  ASSERT_TRUE(port.Open({}).ok());
  const FarEnd look(port.slave_path());
  const auto exclusive = [&] {
    int on = -1;
    EXPECT_EQ(::ioctl(look.descriptor(), TIOCGEXCL, &on), 0);
    return on == 1;
  };
  OtherProcess logger([&] {
    const int descriptor = ::open(port.slave_path().c_str(), O_RDWR | O_NOCTTY);
    ::ioctl(descriptor, TIOCEXCL);
  });
  EXPECT_TRUE(exclusive());
  logger.Kill();
  EXPECT_TRUE(WaitFor([&] { return !exclusive(); }));
}

TEST(PtyPort, TheLinkReplacesOnlyALeftOverAndGoesWithThePort) {
  TemporaryFolder folder;
  const std::string link = folder / "port";
  fs::create_symlink("/nowhere/at/all", link);
  {
    PtyPort port(link);
    ASSERT_TRUE(port.Open({}).ok());
    EXPECT_EQ(fs::read_symlink(link), port.slave_path());
    port.Close();
    EXPECT_FALSE(fs::is_symlink(link));
    ASSERT_TRUE(port.Open({}).ok());
  }
  EXPECT_FALSE(fs::is_symlink(link)) << "left behind by the destructor";

  fs::create_symlink("/dev/pts/0", link);
  PtyPort first(link);
  ASSERT_TRUE(first.Open({}).ok());
  PtyPort second(link);
  ASSERT_TRUE(second.Open({}).ok());
  first.Close();
  EXPECT_EQ(fs::read_symlink(link), second.slave_path()) << "another port's link was removed";

  folder.Put("notes", "mine");
  fs::create_symlink(folder / "notes", folder / "to-notes");
  for (const std::string name : {"notes", "to-notes", "no-folder/port"}) {
    const std::string taken = folder / name;
    PtyPort port(taken);
    const Status refused = port.Open({});
    ASSERT_FALSE(refused.ok()) << taken;
    EXPECT_TRUE(refused.error().message.starts_with(taken)) << refused.error().message;
    EXPECT_FALSE(port.is_open());
  }
  EXPECT_EQ(folder.Get("notes"), "mine");
  EXPECT_TRUE(fs::is_symlink(folder / "to-notes"));
}

TEST(PtyPort, WhatNobodyReadsIsBoundedAndStaysInOrder) {
  PtyPort port("");
  ASSERT_TRUE(port.Open({}).ok());
  std::string sent;
  for (int i = 0; i < 100'000; ++i) {
    const std::string line = "FA" + std::to_string(100'000 + i) + ";";
    sent += line;
    port.Write(line);
  }
  EXPECT_GT(port.bytes_unsent(), 0U);
  EXPECT_LE(port.bytes_unsent(), 64U << 10);
  EXPECT_LE(WakeUpsIn(200ms), kFewWakeUps);
  FarEnd program(port.slave_path());
  std::string read;
  EXPECT_TRUE(WaitFor([&] {
    const std::string piece = program.Read();
    read += piece;
    return piece.empty() && port.bytes_unsent() == 0;
  }));
  EXPECT_GT(read.size(), 64U << 10);
  EXPECT_TRUE(sent.starts_with(read)) << "bytes were lost in the middle";
}

}  // namespace
}  // namespace kvx
