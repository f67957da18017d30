#include "cat/rig_link.h"

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

TEST(RigLink, OpensOnlyANumberedPortOfASelectedRig) {
  Station station("TS-2000");
  const int opens = station.port.opens;
  station.engine.link.OpenRigPort({.number = 0}, true);
  station.engine.link.OpenRigPort({.number = 3}, false);
  EXPECT_FALSE(station.engine.link.is_open());
  EXPECT_EQ(station.port.opens, opens);
  station.engine.link.OpenRigPort({.number = 3, .speed = 4800, .stop_bits = 2, .dtr = true}, true);
  EXPECT_EQ(station.port.opened, (platform::PortSettings{.number = 3, .speed = 4800, .stop_bits = 2, .dtr = true}));
  EXPECT_EQ(*station.console.Port, "open");
}

TEST(RigLink, AnAbsentDeviceIsReportedOnceTriedGentlyAndOpenSoonAfterItsReturn) {
  Station station("TS-2000");
  std::vector<std::string> notices;
  station.engine.link.on_notice = [&](const std::string& line) { notices.push_back(line); };
  station.port.absent = true;
  station.port.Lose();
  station.loop.RunFor(60s);
  EXPECT_LE(station.port.opens, 65) << "no busy retry";
  EXPECT_EQ(notices, (Log{"the device has gone", "COM1: no such device"}));
  EXPECT_EQ(*station.console.Port, "COM1: no such device");
  EXPECT_EQ(station.Send("XUSB"), SendOutcome::kClosed);
  station.port.absent = false;
  station.loop.RunFor(2s);
  EXPECT_TRUE(station.engine.link.is_open());
  EXPECT_EQ(*station.console.Port, "open");
  const int opens = station.port.opens;
  station.loop.RunFor(60s);
  EXPECT_EQ(station.port.opens, opens);
  station.port.absent = true;
  station.port.Lose();
  station.engine.link.CloseRigPort();
  station.loop.RunFor(60s);
  EXPECT_EQ(station.port.opens, opens) << "a port that was closed on purpose is left alone";
  EXPECT_EQ(station.loop.timers(), 0U);
}

// A serial server whose port is in use takes the connection, says so, and ends it.
TEST(RigLink, AServerThatEndsEveryConnectionIsToldOnceAndTriedLessAndLess) {
  for (const std::string rig : {"TS-2000", "FT-857"}) {
    Station station(rig);
    station.loop.RunFor(5s);
    std::vector<std::string> notices;
    int changes = 0;
    station.engine.link.on_notice = [&](const std::string& line) { notices.push_back(line); };
    const auto follow = station.console.Subscribe([&](Field field) { changes += field == Field::kPort; });
    station.port.takes_time = true;
    station.port.Lose("server: gone");
    const auto serve = [&](Duration time, bool ends) {
      const TimePoint end = station.loop.Now() + time;
      for (int seen = station.port.opens; station.loop.Now() < end; station.loop.RunFor(50ms)) {
        if (std::exchange(seen, station.port.opens) == station.port.opens) continue;
        station.port.Reach();
        if (ends) station.port.Arrive("Port already in use\r\n");
        if (ends) station.port.Lose("server: ended");
      }
    };
    const int opens = station.port.opens;
    serve(100s, true);
    EXPECT_EQ(notices, (Log{"server: gone", "server: ended", "server: ended (\"Port already in use\")"})) << rig;
    EXPECT_LE(changes, 4) << "not a lamp that blinks";
    EXPECT_LE(station.port.opens - opens, 20);
    EXPECT_GE(station.port.opens - opens, 12);
    serve(12s, false);
    EXPECT_EQ(*station.console.Port, "open");
    EXPECT_EQ(notices.back(), "The rig port is open again");
    EXPECT_EQ(notices.size(), 4U);
  }
}

TEST(RigLink, DiscardedInputNeverReachesTheParserUntilItsTicksArePast) {
  Station station("TS-2000");
  station.console.Polling.Set(false);
  station.Beat(1s);
  station.Arrive("FA000140");
  station.engine.link.Discard(2);
  std::string seen;
  station.engine.link.DisplayRCV = [&](std::string_view bytes) { seen += bytes; };
  for (int i = 0; i < 2; ++i) {
    station.Arrive("25000;FA00007000000;");
    EXPECT_EQ(std::exchange(seen, {}), "25000;FA00007000000;") << "the debug view shows it all the same";
    EXPECT_EQ(KhzText(*station.console.FreqDisp), "14000.00");
    station.loop.RunFor(1s);
  }
  station.Arrive("25000;");
  EXPECT_EQ(KhzText(*station.console.FreqDisp), "14000.00") << "the piece from before is gone as well";
  station.Arrive("FA00007030000;");
  EXPECT_EQ(KhzText(*station.console.FreqDisp), "7030.00");
}

TEST(RigLink, TakesNoCommandThatCouldNotLeaveWithinASecond) {
  Station station("TS-2000");
  station.port.unsent = 38400 / 10 + 1;
  EXPECT_EQ(station.Send("XUSB"), SendOutcome::kRefused);
  EXPECT_EQ(station.Written(), "");
  station.port.unsent = 20;
  EXPECT_EQ(station.Send("XUSB"), SendOutcome::kSent);
}

TEST(RigLink, LetsTheLastCommandOutBeforeAnotherPortIsOpened) {
  Station station("TS-2000");
  const auto reopen = [&](int number) {
    station.port.unsent = 5;
    station.engine.link.Retire(true);
    station.engine.link.OpenRigPort({.number = number, .speed = 9600}, true);
    station.loop.RunFor(100ms);
    EXPECT_NE(station.port.opened.number, number) << "not under a command that has not left yet";
  };
  reopen(2);
  station.port.unsent = 0;
  station.loop.RunFor(50ms);
  EXPECT_EQ(station.port.opened.number, 2);
  reopen(3);
  station.loop.RunFor(1s);
  EXPECT_EQ(station.port.opened.number, 3) << "a device that takes nothing any more is not waited for";
  reopen(4);
  station.port.Lose();
  station.loop.RunFor(2s);
  EXPECT_EQ(station.port.opened.number, 4) << "the old port went meanwhile";
  EXPECT_TRUE(station.engine.link.is_open());
}

// A rig whose replies have no name: what was asked before the interruption is answered no more.
TEST(RigLink, AQueryFromBeforeAnInterruptionIsForgotten) {
  Station station("FT-857");
  station.Send("XGETSMETER");
  station.port.Lose();
  station.loop.RunFor(400ms);
  ASSERT_TRUE(station.engine.link.is_open());
  station.Send("XGETFREQ");
  station.Arrive("01 40 25 37 02");
  EXPECT_EQ(station.Display(), "14025.37 CW");
  EXPECT_EQ(*station.console.SMeter, 0);
}

}  // namespace
}  // namespace kvx::cat
