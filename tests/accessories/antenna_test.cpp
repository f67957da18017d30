#include <gtest/gtest.h>

#include "accessories/accessories.h"
#include "fakes/fake_parallel_port.h"
#include "fakes/fake_serial_port.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "platform/parallel_lines.h"

namespace kvx::accessories {
namespace {

using namespace std::chrono_literals;
using enum AntennaField;

/// Antennas 1 to 4 at 0-90, 80-180, 180-270 and 270-359 degrees.
const std::string kRanges =
    "ANT1FROM=0\nANT1TO=90\nANT2FROM=80\nANT2TO=180\nANT3FROM=180\nANT3TO=270\nANT4FROM=270\nANT4TO=359\n";
const std::string kRotator = "ANTPORT= 4\nANTSPEED=4800\nANTSTOP=2\nANTCOMMSTR=M<BEARING><CR>\n";

class AntennaTest : public testing::Test {
 protected:
  void Load(const std::string& ini) {
    antennas.show = [this](const std::string& text) { told += text + "|"; };
    antennas.announce = [this](int, const std::string& sentence) { announced += sentence + "|"; };
    antennas.write_rig = [this](std::string_view bytes) -> Status {
      if (!rig_open) return Error{ErrorCode::kClosed, "the rig port is closed"};
      rig += bytes;
      return Ok();
    };
    antennas.transmitting = [this] { return keyed; };
    antennas.keep = [this](std::vector<config::SettingChange> kept) {
      ini_file = config::RewriteSettings(ini_file, kept);
    };
    lines.on_notice = [this](const std::string& text) { told += text + "|"; };
    ini_file = ini;
    antennas.Load(config::Settings::Parse(ini));
  }
  std::string Lamps() const {
    std::string lit;
    for (int i = 1; i <= kAntennas; ++i) lit += antennas.AntDot(i) ? '1' : '.';
    return lit;
  }
  std::string Go(const std::string& bearing) {
    antennas.SetBearing(bearing);
    antennas.SendIt().ok();
    return Lamps();
  }

