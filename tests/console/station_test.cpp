#include "console/station.h"

#include <filesystem>
#include <fstream>

#include "console_fixture.h"
#include "sim/simulated_device.h"

namespace kvx::console {
namespace {

/// How many rows the shipped files begin.
std::size_t ShippedRigs() {
  std::size_t rigs = 0;
  for (const auto& file : std::filesystem::directory_iterator(KVX_DATA "/rigs")) {
    std::ifstream lines(file.path());
    for (std::string line; std::getline(lines, line);) rigs += line.starts_with("RigName,") ? 1 : 0;
  }
  return rigs;
}

TEST(Station, FirstStartComesUpWithItsStartValuesAndAllShippedRigs) {
  Bench bench("");
  bench.Start(5s);
  const Console& console = bench.station.console;
  EXPECT_EQ(*console.RigName + *console.RigNumber + *console.Channel + *console.VFO, "NONE10.055500");
  EXPECT_EQ(KhzText(*console.FromF) + KhzText(*console.ToF) + KhzText(*console.Reference), "14000.0014350.0014000.00");
  EXPECT_EQ(*console.RigSlot, 1);
  EXPECT_EQ(bench.station.position.memory_first[100], "0000");
  EXPECT_EQ(bench.station.RigNames()->size(), ShippedRigs());
  EXPECT_EQ(bench.port.opens, 0) << "no rig, no port";
  EXPECT_EQ(bench.folder.Get("rig.ini"), "");
}

TEST(Station, StartOpensThePortSelectsTheMeterAndSendsTheInitStringBeforeTheFirstPoll) {
  Bench bench(RigIni("ts-2000", 4800, "RIGSTOP= 2\nDTRON3= 1\n"));
  bench.Start(400ms);
  EXPECT_EQ(bench.port.opened, (platform::PortSettings{.number = 3, .speed = 4800, .stop_bits = 2, .dtr = true}));
  EXPECT_EQ(bench.port.written.substr(0, 15), "RM3;AI0;SM0;IF;");
  EXPECT_EQ(*bench.station.console.Label10, "ALC");
  EXPECT_EQ(*bench.station.console.RigType, "KENWOOD");
}

TEST(Station, LineSwitchesBelongToThePortNumber) {
  struct Row {
    int port;
    bool dtr, rts;
  };
  for (const Row& row :
       {Row{1, true, false}, Row{2, false, false}, Row{8, true, true}, Row{9, false, false}, Row{42, false, false}}) {
    Bench bench("XRIG=TS-2000\nRIGPORT= " + std::to_string(row.port) +
                "\nDTRON1= 1\nRTSON1= 0\nDTRON8= 1\nRTSON8= 1\nRTSON3= 1\n");
    bench.Start();
    EXPECT_EQ(bench.port.opened.number, row.port);
    EXPECT_EQ(bench.port.dtr, row.dtr) << row.port;
    EXPECT_EQ(bench.port.rts, row.rts) << row.port;
  }
}

const std::string kSaved =
    "RIG 2=FT-857\nSPEED 2= 4800\nSTOPBIT 2= 2\nSTARTBIT 2= 1\nRIG 5=NOSUCH\nSPEED 5= "
    "1200\nBANDREM01=1830.00\nBANDMODE01=LSB\nPDOFFSET=-1.5\n";

TEST(Station, SavedRigsBringTheirNameSpeedAndStopBits) {
  Bench bench(RigIni("TS-2000", 38400, kSaved));
  bench.Start();
  EXPECT_EQ(KhzText(*bench.station.console.Offset), "-1.50");
  bench.station.console.ActiveVfo.Set('B');
  bench.station.console.FreqB.Set(Frequency::FromKhz(7010));
  EXPECT_TRUE(bench.station.SetRig("TS-2000").ok());
  config::RigRow renamed = bench.station.engine.rig().row;
  renamed.Set("RigName", "Mine");
  EXPECT_TRUE(bench.station.engine.UseRig(config::LoadDefinition(renamed)));
  EXPECT_EQ(*bench.station.console.ActiveVfo, 'B') << "the same rig, and under another name";
  EXPECT_TRUE(bench.station.xRig_Click(2).ok());
  EXPECT_EQ(*bench.station.console.RigName, "FT-857");
  EXPECT_EQ(*bench.station.console.ActiveVfo, 'A');
  EXPECT_EQ(*bench.station.console.FreqB, Frequency{}) << "it was the other rig's";
  EXPECT_EQ(bench.port.opened, (platform::PortSettings{.number = 3, .speed = 4800, .stop_bits = 2}));
  EXPECT_EQ(*bench.station.console.RigSlot, 2);
  EXPECT_EQ(*bench.station.console.Rport, "2");
  for (const int slot : {4, 5, 9, -1}) {  // empty, with a rig that does not exist, out of range
    EXPECT_FALSE(bench.station.xRig_Click(slot).ok()) << slot;
    EXPECT_EQ(*bench.station.console.RigName, "FT-857");
    EXPECT_EQ(*bench.station.console.RigSlot, 2);
    EXPECT_EQ(bench.port.opened.speed, 4800);
    EXPECT_EQ(bench.station.settings().rig, "FT-857") << "what the next save writes";
  }
  EXPECT_EQ(bench.station.InitRig("9").error().code, ErrorCode::kInvalid);
  EXPECT_EQ(bench.station.InitRig("x").error().code, ErrorCode::kInvalid);
  EXPECT_TRUE(bench.station.xRig_Click(0).ok());
  EXPECT_EQ(*bench.station.console.RigName, "TS-2000");
  EXPECT_EQ(bench.port.opened.speed, 38400);
  EXPECT_EQ(bench.station.settings().band_memory[1], (config::BandMemory{"1830.00", "LSB"}));
}

TEST(Station, SetRigLeavesEverythingAsItWasWhenThereIsNoSuchRig) {
  Bench bench(RigIni("TS-2000"));
  bench.Start();
  for (const std::string name : {"NOSUCH", "", "TS-2000' OR '1'='1", "O'Neill"}) {
    EXPECT_EQ(bench.station.SetRig(name).error().code, ErrorCode::kNotFound) << name;
    EXPECT_EQ(*bench.station.console.RigName, "TS-2000");
    EXPECT_EQ(bench.station.engine.rig().name, "TS-2000");
  }
  std::filesystem::remove(bench.folder / "rigsetup.sqlite");
  EXPECT_FALSE(bench.station.SetRig("FT-857").ok());
  EXPECT_EQ(bench.station.engine.rig().name, "TS-2000");
  EXPECT_TRUE(bench.station.ChooseRig("none").ok());
  EXPECT_EQ(*bench.station.console.RigName, "NONE");
  EXPECT_FALSE(bench.port.is_open());
}

TEST(Station, Ts520OffsetFollowsTheModeAndDoesNotStayWithTheNextRig) {
  for (const auto& [mode, offset] :
       {std::pair{" USB", "-1.50"}, {" LSB", "1.50"}, {"  CW", "0.00"}, {"  AM", "2.00"}}) {
    Bench bench(RigIni("TS-2000", 9600, "PDOFFSET=2\n"));
    bench.Start();
    bench.station.console.Mode.Set(mode);
    EXPECT_TRUE(bench.station.ChooseRig("TS-520").ok());
    EXPECT_EQ(KhzText(*bench.station.console.Offset), offset) << mode;
    EXPECT_TRUE(bench.station.ChooseRig("TS-2000").ok());
    EXPECT_EQ(KhzText(*bench.station.console.Offset), "2.00") << mode;
  }
}

TEST(Station, ChoicesAreKeptInRigIniAndItsOtherLinesStay) {
  Bench bench("; my station\nXRIG=TS-2000\nRIGTYPE=KENWOOD\nRIGPORT= 3\nSIDETONE= 700\n" + kSaved);
  bench.Start();
  EXPECT_TRUE(bench.station.ChooseRig("Orion").ok());
  bench.station.SetRigPort(4, 57600);
  bench.station.Rig_Click(2);
  bench.loop.RunFor(6s);
  const Task save = bench.station.SaveRig("");
  bench.loop.RunFor(6s);
  EXPECT_TRUE(save.done() && bench.station.saved());
  const std::string ini = bench.folder.Get("rig.ini");
  for (const std::string line :
       {"; my station\n", "XRIG=Orion\n", "RIGTYPE=TEN-TEC\n", "RIGPORT= 4\n", "RIGSPEED= 57600\n", "RIGNUMBER=2\n",
        "SIDETONE= 700\n", "RIG 2=FT-857\n", "BANDREM01=1830.00\n", "BANDREM15=", "BANDMODE15="}) {
    EXPECT_NE(ini.find(line), std::string::npos) << line << "\nin\n" << ini;
  }
  const Task other = bench.station.SaveRig("FT-857");
  bench.loop.RunFor(6s);
  EXPECT_EQ(*bench.station.console.RigName, "FT-857");
  EXPECT_NE(bench.folder.Get("rig.ini").find("XRIG=FT-857\n"), std::string::npos);
}

TEST(Station, APortThatCannotBeUsedStaysInTheFileUntilAnotherIsChosen) {
  Bench bench("XRIG=TS-2000\nRIGPORT= 3.5\nRIGSPEED= 7\n");
  bench.Start();
  EXPECT_FALSE(bench.port.is_open());
  const Task save = bench.station.SaveRig("");
  bench.loop.RunFor(6s);
  EXPECT_NE(bench.folder.Get("rig.ini").find("RIGPORT= 3.5\nRIGSPEED= 7\n"), std::string::npos);
  bench.station.SetRigPort(3, 12345);
  EXPECT_TRUE(bench.station.console.MsgArea->starts_with("12345 baud is no usual speed"))
      << *bench.station.console.MsgArea;
  bench.loop.RunFor(6s);
  EXPECT_NE(bench.folder.Get("rig.ini").find("RIGPORT= 3\nRIGSPEED= 12345\n"), std::string::npos);
}

TEST(Station, ARigNumberButtonReadsTheFrequencyOrSendsItsOwnCommand) {
  Bench bench(RigIni("TS-2000"));
  bench.Start();
  config::RigRow row;
  for (const auto& [field, value] : {std::pair{"RigName", "Twin"},
                                     {"RigType", "KENWOOD"},
                                     {"GetFreq", "FA;"},
                                     {"ReadFreq", "FB;"},
                                     {"Add1", "7"},
                                     {"Add2", "AN2;"}}) {
    row.Set(field, value);
  }
  ASSERT_EQ(*config::RigDatabase(bench.folder / "rigsetup.sqlite").Add({row}, true), 1);
  EXPECT_TRUE(bench.station.ChooseRig("Twin").ok());
  bench.station.console.Polling.Set(false);
  bench.port.written.clear();
  bench.station.Rig_Click(1);
  bench.station.Rig_Click(2);
  bench.station.console.ActiveVfo.Set('B');
  bench.station.Rig_Click(7);
  EXPECT_EQ(bench.port.written, "FA;AN2;FB;");
  EXPECT_EQ(*bench.station.console.RigNumber, "7");
}

TEST(Station, ShutDownReleasesTheTransmitterAndKeepsTheStateForTheNextStart) {
  Bench bench(RigIni("TS-2000"));
  bench.Start();
  bench.station.engine.dispatcher.SendData("XSETALPHA");
  bench.station.console.Slider.Set(6, 77);
  bench.station.position.texts[1] = "kept";
  bench.port.written.clear();
  bench.ShutDown();
  EXPECT_TRUE(bench.port.written.starts_with("RX;")) << bench.port.written;
  EXPECT_FALSE(bench.port.is_open());
  EXPECT_EQ(bench.loop.timers(), 0U);
  EXPECT_NE(bench.folder.Get("rig.ini").find("XRIG=TS-2000\n"), std::string::npos);
  FakeSerialPort port;
  Station next{
      {.loop = bench.loop, .files = bench.files, .rig_port = port, .folder = bench.folder.path(), .data = KVX_DATA}};
  next.Start();
  EXPECT_EQ(next.console.Slider[6], 77);
  EXPECT_EQ(next.position.texts[1], "kept");
}

/// However the way to a keyed rig ends, the transmitter is released on it.
TEST(Station, ATransmitterIsNeverLeftKeyed) {
  const std::vector<std::pair<std::string, std::function<void(Bench&)>>> ways{
      {"another rig", [](Bench& bench) { EXPECT_TRUE(bench.station.ChooseRig("FT-857").ok()); }},
      {"no rig", [](Bench& bench) { EXPECT_TRUE(bench.station.ChooseRig("NONE").ok()); }},
      {"a saved rig", [](Bench& bench) { EXPECT_TRUE(bench.station.xRig_Click(2).ok()); }},
      {"another port", [](Bench& bench) { bench.station.SetRigPort(4, 9600); }},
      {"no port", [](Bench& bench) { bench.station.SetRigPort(0, 9600); }},
      {"another address", [](Bench& bench) { bench.station.Rig_Click(2); }},
      {"five minutes", [](Bench& bench) { bench.loop.RunFor(300s); }},
      {"the device goes and comes back", [](Bench& bench) { bench.port.Lose(); }},
      {"meanwhile the same rig is chosen",
       [](Bench& bench) {
         bench.port.Lose();
         bench.port.absent = true;
         EXPECT_TRUE(bench.station.ChooseRig("TS-2000").ok());
         bench.loop.RunFor(1s);
         bench.port.absent = false;
       }},
  };
  for (const auto& [name, way] : ways) {
    Bench bench(RigIni("TS-2000", 38400, kSaved));
    bench.Start();
    bench.station.engine.dispatcher.SendData("XSETALPHA");
    bench.loop.RunFor(1s);
    bench.port.written.clear();
    way(bench);
    bench.loop.RunFor(2s);
    EXPECT_TRUE(bench.port.written.starts_with("RX;")) << name << ": " << bench.port.written;
    EXPECT_FALSE(*bench.station.console.Transmitting) << name;
  }
}

/// A line so far behind that commands are refused, and then the operator lets go.
TEST(Station, AReleaseOvertakesWhatWaitsOnTheLine) {
  Bench bench(RigIni("TS-2000"));
  bench.Start();
  bench.station.engine.dispatcher.SendData("XSETALPHA");
  bench.port.unsent = 1'000'000;
  EXPECT_EQ(bench.station.engine.dispatcher.SendData("FA;"), cat::SendOutcome::kRefused);
  bench.port.written.clear();
  EXPECT_TRUE(bench.station.engine.dispatcher.ReleaseTransmitter());
  EXPECT_EQ(bench.port.written, ";RX;");
  EXPECT_EQ(bench.port.unsent, 0U);
  EXPECT_FALSE(*bench.station.console.Transmitting);
}

/// What keyed the rig at one address must be undone at that address, and nothing for the next rig may reach this one.
TEST(Station, TheRigThatWasKeyedIsReleasedBeforeAnotherIsSpokenTo) {
  Bench bench(RigIni("IC-7300"));
  bench.Start();
  bench.station.console.Polling.Set(false);
  bench.loop.RunFor(1s);
  bench.station.engine.dispatcher.SendData("XSETALPHA");
  bench.port.written.clear();
  EXPECT_EQ(bench.station.Rig_Click(2), cat::SendOutcome::kRefused);  // Add2 is empty
  EXPECT_EQ(bench.port.written, "\xFE\xFE\x94\xE0\x1C\x00\x00\xFD"s);
  EXPECT_EQ(*bench.station.console.RigNumber, "1");
  bench.port.written.clear();
  bench.port.on_write = [&, opens = bench.port.opens](std::string_view) { EXPECT_GT(bench.port.opens, opens); };
  EXPECT_TRUE(bench.station.ChooseRig("TS-2000").ok());
  bench.loop.RunFor(1s);
  EXPECT_TRUE(bench.port.written.starts_with("RM3;")) << bench.port.written;
}

TEST(Station, ALostRigsReleaseDoesNotGoToTheNextRig) {
  Bench bench(RigIni("FT-857"));
  bench.Start();
  bench.station.engine.dispatcher.SendData("XSETALPHA");
  bench.port.absent = true;
  bench.port.Lose();
  bench.port.written.clear();
  std::string notices;
  const auto subscription = bench.station.console.Subscribe([&](Field field) {
    if (field == Field::kMsgArea) notices += *bench.station.console.MsgArea + "\n";
  });
  EXPECT_TRUE(bench.station.ChooseRig("TS-2000").ok());
  EXPECT_NE(notices.find("FT-857 could not be released"), std::string::npos) << notices;
  bench.port.absent = false;
  bench.loop.RunFor(2s);
  EXPECT_TRUE(bench.port.written.starts_with("RM3;")) << SpacedHex(bench.port.written);
  EXPECT_TRUE(bench.station.engine.dispatcher.has_put_aside());
  bench.port.written.clear();
  EXPECT_TRUE(bench.station.ChooseRig("FT-857").ok());
  bench.loop.RunFor(2s);
  EXPECT_TRUE(bench.port.written.starts_with("\0\0\0\0\x88"s)) << SpacedHex(bench.port.written);
  EXPECT_FALSE(bench.station.engine.dispatcher.has_put_aside());
}

/// It takes one command in 300 ms.
TEST(Station, ASlowRigIsAskedForItsLevelsInItsPace) {
  Bench bench(RigIni("TS-2000", 9600));
  const auto rig = sim::MakeDevice("ts2000", bench.loop);
  rig->send = [&](std::string_view bytes) { bench.port.Arrive(bytes); };
  std::string waiting;
  std::ptrdiff_t most = 0;
  std::size_t levels = 0;
  bench.port.on_write = [&](std::string_view bytes) {
    levels += bytes.starts_with("AG") || bytes.starts_with("PC") ? 1U : 0U;
    waiting += bytes;
    most = std::max(most, std::ranges::count(waiting, ';'));
  };
  bench.Start();
  for (int i = 0; i < 100; ++i) {
    if (i == 20) most = 0;  // how slow it is shows only with its first answers
    bench.loop.RunFor(300ms);
    const std::size_t end = waiting.find(';') + 1;
    rig->Receive(waiting.substr(0, end));
    waiting.erase(0, end);
  }
  EXPECT_GE(levels, 2U);
  EXPECT_LE(most, 3);
}

TEST(Station, FilesThatCannotBeReadAreNamedAndNothingIsDestroyed) {
  struct Row {
    std::string file, content, kept_as;
  };
  const std::string garbage = "\x00\x01\xFFgarbage\x00"s;
  for (const Row& row :
       {Row{"RIGform.Pos", garbage, "RIGform.Pos.damaged"}, Row{"rig.ini", garbage, "rig.ini"},
        Row{"rigsetup.sqlite", garbage, "rigsetup.sqlite.damaged"}, Row{"rigsetup.mdb", garbage, "rigsetup.mdb"}}) {
    Bench bench("");
    bench.folder.Put(row.file, row.content);
    std::string notices;
    const auto subscription = bench.station.console.Subscribe([&](Field field) {
      if (field == Field::kMsgArea) notices += *bench.station.console.MsgArea + "\n";
    });
    bench.Start(1s);
    EXPECT_NE(notices.find(row.file), std::string::npos) << row.file << ": " << notices;
    EXPECT_EQ(bench.folder.Get(row.kept_as), row.content) << row.file;
    EXPECT_EQ(bench.station.RigNames()->size(), ShippedRigs()) << row.file;
  }
}

}  // namespace
}  // namespace kvx::console
