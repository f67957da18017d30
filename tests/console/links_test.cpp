#include "console/link_commands.h"
#include "console/status.h"
#include "console_fixture.h"
#include "fakes/fake_device_list.h"

namespace kvx::console {
namespace {

/// A started station with links to a logger and to DDE clients.
struct LinkBench {
  explicit LinkBench(const std::string& more) : bench(RigIni("TS-2000", 38400, more), "", true) {
    bench.Start(5s);
    bench.station.console.Polling.Set(false);
  }
  bool Says(const std::string& part) const { return StatusJson(bench.station).find(part) != std::string::npos; }

  Bench bench;
  FakeDeviceList devices;
  StationSetup setup{bench.loop, bench.station, bench.files, devices};
};

TEST(Links, TheirStateIsAFieldOfTheConsoleAndTheStatusTellsWhatWentOver) {
  LinkBench links("CWSKIMMER= 7\n");
  const Console& console = links.bench.station.console;
  EXPECT_EQ(*console.LoggerLink, "off COM7");
  EXPECT_EQ(*console.KeyerLink, "off, no port");
  ASSERT_TRUE(SwitchLogger(links.setup, true).ok());
  EXPECT_EQ(*console.LoggerLink, "on COM7");
  EXPECT_NE(links.bench.folder.Get("rig.ini").find("LOGGERLINK=True"), std::string::npos);
  links.bench.logger_port.Arrive("ID;");
  links.bench.logger_port.Arrive("FA;");
  EXPECT_TRUE(
      links.Says(R"("logger":{"asked":2,"refused":1,"last":"FA;","answer":"FA00014000000;","last_refused":"ID;")"));
  links.bench.logger_port.Lose();
  EXPECT_EQ(*console.LoggerLink, "on, COM7 is closed (the device has gone)");
  EXPECT_FALSE(SwitchLoggerKeyer(links.setup, true).ok());
  EXPECT_EQ(*console.MsgArea, "Please select a comm port for Winkeyin in the config menu.");
}

TEST(Links, AnotherDeviceBehindThePortOfALinkIsOpened) {
  LinkBench links("CWSKIMMER= 7\nLOGGERLINK=True\n");
  const int opens = links.bench.logger_port.opens;
  ASSERT_TRUE(links.setup.SetDevice(8, "pty:/tmp/elsewhere").ok());
  EXPECT_EQ(links.bench.logger_port.opens, opens);
  ASSERT_TRUE(links.setup.SetDevice(7, "pty:/tmp/logger").ok());
  EXPECT_EQ(links.bench.logger_port.opens, opens + 1);
  EXPECT_EQ(*links.bench.station.console.LoggerLink, "on COM7");
}

TEST(Links, TheKeyerOfASavedRigTakesTheirPortAndGivesItBack) {
  LinkBench links("CWSKIMMER= 7\nLOGGERLINK=True\nKEYERPORT=NONE\nKEYERPORT 2=COM7\nRIG 2=TS-2000\n");
  for (const auto& [slot, state] :
       {std::pair(2, "on, COM7 is closed (COM7 is the port of the keyer)"), std::pair(0, "on COM7")}) {
    ASSERT_TRUE(links.bench.station.xRig_Click(slot).ok());
    EXPECT_EQ(*links.bench.station.console.LoggerLink, state);
  }
}

TEST(Links, DdeIsShownAsItRunsAlsoWhereNoLineSaysSo) {
  LinkBench links("");
  EXPECT_EQ(*links.setup.Setting("DDESERVER"), "True");
  EXPECT_EQ(links.bench.folder.Get("rig.ini").find("DDESERVER"), std::string::npos);
  EXPECT_EQ(*links.bench.station.console.DdeBox, "");
  links.bench.dde.on_call({.type = platform::DdeType::kRequest, .item = "HRD_HERTZ"});
  EXPECT_EQ(*links.bench.station.console.DdeBox, "X01400000X");
  ASSERT_TRUE(links.setup.SetSetting("DDESERVER=", "off").ok());
  EXPECT_EQ(*links.bench.station.console.DdeBox, "") << "nobody is served";
  EXPECT_EQ(*links.setup.Setting("DDESERVER"), "False");
}

}  // namespace
}  // namespace kvx::console
