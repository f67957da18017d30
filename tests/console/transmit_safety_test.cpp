#include "console/rig_editor.h"
#include "console/rig_test.h"
#include "console_fixture.h"
#include "sim/simulated_port.h"

namespace kvx::console {
namespace {

/// The file is locked by another program, so that the shut-down has to wait, and somebody goes on pressing buttons.
TEST(TransmitSafety, NothingPressedDuringTheShutDownReachesTheRig) {
  const std::vector<std::pair<std::string, std::function<void(Station&)>>> ways{
      {"transmit button", [](Station& station) { station.PressKey("XSETALPHA", "Alpha"); }},
      {"literal command", [](Station& station) { station.engine.dispatcher.SendData("TX1;"); }},
      {"frequency", [](Station& station) { station.engine.operations.TuneTo(*ParseKhz("14100")); }},
      {"levels", [](Station& station) { station.AskLevels(); }},
      {"rig address", [](Station& station) { station.Rig_Click(2); }},
      {"another port", [](Station& station) { station.SetRigPort(4, 9600); }},
      {"another rig", [](Station& station) { station.ChooseRig("FT-DX5000").ok(); }},
  };
  for (const auto& [name, press] : ways) {
    Bench bench(RigIni("TS-2000"));
    bench.Start();
    bench.loop.RunFor(10s);
    bench.folder.Put("Rig.$$$", "");
    bench.station.engine.dispatcher.SendData("TX1;");
    bench.port.written.clear();
    const Task task = bench.station.ShutDown();
    bench.loop.RunFor(1s);
    ASSERT_FALSE(task.done()) << "the shut-down does not wait: the test shows nothing";
    press(bench.station);
    bench.loop.RunFor(20s);
    EXPECT_TRUE(task.done()) << name;
    EXPECT_EQ(bench.port.written, "RX;") << name;
    EXPECT_FALSE(bench.port.is_open()) << name;
    EXPECT_EQ(bench.loop.timers(), 0U) << name;
  }
}

TEST(TransmitSafety, ItsLimitAndThePortsReturnEndWhatAnyCommandBegan) {
  struct Row {
    const char* setting;
    bool of_operator;
    Duration limit;
  };
  for (const auto& [setting, of_operator, limit] : {Row{"", true, 300s}, Row{"TXTIME= 30\n", true, 30s},
                                                    Row{"TXTIME= 0\n", true, 0s}, Row{"TXTIME= 0\n", false, 300s}}) {
    Bench bench(RigIni("TS-2000", 38400, setting));
    bench.Start();
    cat::Transmission& transmission = bench.station.engine.transmission;
    const cat::Transmission::For party(transmission, of_operator ? cat::kOperator : transmission.NewParty());
    bench.station.engine.dispatcher.SendData("FA00014025000;TX1;");
    bench.port.written.clear();
    bench.loop.RunFor((limit > 0s ? limit : 1h) - 5s);
    EXPECT_EQ(bench.port.written.find("RX;"), std::string::npos) << setting;
    EXPECT_EQ(*bench.station.console.MsgArea == "The transmitter will be released in 10 seconds", limit > 0s)
        << setting;
    bench.loop.RunFor(5s);
    EXPECT_EQ(bench.port.written.find("RX;") != std::string::npos, limit > 0s) << setting;
  }
  Bench bench(RigIni("TS-2000"));
  bench.Start();
  bench.station.engine.dispatcher.SendData("TX1;");
  bench.loop.RunFor(1s);
  bench.station.console.Polling.Set(false);
  bench.loop.RunFor(1s);
  bench.port.written.clear();
  bench.port.Lose();
  bench.loop.RunFor(2s);
  EXPECT_TRUE(bench.port.written.starts_with("RX;")) << bench.port.written;
}

/// The bytes of each family, whether or not the row has a button for them, with what ends a command that the console
/// before was writing when it died.
TEST(TransmitSafety, TheStartAfterACrashSendsTheRigsReleaseFirst) {
  for (const auto& [rig, release] :
       {std::pair{"TS-2000", ";RX;"s}, std::pair{"FT-DX5000", ";TX0;"s}, std::pair{"FT-857", "\0\0\0\0\x88"s},
        std::pair{"IC-7300", "\xFE\xFE\x94\xE0\x1C\0\0\xFD"s}, std::pair{"R-5000", ";RX;"s},
        std::pair{"IC-735", "\xFE\xFE\x04\xE0\x1C\0\0\xFD"s}, std::pair{"Argonaut VI", "\r*TU\r"s},
        std::pair{"FT-757GXII", "\0\0\0\0\x0F"s}}) {
    for (const bool after_crash : {true, false}) {
      TemporaryFolder folder;
      folder.Put("rig.ini", RigIni(rig));
      SystemFiles files;
      VirtualLoop loop;
      FakeSerialPort port;
      Station station{{.loop = loop,
                       .files = files,
                       .rig_port = port,
                       .folder = folder.path(),
                       .data = KVX_DATA,
                       .after_crash = after_crash}};
      station.Start();
      loop.RunFor(1s);
      EXPECT_EQ(port.written.starts_with(release), after_crash) << rig << ": " << SpacedHex(port.written);
    }
  }
}

/// A rig that has the beginning of a command takes what comes next for the rest of it.
TEST(TransmitSafety, AReleaseIsNotTakenForTheRestOfACommand) {
  const std::vector<std::pair<std::string, std::function<void(Bench&)>>> ways{
      {"the operator sends the beginning of a command",
       [](Bench& bench) {
         bench.station.engine.dispatcher.SendData("FA000");
         bench.station.Escape();
       }},
      {"and then the release itself",
       [](Bench& bench) {
         bench.station.engine.dispatcher.SendData("FA000");
         bench.station.engine.dispatcher.SendData("RX;");
       }},
      {"the port goes while a command is on the line", [](Bench& bench) {
         bench.station.engine.dispatcher.SendData("FA00014025000;");
         bench.port.Lose();
       }}};
  for (const auto& [name, way] : ways) {
    Bench bench(RigIni("TS-2000"));
    bench.Start(10s);
    bench.station.console.Polling.Set(false);
    bench.station.engine.dispatcher.SendData("TX1;");
    bench.loop.RunFor(1s);
    way(bench);
    bench.loop.RunFor(1s);
    EXPECT_NE(bench.port.written.find(";RX;"), std::string::npos) << name << ": " << bench.port.written;
  }
}

/// What has been handed to a port that vanishes or takes nothing is not at the rig.
TEST(TransmitSafety, AReleaseThatMayNotHaveArrivedIsOwed) {
  struct Row {
    const char* name;
    std::function<void(Bench&)> end;
    const char* begins;
  };
  const std::vector<Row> rows{
      {"it vanishes in the same instant", [](Bench& bench) { bench.port.Lose(); }, ";RX;"},
      {"it vanishes later",
       [](Bench& bench) {
         bench.loop.RunFor(1s);
         bench.port.written.clear();
         bench.port.Lose();
       },
       "RM3;"},
      {"it takes nothing and is opened anew",
       [](Bench& bench) {
         bench.port.unsent = 3;
         bench.station.OpenRigPort();
         bench.port.written.clear();
         bench.loop.RunFor(1s);
         bench.port.unsent = 0;
       },
       ";RX;"},
      {"another rig is chosen, and this one again",
       [](Bench& bench) {
         bench.port.unsent = 3;
         EXPECT_TRUE(bench.station.ChooseRig("IC-7300").ok());
         bench.port.written.clear();
         bench.loop.RunFor(1s);
         bench.port.unsent = 0;
         EXPECT_EQ(bench.port.written.find("RX;"), std::string::npos) << SpacedHex(bench.port.written);
         bench.port.written.clear();
         EXPECT_TRUE(bench.station.ChooseRig("TS-2000").ok());
       },
       ";RX;"},
  };
  for (const auto& [name, end, begins] : rows) {
    Bench bench(RigIni("TS-2000"));
    bench.Start(10s);
    bench.station.console.Polling.Set(false);
    bench.station.engine.dispatcher.SendData("TX1;");
    bench.loop.RunFor(1s);
    EXPECT_TRUE(bench.station.Escape());
    bench.port.written.clear();
    end(bench);
    bench.loop.RunFor(2s);
    EXPECT_TRUE(bench.port.written.starts_with(begins)) << name << ": " << SpacedHex(bench.port.written);
    EXPECT_FALSE(*bench.station.console.Transmitting) << name;
    EXPECT_FALSE(bench.station.engine.dispatcher.has_put_aside()) << name;
  }
}

/// It may be the same one under another name, or another one of the same model.
TEST(TransmitSafety, AnotherPortIsSentTheReleaseAndTheFirstOneWhenItIsBack) {
  Bench bench(RigIni("TS-2000"));
  bench.Start(10s);
  bench.station.engine.dispatcher.SendData("TX1;");
  bench.loop.RunFor(1s);
  bench.port.absent = true;
  bench.port.Lose();
  bench.port.absent = false;
  for (const int port : {4, 3}) {
    bench.port.written.clear();
    bench.station.SetRigPort(port, 38400);
    bench.loop.RunFor(2s);
    EXPECT_EQ(bench.port.opened.number, port);
    EXPECT_NE(bench.port.written.substr(0, 4).find("RX;"), std::string::npos) << bench.port.written;
  }
}

/// Somebody lets go, and in the same moment the port is opened anew: the release is on its way to the rig.
TEST(TransmitSafety, AReleaseIsDeliveredBeforeThePortIsOpenedAnew) {
  BenchOn<sim::SimulatedPort> bench(RigIni("TS-2000", 4800), "sim:ts2000");
  bench.Start(10s);
  bench.station.engine.dispatcher.SendData("TX;");
  bench.loop.RunFor(1s);
  ASSERT_NE(bench.port.device()->Operate("state").find(" tx=on"), std::string::npos);
  bench.station.engine.dispatcher.SendData("RX;");
  bench.station.SetRigPort(3, 9600);
  bench.loop.RunFor(1s);
  EXPECT_NE(bench.port.device()->Operate("state").find(" tx=off"), std::string::npos);
}

/// Two rigs on one line, CI-V 94 and 70: what waits for the first must not tune the second.
TEST(TransmitSafety, AWaitingFrequencyGoesToTheRigThatItWasMeantFor) {
  Bench bench(RigIni("IC-7300", 1200));
  bench.Start();
  config::RigRow row = bench.station.engine.rig().row;
  row.Set("Add2", "70");
  bench.station.engine.UseRig(config::LoadDefinition(row));
  bench.station.console.Polling.Set(false);
  bench.loop.RunFor(20s);
  bench.port.written.clear();
  for (const char* khz : {"14025.05", "14025.10"}) bench.station.engine.operations.TuneTo(*ParseKhz(khz));
  EXPECT_EQ(bench.station.Rig_Click(2), cat::SendOutcome::kSent);
  bench.loop.RunFor(5s);
  const std::string hex = SpacedHex(bench.port.written);
  EXPECT_NE(hex.find("FE FE 94 E0 05 00 51 02 14 00 FD"), std::string::npos) << hex;
  EXPECT_EQ(hex.find("FE FE 70 E0 05"), std::string::npos) << hex;
}

TEST(TransmitSafety, ATestOfTheRigEndsWhenTheOperatorTransmits) {
  Bench bench(RigIni("TS-2000"));
  bench.Start();
  bench.station.console.Polling.Set(false);
  bench.loop.RunFor(20s);
  RigTest test(bench.loop, bench.station);
  const auto result = std::make_shared<RigTestResult>();
  const Task task = test.Run(result);
  bench.loop.RunFor(500ms);
  bench.port.written.clear();
  bench.station.engine.dispatcher.SendData("TX;");
  bench.loop.RunFor(5s);
  EXPECT_TRUE(task.done());
  EXPECT_EQ(bench.port.written, "TX;");
  EXPECT_NE(result->sentence.find("transmitting"), std::string::npos) << result->sentence;
}

TEST(TransmitSafety, TheEditorKnowsATransmitCommandInAnyField) {
  Bench bench(RigIni("TS-2000"));
  bench.Start();
  RigEditor editor(bench.station, bench.files);
  ASSERT_TRUE(editor.Open("TS-2000").ok());
  ASSERT_TRUE(editor.Set("USER5", "TX1;").ok());
  EXPECT_TRUE(editor.KeysTransmitter("USER5"));
  EXPECT_FALSE(editor.KeysTransmitter("GetFreq"));
  bench.port.written.clear();
  EXPECT_FALSE(editor.Send("USER5").ok()) << "it is not saved";
  EXPECT_EQ(bench.port.written, "");
}

class FakeGuard final : public platform::ReleaseGuard {
 public:
  void Arm(std::string_view bytes) override { armed = bytes; }
  void ReleaseAfter(Duration limit) override { due = limit; }
  void Disarm() override { armed.clear(); }
  std::string armed;
  Duration due{0};
};

TEST(TransmitSafety, TheGuardHoldsTheReleaseForAsLongAsTheRigIsKeyed) {
  TemporaryFolder folder;
  folder.Put("rig.ini", RigIni("TS-2000"));
  SystemFiles files;
  VirtualLoop loop;
  FakeSerialPort port;
  FakeGuard guard;
  Station station{
      {.loop = loop, .files = files, .rig_port = port, .folder = folder.path(), .data = KVX_DATA, .guard = &guard}};
  station.Start();
  loop.RunFor(1s);
  EXPECT_EQ(guard.armed, "");
  station.engine.dispatcher.SendData("XSETALPHA");
  EXPECT_EQ(guard.armed, ";RX;");
  EXPECT_EQ(guard.due, 300s + platform::kGuardGrace) << "should the console hang";
  station.engine.dispatcher.SendData("XSETBRAVO");
  EXPECT_EQ(guard.armed, "");
  station.engine.dispatcher.SendData("TX1;");
  EXPECT_EQ(guard.armed, ";RX;");
  port.on_write = [&port](std::string_view bytes) { port.unsent = bytes.size(); };
  station.engine.dispatcher.ReleaseTransmitter();
  EXPECT_FALSE(*station.console.Transmitting);
  loop.RunFor(200ms);
  EXPECT_EQ(guard.armed, ";RX;") << "the device does not have the release yet";
  station.engine.dispatcher.SendData("TX1;");
  port.on_write = nullptr;
  port.unsent = 0;
  loop.RunFor(200ms);
  EXPECT_EQ(guard.armed, ";RX;") << "keyed anew";
  port.on_write = [&port](std::string_view bytes) { port.unsent = bytes.size(); };
  station.engine.dispatcher.ReleaseTransmitter();
  port.unsent = 0;
  loop.RunFor(200ms);
  EXPECT_EQ(guard.armed, "");
  port.on_write = nullptr;
  station.engine.dispatcher.SendData("TX1;");
  port.absent = true;
  port.Lose();
  EXPECT_EQ(guard.armed, "") << "the device has gone";
  port.absent = false;
  loop.RunFor(2s);
  station.engine.dispatcher.SendData("TX1;");
  port.on_write = [&port](std::string_view) { port.unsent = 7; };
  const Task end = station.ShutDown();
  loop.RunFor(10s);
  EXPECT_TRUE(end.done());
  EXPECT_EQ(guard.armed, ";RX;") << "its port has taken nothing to the end";
}

}  // namespace
}  // namespace kvx::console
