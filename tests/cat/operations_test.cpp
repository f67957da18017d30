#include "cat/operations.h"

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

TEST(Operations, ModesByNameSendTheirKeysAndShowTheirCaption) {
  struct Row {
    std::string name, sent, caption;
    bool narrow;
  };
  Station station("FT-DX5000");
  for (const Row& row :
       {Row{"usb", "MD02;", "USB", false}, Row{"LSB", "MD01;", "LSB", false}, Row{" CW ", "MD03;", "  CW", false},
        Row{"CWN", "MD07;", "  CW", true}, Row{"CW", "MD07;", "  CW", true}, Row{"CWW", "MD03;", "  CW", false},
        Row{"FMN", "MD0B;", "  FM", true}, Row{"FMW", "MD04;", "  FM", false}, Row{"AM", "MD05;", "  AM", false},
        Row{"RTTY", "MD06;", "RTTY", false}}) {
    EXPECT_TRUE(station.engine.operations.SetModeByName(row.name).ok());
    EXPECT_EQ(station.Written(), row.sent) << row.name;
    EXPECT_EQ(*station.console.Mode, row.caption);
    EXPECT_EQ(*station.console.Xnarrow, row.narrow) << row.name;
  }
  EXPECT_EQ(station.engine.operations.SetModeByName("PSK").error().code, ErrorCode::kNotFound);
  EXPECT_EQ(station.Written(), "");
}

TEST(Operations, ChoosingAVfoSendsItsKeyAndReadsItsFrequency) {
  Station station("TS-2000");
  station.engine.operations.VFOB_Click();
  EXPECT_EQ(station.Written(), "FR1;FT1;FB;");
  station.Arrive("FB00007030000;");
  EXPECT_EQ(station.Display(), "7030.00 CW");
  station.engine.operations.TuneTo(*ParseKhz("7031"));
  EXPECT_EQ(station.Written(), "FB00007031000;");
  station.engine.operations.VFOA_Click();
  EXPECT_EQ(station.Written(), "FR0;FT0;FA;");
  station.Arrive("FB00007032000;FA00014025000;");
  EXPECT_EQ(station.Display(), "14025.00 CW");
  station.Arrive("IF000070310000000+0000000000031000000;");  // from before the switch
  EXPECT_EQ(station.Display(), "14025.00 CW");
}

TEST(Operations, TheOffsetLiesBetweenDisplayAndRigBothWays) {
  Station station("TS-2000");
  station.console.Offset.Set(*ParseKhz("116000"));
  station.engine.operations.TuneTo(*ParseKhz("28200.504"));
  EXPECT_EQ(station.Written(), "FA00144200500;");
  station.loop.RunFor(1s);
  station.Arrive("FA00144300009;");
  EXPECT_EQ(KhzText(*station.console.FreqDisp), "28300.00");
}

/// What the rig was telling when the operator's command left must not throw the display back.
TEST(Operations, ALateOldReportNeverMovesTheDisplayBack) {
  Station station("TS-2000");
  const auto report = [&](const std::string& hz, char mode, char vfo) {
    station.Arrive("IF" + hz + "0000+00000000000" + mode + vfo + "000000;");
  };
  report("00014025000", '3', '0');
  ASSERT_EQ(station.Display(), "14025.00 CW");
  station.engine.operations.TuneTo(*ParseKhz("14030"));
  station.engine.operations.SetUpper();
  for (int i = 0; i < 4; ++i) {
    station.loop.RunFor(100ms);
    report("00014025000", '3', '0');
    EXPECT_EQ(station.Display(), "14030.00 USB");
  }
  report("00014030000", '2', '0');
  report("00014030010", '2', '0');  // the command has been followed; now the knob turns at once
  EXPECT_EQ(station.Display(), "14030.01 USB");
  station.engine.operations.VFOB_Click();
  report("00014030010", '2', '0');
  EXPECT_EQ(*station.console.ActiveVfo, 'B');
  station.engine.operations.TuneTo(*ParseKhz("14040"));
  station.loop.RunFor(600ms);
  report("00014035000", '1', '0');  // the rig has not followed: what it says is true
  EXPECT_EQ(station.Display(), "14035.00 LSB");
  EXPECT_EQ(*station.console.ActiveVfo, 'A');
}

}  // namespace
}  // namespace kvx::cat
