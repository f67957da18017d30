#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdarg.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "event_loop.h"
#include "fakes/temporary_folder.h"
#include "far_end.h"
#include "platform/qt/qt_serial_device.h"

namespace {

/// The modem lines that a pseudo-terminal lacks: what the requests below act on while a test watches.
struct ModemLines {
  bool watched = false;
  int raised = 0;
  std::vector<unsigned long> requests;
};
ModemLines g_lines;

}  // namespace

/// Stands in for the system's call in the whole program, its libraries included.
extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const bool lines = request == TIOCMBIS || request == TIOCMBIC || request == TIOCMSET || request == TIOCMGET;
  if (!g_lines.watched || (!lines && request != TIOCEXCL)) {
    return static_cast<int>(::syscall(SYS_ioctl, descriptor, request, argument));
  }
  g_lines.requests.push_back(request);
  int* const value = static_cast<int*>(argument);
  if (request == TIOCMBIS) g_lines.raised |= *value;
  if (request == TIOCMBIC) g_lines.raised &= ~*value;
  if (request == TIOCMSET) g_lines.raised = *value;
  if (request == TIOCMGET) *value = g_lines.raised;
  // Exclusive mode is what the serial library asks for after its own opening, at which the system raised both lines.
  if (request == TIOCEXCL) g_lines.raised = TIOCM_DTR | TIOCM_RTS;
  return 0;
}

