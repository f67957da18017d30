#include <gtest/gtest.h>

#include "fakes/virtual_loop.h"
#include "sim/simulated_port.h"

namespace kvx::sim {
namespace {

using namespace std::chrono_literals;

platform::PortSettings Line(int speed, int stop_bits) {
  platform::PortSettings settings;
  settings.number = 3;
  settings.speed = speed;
  settings.stop_bits = stop_bits;
  return settings;
}

TEST(SimulatedPort, CarriesBytesAtThePaceOfTheLine) {
  struct Case {
    int speed;
    int stop_bits;
    Duration byte_time;
  };
  for (const Case& line : {Case{1000, 1, 10ms}, Case{1000, 2, 11ms}, Case{10'000, 1, 1ms}}) {
    VirtualLoop loop;
    SimulatedPort port("sim:ts2000", loop);
    ASSERT_TRUE(port.Open(Line(line.speed, line.stop_bits)).ok());
    int events = 0;
    port.on_data = [&events] { ++events; };
    port.Write("ID;");
    EXPECT_EQ(port.bytes_unsent(), 3u);
    loop.RunFor(3 * line.byte_time);
    EXPECT_EQ(port.bytes_unsent(), 0u);
    EXPECT_EQ(port.bytes_waiting(), 0u);
    loop.RunFor(5 * line.byte_time + line.byte_time / 2);
    EXPECT_EQ(port.bytes_waiting(), 5u);
    loop.RunFor(line.byte_time);
    EXPECT_EQ(port.Read(), "ID019;");
    EXPECT_EQ(events, 6);
    EXPECT_EQ(loop.timers(), 0u);
  }
}

TEST(SimulatedPort, NeverRaisesAnEventFromInsideACall) {
  VirtualLoop loop;
  SimulatedPort port("sim:ts2000", loop);
  ASSERT_TRUE(port.Open(Line(57600, 1)).ok());
  bool inside = false;
  std::string heard;
  port.on_data = [&] {
    EXPECT_FALSE(inside);
    heard += port.Read();
    // What a listener writes from its event goes out as well.
    if (heard == "PS1;") port.Write("ID;");
  };
  inside = true;
  port.Write("PS;");
  port.device()->Operate("knob 14100");
  inside = false;
  loop.RunFor(1s);
  EXPECT_EQ(heard, "PS1;ID019;");
}

TEST(SimulatedPort, TheRigStaysAsItIsWhileThePortIsClosed) {
  VirtualLoop loop;
  SimulatedPort port("sim:ts2000", loop);
  port.Write("FA00007000000;");
  loop.RunFor(1s);
  ASSERT_TRUE(port.Open(Line(9600, 1)).ok());
  port.Write("FA00014200000;AI2;");
  loop.RunFor(1s);
  port.Write("FA;FA;FA;");
  port.Close();
  port.device()->Operate("knob 14210");
  loop.RunFor(1s);
  EXPECT_FALSE(port.is_open());
  EXPECT_EQ(port.bytes_unsent(), 0u);
  ASSERT_TRUE(port.Open(Line(9600, 2)).ok());
  loop.RunFor(1s);
  EXPECT_EQ(port.Read(), "");
  port.Write("FA;");
  loop.RunFor(1s);
  EXPECT_EQ(port.Read(), "FA00014210000;");
}

TEST(SimulatedPort, NamesADeviceThatItDoesNotHave) {
  VirtualLoop loop;
  EXPECT_EQ(SimulatedPort("sim:ts9999", loop).Open(Line(9600, 1)).error().message,
            "sim:ts9999: there is no such simulated device.");
}

TEST(SimulatedPort, BuffersAreBoundedAndUnsentBytesCanBeDropped) {
  VirtualLoop loop;
  SimulatedPort port("sim:ts2000", loop);
  ASSERT_TRUE(port.Open(Line(57600, 1)).ok());
  for (int i = 0; i < 100; ++i) port.Write(std::string(10'000, ';'));
  EXPECT_EQ(port.bytes_unsent(), 65'536u);
  loop.RunFor(60s);
  EXPECT_LE(port.bytes_waiting(), 65'536u);
  port.Read();
  port.Write("ID;");
  port.DropUnsent();
  loop.RunFor(1s);
  EXPECT_EQ(port.Read(), "");
}

}  // namespace
}  // namespace kvx::sim