  VirtualLoop loop;
  Console console;
  TemporaryFolder folder;
  SystemFiles files;
  FakeSerialPort rotator;
  FakeParallelPort::Record lpt[3];
  platform::ParallelLines lines{loop,
                                [this](int number) { return std::make_unique<FakeParallelPort>(loop, lpt[number]); }};
  Accessories all{{.loop = loop,
                   .console = console,
                   .files = files,
                   .folder = folder.path(),
                   .rotator = &rotator,
                   .ports = &lines}};
  AntennaControl& antennas = all.antennas;
  std::string told, announced, rig, ini_file;
  bool rig_open = true, keyed = false;
};

TEST_F(AntennaTest, GoesToABearing) {
  Load(kRotator + kRanges);
  EXPECT_EQ(rotator.opened, (platform::PortSettings{.number = 4, .speed = 4800, .stop_bits = 2}));
  EXPECT_EQ(antennas.SettingsText(), "4800,N,8,2");
  EXPECT_EQ(Go("7.9"), "1...");
  EXPECT_EQ(rotator.written, "M007\r");
  EXPECT_EQ(lpt[1].Take(), "4@0 4@0 4@0 4@0 ") << "bits 2, 3, 4 and 5, a call each";
  EXPECT_EQ(Go("359"), "...1");
  EXPECT_EQ(lpt[1].Take(), "0@0 0@0 0@0 32@0 ");
  EXPECT_EQ(Go("85"), ".1..") << "in both ranges: the antenna with the higher number last";
  EXPECT_EQ(lpt[1].Take(), "36@0 36@0 36@0 4@0 0@0 8@0 8@0 8@0 ");
  rotator.written.clear();
  for (const char* wrong : {"360", "-1", "", "abc"}) Go(wrong);
  EXPECT_EQ(told,
            "Please enter a bearing between 0 and 359|Please enter a bearing between 0 and 359|Please enter a "
            "bearing between 0 and 359|Please enter a bearing between 0 and 359|");
  EXPECT_EQ(rotator.written + lpt[1].Take(), "");
  EXPECT_EQ(antennas.LastBearing(), "85");
  console.Announce.Set(true);
  told.clear();
  Go("360");
  EXPECT_EQ(told + announced, "Go to bearing = 360|Please enter a bearing between 0 and 359 |");
}

TEST_F(AntennaTest, PulsesEachAntennaForItsTime) {
  Load("MICROSEC= 50000\nANTLPT1=False\nANTLPT2=True\n" + kRanges);
  EXPECT_EQ(Go("180"), "..1.");
  EXPECT_EQ(lpt[2].armed, 0) << "should the program end now, the line goes down";
  EXPECT_TRUE(all.direct.Change(7, platform::kSet)) << "at the other port, and yet in its turn";
  loop.RunFor(1s);
  EXPECT_EQ(lpt[2].Take(), "8@0 0@50000 16@48000 0@98000 ")
      << "one after the other; the loop's time stands still in the last 2 ms";
  EXPECT_EQ(lpt[1].Take(), "128@0 ");
  EXPECT_EQ(lpt[2].armed, -1);
  antennas.SetField(kMSec, "20").ok();
  EXPECT_EQ(Go("0"), "1...") << "the lamp stays, for the relay does";
  EXPECT_EQ(lpt[2].Take(), "4@0 0@20 ");
  antennas.SetField(kMSec, "-5").ok();
  EXPECT_EQ(Go("100"), ".1..");
  EXPECT_TRUE(all.direct.Press(2));
  EXPECT_FALSE(all.direct.PulseBit(0));
  EXPECT_EQ(lpt[2].Take(), "");
}

TEST_F(AntennaTest, WithNoLampLitNothingIsLatched) {
  Load("MICROSEC= 0\n");
  antennas.SendChar1(10, 255, 0, 4, 0).ok();
  EXPECT_EQ(lpt[1].Take(), "");
  EXPECT_TRUE(antennas.PressAntenna(3));
  EXPECT_EQ(lpt[1].Take() + Lamps(), "0@0 0@0 16@0 16@0 ..1.");
  EXPECT_FALSE(antennas.PressAntenna(5));
}

/// The port-access library's own view.
struct Library final : platform::PortAccess {
  void SendChar(const platform::PortAccessCall& call, Done) override { calls.push_back(call); }
  bool InUse(int) const override { return true; }
  Result<std::uint8_t> ReadData(int) override { return std::uint8_t{0}; }
  void Close() override {}
  std::vector<platform::PortAccessCall> calls;
};

TEST_F(AntennaTest, CallsTheLibraryWithElevenArguments) {
  Library library;
  AntennaControl other({.loop = loop, .console = console, .files = files, .folder = folder.path(), .ports = &library});
  other.Load(config::Settings::Parse("MICROSEC= 20\nANTLPT2=TRUE\n"));
  other.PressAntenna(2).ok();
  other.SetField(kMSec, "0").ok();
  other.PressAntenna(1).ok();
  using Call = platform::PortAccessCall;
  EXPECT_EQ(
      library.calls,
      (std::vector<Call>{Call{0, 20, 255, 2, 5, 0, 0, 0, 0, 0, 0}, Call{700, 10, 255, 2, 4, 5000, 1, 0, 0, 0, 0},
                         Call{700, 10, 255, 2, 5, 5000, 2, 0, 0, 0, 0}, Call{700, 10, 255, 2, 6, 5000, 2, 0, 0, 0, 0},
                         Call{700, 10, 255, 2, 7, 5000, 2, 0, 0, 0, 0}}));
}

TEST_F(AntennaTest, AtTheEndNoPulseIsLeftUnderWay) {
  Load("MICROSEC= 1000000\n");
  antennas.PressAntenna(1).ok();
  antennas.PressAntenna(2).ok();
  loop.RunFor(1ms);
  antennas.Close();
  EXPECT_EQ(lpt[1].Take(), "4@0 0@1000 ");
  EXPECT_FALSE(lpt[1].open);
  EXPECT_FALSE(antennas.PressAntenna(3)) << "nor begun";
  loop.RunFor(5s);
  EXPECT_EQ(lpt[1].Take(), "");
  EXPECT_EQ(loop.timers(), 0U);
}

TEST_F(AntennaTest, APortThatIsNotThereIsToldOnceAndShownFromMemory) {
  lpt[1].absent = true;
  Load("");
  EXPECT_TRUE(antennas.PressAntenna(1));
  EXPECT_TRUE(all.direct.Change(0, platform::kSet));
  EXPECT_EQ(Lamps(), "1...");
  EXPECT_TRUE(all.direct.lamp(0));
  EXPECT_EQ(told, "/dev/parport0: no such parallel port; the lamps show what its lines would be|");
  lpt[1].absent = false;
  EXPECT_TRUE(antennas.PressAntenna(2));
  EXPECT_EQ(lpt[1].Take(), "0@0 8@0 8@0 8@0 ") << "it is used as soon as it is there";
  lpt[1].broken = true;
  EXPECT_EQ(antennas.PressAntenna(3).error().message, "/dev/parport0: Input/output error");
  lpt[1].absent = true;
  antennas.ReadLights();
  EXPECT_EQ(Lamps(), ".1..") << "its last byte";
}

TEST_F(AntennaTest, ALineThatCouldNotBeLoweredIsLoweredWhenThePortIsBack) {
  Load("MICROSEC= 50000\n");
  EXPECT_TRUE(all.direct.PulseBit(5, 50000));
  lpt[1].broken = lpt[1].absent = true;
  loop.RunFor(1s);
  EXPECT_EQ(told,
            "/dev/parport0: Input/output error; the lamps show what its lines would be|/dev/parport0: no such parallel "
            "port; the lamps show what its lines would be|The parallel port has not done what it was asked for: "
            "/dev/parport0: Input/output error|");
  lpt[1].broken = lpt[1].absent = false;
  EXPECT_TRUE(all.direct.Change(0, platform::kSet));
  EXPECT_EQ(lpt[1].data, 1);
}

TEST_F(AntennaTest, LampsFollowTheChosenPortAndClaimNone) {
  Load("");
  antennas.ReadLights();
  all.direct.ReadLights();
  EXPECT_FALSE(lpt[1].open);
  lpt[2].data = 1 | 8;
  EXPECT_TRUE(all.direct.Press(0));
  antennas.SetField(kDirectPort, "2").ok();
  EXPECT_FALSE(all.direct.lamp(0) || lpt[2].open);
  EXPECT_TRUE(all.direct.Press(0)) << "lit at that port: it is put out";
  EXPECT_EQ(lpt[2].data, 8);
  antennas.SetField(kPPort, "2").ok();
  EXPECT_EQ(Lamps(), ".1..");
  antennas.SetField(kDirectPort, "1").ok();
  EXPECT_TRUE(all.direct.lamp(0));
}

TEST_F(AntennaTest, DirectPortTogglesAndPulses) {
  Load("DIRECTOPT2=True\nMICROSEC= 100\n");
  console.Announce.Set(true);
  for (const int bit : {0, 7, 0}) EXPECT_TRUE(all.direct.Press(bit));
  EXPECT_EQ(announced, "zero|7|zero|");
  EXPECT_EQ(lpt[2].Take(), "1@0 129@0 128@0 ");
  EXPECT_TRUE(all.direct.lamp(7));
  EXPECT_TRUE(all.direct.Press(4));
  EXPECT_EQ(lpt[2].Take(), "144@0 128@100 128@0 ") << "a pulse, and the lamp brought up to date";
  EXPECT_EQ(antennas.field(kPPort), "1") << "put back";
  EXPECT_TRUE(all.direct.PulseBit(0, 7));
  EXPECT_EQ(lpt[2].Take(), "129@0 128@7 128@0 ");
  EXPECT_FALSE(all.direct.Press(8));
  EXPECT_FALSE(all.direct.Change(-1, platform::kSet));
  EXPECT_EQ(lpt[1].Take(), "");
}

TEST_F(AntennaTest, TheRotatorHasAPortOrTheRigsOne) {
  Load(kRotator + "ANTUSERIG=True\n");
  Go("12");
  EXPECT_EQ(rig + rotator.written, "M012\r");
  rig_open = false;
  EXPECT_EQ(antennas.GoTo("13", false).error().message, "The rotator has not been turned: the rig port is closed");
  EXPECT_EQ(told, "The rotator has not been turned: the rig port is closed|");
  told.clear();
  antennas.SetField(kUseRig, "off").ok();
  rotator.Lose();
  EXPECT_EQ(antennas.port_state(), "closed: the device has gone");
  Go("14");
  EXPECT_EQ(rotator.written + told, "M014\r") << "opened again";
  rotator.absent = true;
  rotator.Lose();
  Go("15");
  EXPECT_EQ(told, "The rotator has not been turned: its port is closed: COM4: no such device|");
  told.clear();
  rotator.absent = false;
  loop.RunFor(3s);
  EXPECT_EQ(antennas.port_state() + told, "open") << "it is back";
  antennas.SetField(kRport, "0").ok();
  antennas.InitComm();
  Go("16");
  EXPECT_EQ(antennas.port_state() + told, "noneThe rotator has not been turned: no port is chosen for it|");
  antennas.SetField(kCommString, "").ok();
  told.clear();
  Go("17");
  EXPECT_EQ(told, "") << "a station without a rotator";
}

TEST_F(AntennaTest, FieldsAreAnnouncedAndKept) {
  Load("antport=3\nPACKETUSERIG=True\nMICROSEC= 10");
  EXPECT_EQ(antennas.field(kUseRig), "False");
  console.Announce.Set(true);
  const std::pair<AntennaField, const char*> changes[] = {
      {kRport, "4"},    {kRport, "0"},         {kRspeed, "1200"},      {kRstart, "2"},   {kRstop, "2"},
      {kUseRig, "yes"}, {kPPort, "2"},         {kCommString, "A<CR>"}, {kAnt1From, "5"}, {kAnt4To, "90"},
      {kMSec, "0"},     {kDirectInvert, "on"}, {kDirectPort, "2"}};
  for (const auto& [field, text] : changes) EXPECT_TRUE(antennas.SetField(field, text)) << text;
  EXPECT_EQ(announced,
            "Comm port set to 4|Comm port set to none|Speed set to 1200|Start bits set to 2|Stop bits set to 2|Use rig "
            "comm port set to on|Parallel interface set to L P T 2|Comm String = A<CR>|Antenna 1 from 5|Antenna 4 to "
            "90|Micro seconds = 0|Invert signal on|Port 1 off|Port 2 on|");
  for (const auto& [field, text] :
       {std::pair{kPPort, "3"}, {kUseRig, "maybe"}, {kCommString, "XRIG=1"}, {kAnt1To, "1\n2"}})
    EXPECT_FALSE(antennas.SetField(field, text)) << text;
  antennas.Save();
  EXPECT_TRUE(
      ini_file.starts_with("ANTPORT=0\nPACKETUSERIG=True\nMICROSEC=0\nANTSPEED=1200\nANTSTART=2\nANTSTOP=2\n"
                           "ANTUSERIG=True\nANTCOMMSTR=A<CR>\nANT1FROM=5\n"))
      << ini_file;
  EXPECT_NE(ini_file.find("ANTLPT1=False\nANTLPT2=True\nDIRECTTEXT=\n"), std::string::npos) << ini_file;
  EXPECT_EQ(ReadAntennaFields(config::Settings::Parse(ini_file)), antennas.fields());
}

TEST_F(AntennaTest, TheLastBearingAndThePlaceOutliveTheProgram) {
  Load(kRanges);
  folder.Put("AntContF.Pos", "antennas=1 2 3 4 normal\nLastBearing=7\n");
  Go("33");
  antennas.Close();
  Accessories next{{.loop = loop, .console = console, .files = files, .folder = folder.path()}};
  next.antennas.Load({});
  EXPECT_EQ(next.antennas.LastBearing(), "33");
  EXPECT_EQ(folder.Get("AntContF.Pos"), "antennas=1 2 3 4 normal\nLastBearing=33\n");
}

TEST_F(AntennaTest, LockedNoAntennaIsSwitchedOnTheAir) {
  Load(kRanges);
  keyed = true;
  EXPECT_EQ(Go("10"), "1...") << "not locked";
  antennas.SetField(kAntLock, "on").ok();
  EXPECT_EQ(Go("200"), "1...");
  const std::string why = "The antenna has not been switched: the transmitter is keyed";
  EXPECT_EQ(told, why + "|");
  antennas.SetField(kMSec, "20").ok();
  lpt[1].Take();
  EXPECT_EQ(all.direct.Change(3, platform::kSet).error().message, why);
  EXPECT_EQ(all.direct.PulseBit(4, 100).error().message, why);
  EXPECT_EQ(all.direct.Press(2).error().message, why);
  EXPECT_EQ(lpt[1].Take(), "");
  EXPECT_TRUE(all.direct.Change(6, platform::kSet)) << "no antenna's line";
}

}  // namespace
}  // namespace kvx::accessories
