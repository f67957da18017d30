#include "cat/band_operations.h"

#include "cat_fixture.h"

namespace kvx::cat {
namespace {

struct BandStation : Station {
  using Station::Station;
  /// "5332.00-5405.00"
  std::string Limits() const { return KhzText(*console.FromF) + "-" + KhzText(*console.ToF); }
  BandOperations::Memory memory;
  BandOperations bands{console, engine.dispatcher, engine.operations, memory};
};

TEST(BandOperations, AnEmptyMemoryBeginsWhereTheBandBegins) {
  struct Row {
    int band;
    std::string frequency, limits, reference;
  };
  BandStation station("TS-2000");
  for (const Row& row :
       {Row{60, "5302.00", "5332.00-5405.00", "5302.00"}, Row{12, "24880.00", "24890.00-24990.00", "24880.00"},
        Row{35, "902000.00", "902000.00-928000.00", "222000.00"},
        Row{2, "144000.00", "144000.00-148000.00", "144000.00"}}) {
    station.Written();
    ASSERT_TRUE(station.bands.PressBand(row.band));
    station.loop.RunFor(1s);
    EXPECT_EQ(station.Display(), row.frequency + " CW");
    EXPECT_EQ(station.Limits(), row.limits);
    EXPECT_EQ(KhzText(*station.console.Reference), row.reference);
    EXPECT_EQ(station.Written(), "MD3;FA" + PadNumber(station.console.FreqDisp->hz(), 11) + ";");
  }
  EXPECT_FALSE(station.bands.PressBand(23));
  EXPECT_FALSE(station.bands.PressBand(11));
}

TEST(BandOperations, TheMemoryOfABandIsRecalledAndFollowsTheRig) {
  BandStation station("TS-2000");
  station.memory[4] = {"14025.50", "USB"};
  station.bands.SetBand20();
  EXPECT_EQ(station.Display(), "14025.50 USB");
  EXPECT_EQ(station.Written(), "MD2;FA00014025500;");
  station.loop.RunFor(1s);
  station.Arrive("FA00014030000;FA00007010000;");  // the rig's own knob leaves the band
  EXPECT_EQ(*station.console.BandNumber, 40);
  EXPECT_EQ(station.Limits(), "7000.00-7300.00");
  station.bands.SetBand20();
  EXPECT_EQ(station.Display(), "14030.00 USB");
  station.bands.SetBand40();
  EXPECT_EQ(station.Display(), "7010.00 USB");
}

TEST(BandOperations, NarrowAndDoubleCaptionsChooseTheModeKeys) {
  struct Row {
    std::string mode;
    bool narrow;
    std::string keys;
  };
  BandStation station(
      MakeRow("Test", "KENWOOD", {"CWw=w;", "CWn=n;", "FMw=f;", "FMn=m;", "AM=a;", "USB=u;", "SetFreq=FA<FREQ11>;"}));
  for (const Row& row : {Row{"CW", false, "w;"}, Row{"CW", true, "n;"}, Row{"FM", true, "m;"}, Row{"FM", false, "f;"},
                         Row{"AM USB", false, "u;a;"}}) {
    station.loop.RunFor(1s);
    station.Written();
    station.memory[4] = {"14025.00", row.mode};
    station.console.Xnarrow.Set(row.narrow);
    station.bands.SetBand20();
    EXPECT_EQ(station.Written(), row.keys + "FA00014025000;") << row.mode;
  }
}

TEST(BandOperations, WheelAndStepBoxStayWithinTheBand) {
  BandStation station("TS-2000");
  station.console.FreqDisp.Set(*ParseKhz("14349.98"));
  station.bands.TurnWheel(1);
  EXPECT_EQ(station.Display(), "14350.00 CW");
  EXPECT_EQ(*station.console.VFO, "5500");
  station.bands.TurnWheel(0);
  EXPECT_EQ(station.Display(), "14349.95 CW");
  EXPECT_EQ(*station.console.VFO, "5501");
  EXPECT_EQ(*station.console.Channel, "0.05");
  station.bands.ClickStep();
  EXPECT_EQ(*station.console.Channel, ".05");
  station.bands.ClickStep();
  EXPECT_EQ(*station.console.Channel, "1");
  station.bands.TurnWheel(-1);
  EXPECT_EQ(station.Display(), "14348.95 CW");
  station.bands.TurnKnob(5);  // one whole step and a piece
  EXPECT_EQ(station.Display(), "14350.00 CW");
  EXPECT_EQ(*station.console.VFO, "5501");
}

TEST(BandOperations, TheBandPlanIsToldOnceASegmentAndKeepsOtherMessages) {
  BandStation station("TS-2000");
  const auto plan = BandPlan::Parse(
      "from_khz,to_khz,use,text,privilege\n14000,14070,cw,CW only,Extra\n14070,14350,mixed,All modes,\n");
  ASSERT_TRUE(plan.ok());
  station.bands.UsePlan(*plan);
  station.console.FreqDisp.Set(*ParseKhz("14010"));
  EXPECT_EQ(*station.console.MsgArea, "CW only (Extra)");
  station.console.MsgArea.Set("The rig port is open again");
  station.console.FreqDisp.Set(*ParseKhz("14069.99"));
  EXPECT_EQ(*station.console.MsgArea, "The rig port is open again");
  station.console.FreqDisp.Set(*ParseKhz("14350"));
  EXPECT_EQ(*station.console.MsgArea, "All modes");
}

}  // namespace
}  // namespace kvx::cat
