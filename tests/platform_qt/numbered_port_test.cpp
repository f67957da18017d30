#include "platform/numbered_port.h"

#include <gtest/gtest.h>

#include "fakes/fake_serial_port.h"

namespace kvx {
namespace {

using platform::NumberedPort;
using platform::PortTable;

/// A port table that a test edits, and the fake devices made for it.
struct Bench {
  PortTable table;
  std::vector<std::string> made;
  NumberedPort port{[this] { return table; },
                    [this](const std::string& address) -> std::unique_ptr<platform::SerialPort> {
                      if (address == "nonsense") return nullptr;
                      made.push_back(address);
                      return std::make_unique<FakeSerialPort>();
                    }};
  FakeSerialPort& device() { return static_cast<FakeSerialPort&>(*port.backend()); }
};

TEST(NumberedPort, OpensWhatTheTableSaysAtThatMoment) {
  Bench bench;
  EXPECT_EQ(bench.port.Open({.number = 0}).error().code, ErrorCode::kInvalid);
  bench.table.addresses = {{3, "sim:ts2000"}, {4, "nonsense"}};
  bench.port.Write("nowhere");
  ASSERT_TRUE(bench.port.Open({.number = 3, .speed = 4800, .dtr = true}).ok());
  EXPECT_EQ(bench.device().opened.speed, 4800);
  bench.port.Write("FA;");
  bench.port.SetRts(true);
  EXPECT_EQ(bench.device().written, "FA;");
  EXPECT_TRUE(bench.device().dtr && bench.device().rts);

  ASSERT_TRUE(bench.port.Open({.number = 3}).ok());
  EXPECT_EQ(bench.device().opens, 2) << "the same device was made anew";
  bench.table.addresses[3] = "tcp:shack:4001";
  ASSERT_TRUE(bench.port.Open({.number = 3}).ok());
  EXPECT_EQ(bench.port.address(), "tcp:shack:4001");
  EXPECT_EQ(bench.made, (std::vector<std::string>{"sim:ts2000", "tcp:shack:4001"}));

  const Status refused = bench.port.Open({.number = 4});
  EXPECT_EQ(refused.error().message, "COM4: \"nonsense\" in the port table is no kind of port");
  EXPECT_FALSE(bench.port.is_open());
  EXPECT_EQ(bench.port.Open({.number = 2}).ok(), true);
  EXPECT_EQ(bench.port.address(), "/dev/ttyS1");
}

TEST(NumberedPort, HandsEventsOnAndTakesAChangeFromInsideOne) {
  Bench bench;
  bench.table.addresses = {{1, "a"}, {2, "b"}};
  std::string events;
  bench.port.on_data = [&] { events += bench.port.Read(); };
  bench.port.on_lost = [&](const std::string&) {
    events += " lost ";
    bench.table.addresses[1] = "b";
    EXPECT_TRUE(bench.port.Open({.number = 1}).ok());
  };
  ASSERT_TRUE(bench.port.Open({.number = 1}).ok());
  FakeSerialPort& old = bench.device();
  old.Arrive("x");
  old.Lose();
  EXPECT_EQ(bench.port.address(), "b");
  EXPECT_TRUE(bench.port.is_open());
  bench.device().Arrive("y");
  old.Lose();  // a late event of the device that was left
  EXPECT_EQ(events, "x lost y");
}

}  // namespace
}  // namespace kvx