namespace kvx {
namespace {

using namespace std::chrono_literals;
using platform::PortSettings;
using platform::QtSerialDevice;

/// A port on a pseudo-terminal with counters on its events.
struct Bench {
  explicit Bench(const std::string& path) : port(path) {
    port.on_data = [this] { received += port.Read(); };
    port.on_lost = [this](const std::string& why) {
      reasons.push_back(why);
      closed_by_then = !port.is_open();
    };
  }
  QtSerialDevice port;
  std::string received;
  std::vector<std::string> reasons;
  bool closed_by_then = false;
};

TEST(SerialDevice, EveryByteValuePassesBothWays) {
  FarEnd rig;
  TemporaryFolder folder;
  std::filesystem::create_symlink(rig.device(), folder / "by-id");
  Bench bench(folder / "by-id");
  ASSERT_TRUE(bench.port.Open({}).ok());
  rig.Write(AllBytes());
  bench.port.Write(AllBytes());
  EXPECT_TRUE(WaitFor([&] { return bench.received.size() >= AllBytes().size(); }));
  EXPECT_EQ(bench.received, AllBytes());
  EXPECT_EQ(rig.Read(), AllBytes());
}

TEST(SerialDevice, TheLineIsSetAsAsked) {
  FarEnd rig;
  QtSerialDevice port(rig.device());
  for (const int speed : {1200, 2400, 4800, 9600, 14400, 19200, 38400, 56000, 57600, 115200}) {
    for (const int stop_bits : {1, 2}) {
      const Status opened = port.Open({.number = 1, .speed = speed, .stop_bits = stop_bits});
      ASSERT_TRUE(opened.ok()) << speed << ": " << opened.error().message;
      const FarEnd::Line line = rig.line();
      EXPECT_EQ(line.speed, static_cast<unsigned>(speed));
      EXPECT_EQ(line.two_stop_bits, stop_bits == 2) << speed;
      EXPECT_TRUE(line.eight_bits && line.clean) << speed;
    }
  }
}

TEST(SerialDevice, ModemLinesStandAsAskedAtOnceAndFallAtTheEnd) {
  FarEnd rig;
  QtSerialDevice port(rig.device());
  for (const bool dtr : {false, true}) {
    for (const bool rts : {false, true}) {
      g_lines = {.watched = true, .raised = TIOCM_DTR | TIOCM_RTS, .requests = {}};
      ASSERT_TRUE(port.Open({.number = 1, .dtr = dtr, .rts = rts}).ok());
      EXPECT_EQ(g_lines.raised, (dtr ? TIOCM_DTR : 0) | (rts ? TIOCM_RTS : 0));
      ASSERT_FALSE(g_lines.requests.empty());
      EXPECT_NE(g_lines.requests.front(), static_cast<unsigned long>(TIOCEXCL)) << "not set before the second opening";
      EXPECT_EQ(std::count(g_lines.requests.begin(), g_lines.requests.end(), TIOCEXCL), 1) << "the library changed";
      port.SetDtr(!dtr);
      port.SetRts(true);
      EXPECT_EQ(g_lines.raised, (dtr ? 0 : TIOCM_DTR) | TIOCM_RTS);
      port.Close();
      EXPECT_EQ(g_lines.raised, 0);
    }
  }
  g_lines = {};
}

TEST(SerialDevice, ADeviceThatGoesIsReportedOnceWithoutAStormAndComesBackUnderItsLink) {
  const TemporaryFolder folder;
  const std::string link = folder / "rig";
  Bench bench(link);
  for (int round = 0; round < 5; ++round) {
    FarEnd rig;
    std::filesystem::remove(link);
    std::filesystem::create_symlink(rig.device(), link);
    bench.reasons.clear();
    bench.received.clear();
    ASSERT_TRUE(bench.port.Open({}).ok()) << round;
    rig.Write("IF");
    ASSERT_TRUE(WaitFor([&] { return bench.received == "IF"; })) << round;
    rig.HangUp();
    EXPECT_LE(WakeUpsIn(100ms), kFewWakeUps);
    ASSERT_EQ(bench.reasons.size(), 1U);
    EXPECT_NE(bench.reasons[0].find(link), std::string::npos) << bench.reasons[0];
    EXPECT_TRUE(bench.closed_by_then);
    EXPECT_FALSE(bench.port.is_open());
  }
}

TEST(SerialDevice, HandlersMayReopenOrDestroyThePort) {
  FarEnd rig;
  auto bench = std::make_unique<Bench>(rig.device());
  ASSERT_TRUE(bench->port.Open({}).ok());
  int reopened = 0;
  bench->port.on_data = [&] {
    bench->port.Read();
    if (bench->port.Open({}).ok()) ++reopened;
  };
  rig.Write("A");
  ASSERT_TRUE(WaitFor([&] { return reopened == 1; }));
  bench->port.on_data = [&] { bench.reset(); };
  rig.Write("B");
  ASSERT_TRUE(WaitFor([&] { return bench == nullptr; }));

  bench = std::make_unique<Bench>(rig.device());
  ASSERT_TRUE(bench->port.Open({}).ok());
  bench->port.on_lost = [&](const std::string&) { bench.reset(); };
  rig.HangUp();
  EXPECT_TRUE(WaitFor([&] { return bench == nullptr; }));
}

TEST(SerialDevice, ADeviceInUseIsRefusedAndItsUserNamed) {
  FarEnd rig;
  const auto take = [&](int how) {
    const int descriptor = ::open(rig.device().c_str(), O_RDWR | O_NOCTTY);
    if (how == LOCK_EX) ::flock(descriptor, LOCK_EX);
    if (how != LOCK_EX) ::ioctl(descriptor, TIOCEXCL);
  };
  std::string name;
  std::getline(std::ifstream("/proc/self/comm"), name);
  for (const int how : {LOCK_EX, 0}) {
    OtherProcess other([&] { take(how); });
    QtSerialDevice port(rig.device());
    const Status refused = port.Open({});
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.error().code, ErrorCode::kBusy);
    EXPECT_EQ(refused.error().message,
              rig.device() + ": in use by another program (" + name + ", process " + other.id() + ")");
    EXPECT_FALSE(port.is_open());
    other.Kill();
    if (how != LOCK_EX && ::geteuid() != 0) return;  // the system itself keeps others out then
    EXPECT_TRUE(port.Open({}).ok()) << "a crash left the device locked";
  }
}

TEST(DeviceUser, IsRememberedWhileItHasTheDeviceAndLookedForNowAndThenWhenUnseen) {
  const TemporaryFolder folder;
  folder.Put("device", "");
  const std::string path = std::filesystem::canonical(folder / "device");
  TimePoint now{};
  platform::DeviceUser user([&] { return now; });
  const auto open = [&] { ::open(path.c_str(), O_RDWR); };
  const auto names = [&](const OtherProcess& process) {
    return user.InUseBy(path).find("process " + process.id() + ")") != std::string::npos;
  };
  EXPECT_EQ(user.InUseBy(path), "in use by another program");
  OtherProcess first(open);
  now += 9s;
  EXPECT_FALSE(names(first)) << "every process looked through again";
  EXPECT_TRUE(user.IsAnother(path)) << "what is decided by it is looked up";
  EXPECT_TRUE(names(first));
  OtherProcess second(open);
  EXPECT_TRUE(names(first)) << "it still has the device";
  first.Kill();
  EXPECT_TRUE(names(second)) << "the one before has gone";
  second.Kill();
  EXPECT_EQ(user.InUseBy(path), "in use by another program");
  OtherProcess third(open);
  now += 10s;
  EXPECT_TRUE(names(third));
  EXPECT_EQ(user.InUseBy(path + "2"), "in use by another program") << "another device";
}

TEST(SerialDevice, IsFreeAgainAfterACrashAndRefusedToASecondPort) {
  FarEnd rig;
  {
    OtherProcess console([&] { EXPECT_TRUE((new QtSerialDevice(rig.device()))->Open({}).ok()); });
    EXPECT_EQ(QtSerialDevice(rig.device()).Open({}).error().code, ErrorCode::kBusy);
  }
  QtSerialDevice first(rig.device());
  QtSerialDevice second(rig.device());
  ASSERT_TRUE(first.Open({}).ok()) << "a crash left the device locked";
  EXPECT_EQ(second.Open({}).error().message, rig.device() + ": in use already by this program");
  first.Close();
  EXPECT_TRUE(second.Open({}).ok());
}

TEST(SerialDevice, WhatIsNoSerialDeviceIsRefused) {
  TemporaryFolder folder;
  ::mkfifo((folder / "fifo").c_str(), 0600);
  const std::pair<std::string, ErrorCode> cases[] = {{"/dev/no-such-device", ErrorCode::kNotFound},
                                                     {"/dev/null", ErrorCode::kInvalid},
                                                     {"/tmp", ErrorCode::kInvalid},
                                                     {folder / "fifo", ErrorCode::kInvalid}};
  for (const auto& [path, code] : cases) {
    const Status refused = QtSerialDevice(path).Open({});
    ASSERT_FALSE(refused.ok()) << path;
    EXPECT_EQ(refused.error().code, code) << refused.error().message;
    EXPECT_TRUE(refused.error().message.starts_with(path + ": ")) << refused.error().message;
  }
}

TEST(SerialDevice, ADeviceThatTakesNothingNeitherFillsMemoryNorBlocksTheClosing) {
  FarEnd rig;
  Bench bench(rig.device());
  ASSERT_TRUE(bench.port.Open({}).ok());
  for (int i = 0; i < 1000; ++i) {
    bench.port.Write(std::string(1000, 'x'));
    if (i % 50 == 0) WakeUpsIn(1ms);
  }
  EXPECT_GT(bench.port.bytes_unsent(), 0U);
  EXPECT_LE(bench.port.bytes_unsent(), 128U << 10);
  EXPECT_LE(WakeUpsIn(200ms), kFewWakeUps);
  EXPECT_TRUE(bench.port.is_open()) << "a full device is no lost device";
  rig.Read();
  EXPECT_TRUE(WaitFor([&] { return rig.Read().empty() && bench.port.bytes_unsent() == 0; }))
      << bench.port.bytes_unsent();
  for (int i = 0; i < 100; ++i) bench.port.Write(std::string(1000, 'x'));
  WakeUpsIn(1ms);
  const auto start = std::chrono::steady_clock::now();
  bench.port.Close();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

}  // namespace
}  // namespace kvx
