#include "console/station_setup.h"

#include "console/rig_makers.h"
#include "console/setup_commands.h"
#include "console_fixture.h"
#include "fakes/fake_device_list.h"
#include "sim/simulated_port.h"

namespace kvx::console {
namespace {

using Strings = std::vector<std::string>;

/// A started station on a fake port, set up by commands as the headless console has them.
struct SetupBench {
  explicit SetupBench(const std::string& ini = RigIni("TS-2000"), bool polling = false) : bench(ini) {
    AddSetupCommands(commands, setup);
    bench.Start();
    commands.Ready();
    bench.station.console.Polling.Set(polling);
    bench.loop.RunFor(20s);  // whatever is asked of a rig that has just been connected has been asked
    bench.port.written.clear();
  }
  std::string Ask(const std::string& command, Duration time = 1ms) {
    answer = "no answer";
    commands.Take(command);
    bench.loop.RunFor(time);
    return answer;
  }
  bool Ini(const std::string& line) const { return HasLine("rig.ini", line); }
  bool HasLine(const std::string& file, const std::string& line) const {
    return ("\n" + bench.folder.Get(file)).find("\n" + line + "\n") != std::string::npos;
  }

  Bench bench;
  FakeDeviceList devices;
  StationSetup setup{bench.loop, bench.station, bench.files, devices};
  std::string answer;
  CommandLine commands{bench.loop, bench.station, [this](const std::string& line) {
                         if (line.starts_with("ok") || line.starts_with("error")) answer = line;
                       }};
};

TEST(StationSetup, ThePortIsKeptInBothFilesAndOpenedAnew) {
  SetupBench bench;
  bench.bench.folder.Put("ports.ini", "# shack\nCOM4=/dev/old\nCOM9=tcp:a:1\n");
  const RigPortChoice wanted{
      .number = 4, .address = "/dev/serial/by-id/usb-X", .speed = 4800, .stop_bits = 2, .dtr = false, .rts = true};
  ASSERT_TRUE(bench.setup.ApplyRigPort(wanted).ok());
  bench.bench.loop.RunFor(1s);
  EXPECT_EQ(bench.bench.folder.Get("ports.ini"), "# shack\nCOM4=/dev/serial/by-id/usb-X\nCOM9=tcp:a:1\n");
  for (const char* line : {"RIGPORT= 4", "RIGSPEED= 4800", "RIGSTOP=2", "RTSON4=1", "DTRON4=0", "XRIG=TS-2000"})
    EXPECT_TRUE(bench.Ini(line)) << line << " not in\n" << bench.bench.folder.Get("rig.ini");
  EXPECT_EQ(bench.bench.port.opened,
            (platform::PortSettings{.number = 4, .speed = 4800, .stop_bits = 2, .dtr = false, .rts = true}));
  EXPECT_EQ(bench.setup.RigPort(), wanted);
  EXPECT_EQ(*bench.bench.station.console.Port, "open");
}

TEST(StationSetup, TheUsualPortIsToldAndAppliedAndADamagedTableIsNamed) {
  SetupBench bench;
  const auto put = [&](const std::string& line) {
    bench.bench.folder.Put("rig_setups.csv", "RigName,Speed,StopBits,DTR,RTS,Address,Digits,Ranges,Replies\n" + line);
  };
  put("ts-2000,57600,2,on,off,,11,0.03-60 430.5-440,frequency vfob\n");
  EXPECT_EQ(
      bench.Ask("usual"),
      "ok usual 57600 baud, 2 stop bits, DTR on, RTS off; reads back frequency, VFO B; receives 0.03-60, 430.5-440 "
      "MHz");
  EXPECT_TRUE(bench.Ini("RIGSPEED= 38400"));
  bench.Ask("usual apply");
  for (const char* line : {"RIGSPEED= 57600", "RIGSTOP=2", "DTRON3=1", "RTSON3=0"})
    EXPECT_TRUE(bench.Ini(line)) << line;

  SetupBench damaged;
  damaged.bench.folder.Put("rig_setups.csv", "RigName,Speed\nTS-2000,9600\n");
  EXPECT_TRUE(damaged.Ask("usual").starts_with("ok usual 9600 baud")) << "the shipped table";
  EXPECT_NE(damaged.bench.station.console.MsgArea->find("rig_setups.csv line 1"), std::string::npos);
  damaged.bench.station.console.RigName.Set("Homebrew");
  EXPECT_EQ(damaged.Ask("usual apply"), "error: How the port of the Homebrew leaves the factory is not known");
}

TEST(StationSetup, TheSimulatedRigTakesNoPortFromADeviceAndIsNotLookedForOnOne) {
  struct Row {
    std::string ini, ports, ports_after;
    int number;
    std::string to_the_rig_before;
  };
  for (const Row& row : {
           Row{"", "", "COM1=sim:ts2000\n", 1},
           Row{"", "COM1=/dev/rig\nCOM2=tcp:a:1\n", "COM1=/dev/rig\nCOM2=tcp:a:1\nCOM3=sim:ts2000\n", 3},
           Row{"", "COM1=/dev/rig\nCOM7=SIM:ts2000\n", "COM1=/dev/rig\nCOM7=sim:ts2000\n", 7},
           Row{"RIGPORT= 1\nRIGSPEED= 4800\nRIGSTOP=2\n", "", "COM2=sim:ts2000\n", 2},
           Row{"ANTPORT= 1\nKEYERPORT 2=COM2\n", "", "COM3=sim:ts2000\n", 3},
           Row{RigIni("FT-857", 4800), "COM3=/dev/rig\n", "COM3=/dev/rig\nCOM1=sim:ts2000\n", 1, "\0\0\0\0\x88"s},
       }) {
    SetupBench bench(row.ini);
    bench.bench.folder.Put("ports.ini", row.ports);
    bench.bench.station.engine.dispatcher.SendData("XSETALPHA");
    bench.bench.loop.RunFor(1s);
    bench.bench.port.written.clear();
    std::string to_the_rig_before;
    bench.bench.port.on_write = [&](std::string_view bytes) {
      if (bench.bench.port.opened.number != row.number) to_the_rig_before += bytes;
    };
    ASSERT_TRUE(bench.setup.UseSimulatedRig().ok());
    bench.bench.loop.RunFor(2s);
    EXPECT_EQ(bench.bench.folder.Get("ports.ini"), row.ports_after);
    EXPECT_EQ(to_the_rig_before, row.to_the_rig_before) << "a release and no more";
    EXPECT_EQ(bench.bench.port.opened, (platform::PortSettings{.number = row.number, .speed = 57600, .stop_bits = 1}));
    EXPECT_EQ(*bench.bench.station.console.RigName, "TS-2000");
    EXPECT_TRUE(bench.Ini("XRIG=TS-2000") && bench.Ini("RIGPORT= " + std::to_string(row.number)));
  }
}

TEST(StationSetup, TheSimulatedKeyerIsForAStationWithoutOne) {
  for (const char* ini : {"KEYERPORT=COM4\n", "KEYERPORT 1=NONE\n"}) {
    SetupBench bench(ini);
    ASSERT_TRUE(bench.setup.UseSimulatedKeyer().ok());
    EXPECT_EQ(bench.bench.folder.Get("ports.ini"), "") << ini;
  }
  SetupBench bench(RigIni("FT-857", 4800));
  bench.bench.folder.Put("ports.ini", "COM1=/dev/ttyUSB7\n");
  ASSERT_TRUE(bench.setup.UseSimulatedKeyer().ok());
  EXPECT_EQ(bench.bench.folder.Get("ports.ini"), "COM1=/dev/ttyUSB7\nCOM2=sim:winkey\n");
  EXPECT_TRUE(bench.Ini("KEYERPORT=WINKEY") && bench.Ini("WINKEY1= 1")) << bench.bench.folder.Get("rig.ini");
  EXPECT_EQ(bench.setup.Setting("PADDLECOM").value(), "2");
}

TEST(StationSetup, WhatIsWrongIsNamedAndNothingIsChanged) {
  SetupBench bench;
  const std::string ini = bench.bench.folder.Get("rig.ini");
  const int opens = bench.bench.port.opens;
  const RigPortChoice good{.number = 2, .address = "/dev/ttyUSB0", .speed = 9600};
  struct Row {
    std::function<void(RigPortChoice&)> spoil;
    std::string why;
  };
  for (const Row& row : {
           Row{[](RigPortChoice& choice) { choice.number = 100; }, "1 to 99"},
           Row{[](RigPortChoice& choice) { choice.number = -1; }, "1 to 99"},
           Row{[](RigPortChoice& choice) { choice.address = "COM2"; }, "COM2"},
           Row{[](RigPortChoice& choice) { choice.address = ""; }, "no device"},
           Row{[](RigPortChoice& choice) { choice.address = "sim:nosuch"; }, "ts2000"},
           Row{[](RigPortChoice& choice) { choice.address = "/dev/a\nCOM5=/dev/b"; }, "no address"},
           Row{[](RigPortChoice& choice) { choice.speed = 299; }, "300 to 4000000"},
           Row{[](RigPortChoice& choice) { choice.speed = 4'000'001; }, "300 to 4000000"},
           Row{[](RigPortChoice& choice) { choice.stop_bits = 3; }, "stop bits"},
           Row{[](RigPortChoice& choice) { choice.number = 9, choice.rts = true; }, "ports 1 to 8"},
       }) {
    RigPortChoice choice = good;
    row.spoil(choice);
    const Status status = bench.setup.ApplyRigPort(choice);
    ASSERT_FALSE(status.ok()) << row.why;
    EXPECT_NE(status.error().message.find(row.why), std::string::npos) << status.error().message;
  }
  EXPECT_EQ(bench.bench.folder.Get("rig.ini"), ini);
  EXPECT_EQ(bench.bench.folder.Get("ports.ini"), "");
  EXPECT_EQ(bench.bench.port.opens, opens);
  ASSERT_TRUE(bench.setup.ApplyRigPort({.number = 0}).ok());
  EXPECT_FALSE(bench.bench.port.is_open());
}

TEST(StationSetup, EveryCommandAnswersAndKeepsItsLine) {
  SetupBench bench;
  bench.devices.devices = {{"/dev/serial/by-id/usb-X", "/dev/ttyUSB0", "FTDI FT232R"}};
  struct Row {
    std::string command, answer, line;
  };
  for (const Row& row : {
           Row{"devices", "ok /dev/serial/by-id/usb-X (FTDI FT232R), sim:ts2000 (simulated rig), ", ""},
           Row{"device 3", "ok device 3 /dev/ttyS2", ""},
           Row{"device 5 tcp:shack:4001", "ok device 5 tcp:shack:4001", ""},
           Row{"device 3 /dev/ttyUSB0", "ok device 3 /dev/ttyUSB0", ""},
           Row{"devices", "ok /dev/serial/by-id/usb-X (FTDI FT232R, in use), ", ""},
           Row{"device 3 rubbish", "error: \"rubbish\" is no device", ""},
           Row{"device 0", "error: device takes", ""},
           Row{"device 6 pty:/tmp/a", "ok device 6 pty:/tmp/a", ""},
           Row{"device 7 pty:/tmp/a", "error: The link pty:/tmp/a is that of COM6", ""},
           Row{"device 6 pty:/tmp/a", "ok device 6 pty:/tmp/a", ""},
           Row{"setting KEYERPORT=L P T 1", "ok setting KEYERPORT=LPT1", "KEYERPORT=LPT1"},
           Row{"setting KEYERPORT Use Rig Port", "ok setting KEYERPORT=RIGPORT", "KEYERPORT=RIGPORT"},
           Row{"setting KEYERPORT=Use Com 1", "error: ", "KEYERPORT=RIGPORT"},
           Row{"line DTR on", "ok line dtr on", "DTRON3=1"},
           Row{"line rts on", "ok line rts on", "RTSON3=1"},
           Row{"line dtr off", "ok line dtr off", "DTRON3=0"},
           Row{"line cts on", "error: line takes", "RTSON3=1"},
           Row{"stopbits 2", "ok stopbits 2", "RIGSTOP=2"},
           Row{"stopbits 3", "error: stopbits", "RIGSTOP=2"},
           Row{"storeslot 2", "ok storeslot 2 TS-2000 38400", "RIG 2=TS-2000"},
           Row{"storeslot 9", "error: Saved rigs", ""},
           Row{"slot 2", "ok slot 2 TS-2000", "SPEED 2= 38400"},
           Row{"clearslot 2", "ok clearslot 2", "RIG 2="},
           Row{"slot 2", "error: saved rig 2 is empty", "STOPBIT 2="},
           Row{"clearslot x", "error: clearslot takes", ""},
           Row{"region 1", "ok region 1", "BANDPLAN= 1"},
           Row{"region 4", "error: The IARU", "BANDPLAN= 1"},
           Row{"interval 100", "ok interval 100", "POLLTIME= 100"},
           Row{"interval 9", "error: The poll", "POLLTIME= 100"},
           Row{"gmt -2", "ok gmt -2", "GMT=-2"},
           Row{"gmt 15", "error: The clock", "GMT=-2"},
           Row{"offset 116000", "ok offset 116000", "PDOFFSET= 116000"},
           Row{"offset -1,5", "ok offset -1.5", "PDOFFSET=-1.5"},
           Row{"offset x", "error: The offset", "PDOFFSET=-1.5"},
           Row{"theme Light", "ok theme light", "THEME=LIGHT"},
           Row{"theme pink", "error: there is no theme", "THEME=LIGHT"},
           Row{"textsize 150", "ok textsize 150", "TEXTSIZE= 150"},
           Row{"textsize 20", "error: the text size", "TEXTSIZE= 150"},
           Row{"color body ff8001", "ok color body FF8001", "BODYCOLOR= 98559"},
           Row{"color screen #000080", "ok color screen 000080", "SCREENCOLOR= 8388608"},
           Row{"color screen 00008", "error: A colour", "SCREENCOLOR= 8388608"},
           Row{"color screen 00000G", "error: A colour", ""},
           Row{"color ink 000000", "error: color takes", ""},
       }) {
    const std::string answer = bench.Ask(row.command);
    EXPECT_TRUE(answer.starts_with(row.answer)) << row.command << " -> " << answer;
    EXPECT_TRUE(row.line.empty() || bench.Ini(row.line)) << row.command << ":\n" << bench.bench.folder.Get("rig.ini");
  }
  EXPECT_EQ(bench.bench.folder.Get("ports.ini"), "COM5=tcp:shack:4001\nCOM3=/dev/ttyUSB0\nCOM6=pty:/tmp/a\n");
}

TEST(StationSetup, EveryKeptSettingGoesToItsLineAndBackAndLeavesTheOthers) {
  const std::string foreign = "; my own line\nANTPORT= 4\nUNKNOWN=Keep Me\nDIRECTINVERT=True\n";
  for (const config::KeptSetting& setting : config::KeptSettings()) {
    struct Value {
      std::string typed, line, read;
    };
    std::vector<Value> values{{"7", " 7", "7"}, {"21", " 21", "21"}};
    if (setting.kind == config::SettingKind::kAddress)
      values = {{"::1", "::1", "::1"}, {"10.0.0.7", "10.0.0.7", "10.0.0.7"}};
    if (setting.kind == config::SettingKind::kFlag) values = {{"on", "True", "True"}, {"False", "False", "False"}};
    if (setting.kind == config::SettingKind::kYesNo) values = {{"yes", "YES", "YES"}, {"no", "NO", "NO"}};
    if (setting.kind == config::SettingKind::kOnOff) values = {{"on", " 1", "True"}, {"False", " 0", "False"}};
    if (setting.is_bounded()) {
      const std::string low = std::to_string(setting.low), high = std::to_string(setting.high);
      values = {{high, " " + high, high}, {low, " " + low, low}};
    }
    if (setting.choices != nullptr) {
      const std::string &first = setting.choices->front(), &last = setting.choices->back();
      values = {{Lower(last), last, last}, {first, first, first}};
      if (setting.kind == config::SettingKind::kWord)
        values = {{Lower(last), NumberText(static_cast<int>(setting.choices->size()) - 1), last}, {"0", " 0", first}};
    }
    if (setting.kind == config::SettingKind::kText)
      values = {{"/a b/c?d=E", "/a b/c?d=E", "/A B/C?D=E"},
                {"", "", setting.missing != nullptr ? setting.missing : ""}};
    SetupBench bench(RigIni("TS-2000", 38400, foreign));
    const std::string before = bench.bench.folder.Get("rig.ini");
    for (const Value& value : values) {  // the first makes the line, the second replaces it
      EXPECT_EQ(bench.Ask("setting " + setting.name() + "=" + value.typed),
                "ok setting " + setting.name() + "=" + value.read);
      EXPECT_EQ(bench.bench.folder.Get("rig.ini"), before + setting.key + value.line + "\n");
      EXPECT_EQ(bench.Ask("setting " + Lower(setting.name())), "ok setting " + setting.name() + "=" + value.read);
    }
  }
}

TEST(StationSetup, AKeptSettingThatCannotBeSetChangesNothing) {
  SetupBench bench(RigIni("TS-2000", 38400, "KEYERPORT 2=COM7\n"));
  const std::string before = bench.bench.folder.Get("rig.ini");
  struct Row {
    std::string command, answer;
  };
  for (const Row& row : {
           Row{"setting", "ok setting KEYERPORT, CWSPEED, TUNETIME,"},
           Row{"setting KEYERPORT 2", "ok setting KEYERPORT 2=COM7"},
           Row{"setting KEYERPORT 2 COM3", "error: You can not set the keyer port the same as the rig port"},
           Row{"setting KEYERPORT 9 COM4", "error: KEYERPORT is one of NONE, WINKEY,"},
           Row{"setting XRIG FT-857", "error: There is no keyer or link setting XRIG"},
           Row{"setting WINKEY12 1", "error: There is no keyer or link setting WINKEY12"},
           Row{"setting PTTTAILTIME 256", "error: PTTTAILTIME is a whole number from 0 to 255"},
       })
    EXPECT_TRUE(bench.Ask(row.command).starts_with(row.answer)) << row.command << " -> " << bench.answer;
  EXPECT_EQ(bench.bench.folder.Get("rig.ini"), before);
  EXPECT_EQ(bench.Ask("setting keyerport 2 com4"), "ok setting KEYERPORT 2=COM4");
  EXPECT_EQ(bench.bench.station.settings().saved_rigs[2].keyer_port, "COM4");
}

TEST(StationSetup, WhatWaitsForTheFileCountsWhenASavedRigIsChosen) {
  for (const bool written_in_the_end : {true, false}) {
    SetupBench bench(RigIni("TS-2000", 38400, "PDOFFSET= 0\nF1=FIRST\nF2=SECOND\nTHEME=DARK\nRIG 1=FT-857\n"));
    const Console& console = bench.bench.station.console;
    auto other = std::move(bench.bench.files
                               .BeginReplace(bench.bench.folder / "rig.ini", bench.bench.folder / "Rig.$$$",
                                             platform::Files::Stale::kTakeOver)
                               .value());
    bench.Ask("offset 5.00");
    bench.Ask("color body 112233");
    bench.Ask("storeslot 2");
    bench.Ask("fnval 1 typed");
    if (!written_in_the_end) bench.bench.loop.RunFor(30s);  // every rewrite has been given up
    for (const std::string slot : {"0", "2"}) {
      EXPECT_EQ(bench.Ask("slot " + slot), "ok slot " + slot + " TS-2000");
      EXPECT_EQ(KhzText(*console.Offset), "5.00");
      EXPECT_EQ(bench.setup.ColorText(ScreenPart::kBody), "112233");
      EXPECT_EQ(console.Text5[0], "typed");
      EXPECT_EQ(console.Text5[1], "SECOND");
    }
    EXPECT_FALSE(bench.Ini("PDOFFSET= 5.00"));
    other.reset();
    bench.bench.loop.RunFor(1s);
    EXPECT_EQ(bench.Ini("PDOFFSET= 5.00") && bench.Ini("RIG 2=TS-2000"), written_in_the_end);
    bench.bench.folder.Put("rig.ini", RigIni("TS-2000", 38400, "PDOFFSET= 7.00\n"));
    if (written_in_the_end) {
      bench.Ask("slot 0");
      EXPECT_EQ(KhzText(*console.Offset), "7.00") << "what has been written no longer hides the file";
    }
  }
}

TEST(StationSetup, AKeptSettingThatIsNotOnTheDiskIsNotCalledKept) {
  SetupBench bench;
  auto other = std::move(bench.bench.files
                             .BeginReplace(bench.bench.folder / "rig.ini", bench.bench.folder / "Rig.$$$",
                                           platform::Files::Stale::kTakeOver)
                             .value());
  EXPECT_EQ(bench.Ask("setting HANGTIME 3"), "error: HANGTIME is not in rig.ini yet: see the messages");
  EXPECT_FALSE(bench.Ini("HANGTIME= 3"));
  other.reset();
  bench.bench.loop.RunFor(1s);
  EXPECT_EQ(bench.Ask("setting HANGTIME"), "ok setting HANGTIME=3");
}

TEST(StationSetup, TheStationFollowsAtOnce) {
  SetupBench bench;
  Station& station = bench.bench.station;
  int redraws = 0;
  bench.setup.on_redraw = [&] { ++redraws; };
  const auto plan_at_7250 = [&] { return station.bands.plan().At(Frequency::FromKhz(7250)); };
  EXPECT_NE(plan_at_7250(), nullptr);
  bench.Ask("region 1");
  EXPECT_EQ(plan_at_7250(), nullptr) << "40 m ends at 7200 kHz there";
  EXPECT_EQ(redraws, 1);
  bench.Ask("interval 200");
  EXPECT_EQ(station.clock().interval(), 200ms);
  bench.bench.loop.SetLocalOffset(60min);
  bench.Ask("gmt 3", 1s);
  EXPECT_NE(station.console.RIGGMT->find(" 18:"), std::string::npos) << *station.console.RIGGMT;
  bench.Ask("gmt 0", 1s);
  EXPECT_NE(station.console.RIGGMT->find(" 14:"), std::string::npos) << *station.console.RIGGMT;
  bench.Ask("offset 116000");
  station.engine.operations.TuneTo(*ParseKhz("144300"));
  EXPECT_EQ(bench.bench.port.written.substr(0, 14), "FA00260300000;") << "the rig is above the display";
  bench.Ask("color body 112233");
  bench.Ask("color body xyz");
  EXPECT_EQ(redraws, 2);
  EXPECT_EQ(station.settings().body_color, 0x332211);
}

TEST(StationSetup, ASavedRigKeepsItsSlotsKeyerAndLeavesThePortsLinesAlone) {
  SetupBench bench(RigIni("FT-857", 4800, "RIGSTART=1\nKEYERPORT 2=COM7\nRTSON3=1\nRTSON2=0\n"));
  ASSERT_TRUE(bench.setup.StoreSavedRig(2).ok());
  for (const char* line :
       {"RIG 2=FT-857", "SPEED 2= 4800", "STARTBIT 2=1", "STOPBIT 2=1", "KEYERPORT 2=COM7", "RTSON2=0"})
    EXPECT_TRUE(bench.Ini(line)) << line << " not in\n" << bench.bench.folder.Get("rig.ini");
  ASSERT_TRUE(bench.bench.station.ChooseRig("NONE").ok());
  EXPECT_FALSE(bench.setup.StoreSavedRig(3).ok());
  bench.Ask("slot 2");
  EXPECT_EQ(*bench.bench.station.console.RigName, "FT-857");
  EXPECT_TRUE(bench.bench.port.opened.rts);
  ASSERT_TRUE(bench.setup.ClearSavedRig(2).ok());
  EXPECT_TRUE(bench.Ini("KEYERPORT 2=COM7"));
  EXPECT_EQ(bench.bench.station.settings().saved_rigs[2].name, "");
}

/// The sentence of a test, with a rig that answers each write after a while with what `reply` makes of it.
std::string AnswerWith(SetupBench& bench, const std::function<std::string(std::string_view)>& reply,
                       Duration delay = 38ms) {
  bench.bench.port.on_write = [&bench, reply, delay](std::string_view bytes) {
    const std::string answer = reply(bytes);
    if (answer.empty()) return;
    bench.bench.loop.StartTimer(bench.bench.loop.Now() + delay, [&bench, answer] { bench.bench.port.Arrive(answer); });
  };
  bench.Ask("test", 6s);
  bench.bench.port.on_write = {};
  return bench.answer;
}

TEST(RigTest, SaysWhatCameBack) {
  SetupBench bench;
  EXPECT_EQ(AnswerWith(bench, [](std::string_view query) { return query == "FA;" ? "FA00014025000;" : ""; }),
            "ok COM3: the rig answers, 14025.00 kHz (14 bytes in 38 ms)");
  const auto ts2000 = [](std::string_view query) -> std::string {
    return query == "FA;" ? "FA00014025000;" : query == "IF;" ? "IF000140250000000+0000000000030000000;" : "";
  };
  EXPECT_EQ(AnswerWith(bench, ts2000), "ok COM3: the rig answers, 14025.00 kHz CW (14 bytes in 38 ms)");
  EXPECT_EQ(AnswerWith(bench, [](std::string_view) { return "\xFF\x03;\x80 garbage"; }),
            "error: COM3: bytes arrive but make no reply of a TS-2000: wrong speed or wrong rig?");
  EXPECT_EQ(AnswerWith(bench, [](std::string_view) { return "FB00007010000;"; }),
            "error: COM3: the rig answers, but does not tell its frequency");
  EXPECT_EQ(AnswerWith(bench, [](std::string_view) { return "?;"; }),
            "error: COM3: the rig refuses the question: is it a TS-2000?");
  EXPECT_EQ(AnswerWith(bench, [](std::string_view) { return ""; }),
            "error: COM3: no answer within 2 seconds: is the rig on, the cable right, the speed 38400?");
  EXPECT_EQ(AnswerWith(bench, ts2000, 1900ms), "ok COM3: the rig answers, 14025.00 kHz (14 bytes in 1900 ms)");
  const std::string& written = bench.bench.port.written;
  EXPECT_EQ(ReplaceAll(ReplaceAll(written, "FA;", ""), "IF;", ""), "") << "sends nothing but queries";
  bench.bench.port.Lose();
  bench.bench.port.absent = true;
  EXPECT_EQ(AnswerWith(bench, ts2000), "error: COM3: no such device");
}

TEST(RigTest, AsksOnlyWhereThereIsSomethingToAsk) {
  SetupBench none("");
  EXPECT_EQ(none.Ask("test"), "error: No rig is chosen: choose one first");
  ASSERT_TRUE(none.bench.station.ChooseRig("TS-2000").ok());
  EXPECT_EQ(none.Ask("test"), "error: No port is chosen: choose the one that the rig is connected to");
  SetupBench mute(RigIni("TS-520"));
  EXPECT_EQ(mute.Ask("test"), "error: COM3: there is nothing that a TS-520 could be asked");
  SetupBench keyed;
  keyed.bench.station.engine.dispatcher.SendData("TX;");
  keyed.bench.port.written.clear();
  EXPECT_EQ(keyed.Ask("test"), "error: COM3: not asked while the rig is transmitting");
  EXPECT_EQ(keyed.bench.port.written, "");
}

TEST(RigTest, OneAtATimeAndTheDisplayGoesOnFollowingTheRig) {
  SetupBench bench;
  const auto first = std::make_shared<RigTestResult>();
  const auto second = std::make_shared<RigTestResult>();
  {
    const Task abandoned = bench.setup.TestRig(first);
    const Task refused = bench.setup.TestRig(second);
    EXPECT_EQ(second->sentence, "A test is running already");
    bench.bench.loop.RunFor(500ms);
  }
  bench.bench.port.Arrive("FA00007010000;");
  EXPECT_EQ(KhzText(*bench.bench.station.console.FreqDisp), "7010.00");
  EXPECT_EQ(AnswerWith(bench, [](std::string_view) { return ""; }).find("error: COM3: no answer"), 0U);
}

TEST(RigTest, EverySimulatedRigAnswersPolledOrNot) {
  struct Row {
    std::string rig, device;
  };
  for (const Row& row : {Row{"TS-2000", "sim:ts2000"}, Row{"FT-857", "sim:ft857"}, Row{"FT-1000D", "sim:ft1000d"},
                         Row{"FT-DX5000", "sim:ftdx5000"}, Row{"IC-7300", "sim:ic7300"}, Row{"Orion", "sim:orion"}}) {
    for (const bool polling : {true, false}) {
      for (const Duration after : {1000ms, 1033ms, 1071ms, 1090ms}) {
        SCOPED_TRACE(row.rig + (polling ? " polled, " : ", ") + std::to_string(after.count()));
        BenchOn<sim::SimulatedPort> bench(RigIni(row.rig, 9600), row.device);
        FakeDeviceList devices;
        StationSetup setup(bench.loop, bench.station, bench.files, devices);
        bench.port.device()->Operate("knob 14123.40");
        bench.Start(2s);
        bench.station.console.Polling.Set(polling);
        bench.loop.RunFor(after);
        const auto result = std::make_shared<RigTestResult>();
        const Task test = setup.TestRig(result);
        bench.loop.RunFor(5s);
        EXPECT_TRUE(test.done());
        EXPECT_TRUE(result->answered);
        EXPECT_TRUE(result->sentence.starts_with("COM3: the rig answers, 14123.40 kHz ")) << result->sentence;
        bench.port.device()->Operate("mute on");
        const auto muted = std::make_shared<RigTestResult>();
        const Task again = setup.TestRig(muted);
        bench.loop.RunFor(5s);
        EXPECT_EQ(muted->sentence.find("COM3: no answer"), 0U) << muted->sentence;
      }
    }
  }
}

TEST(RigMakers, RigsAreFoundByMakerAndByAnyWayOfWritingThem) {
  const Strings names{"FT-857", "Pegasus", "TS-2000", "Homebrew", "IC-7300", "FTDX-101", "ts-590SG", "K3"};
  const auto groups = GroupRigs(names);
  EXPECT_EQ(groups, (std::vector<RigGroup>{{"Elecraft", {"K3"}},
                                           {"Icom", {"IC-7300"}},
                                           {"Kenwood", {"TS-2000", "ts-590SG"}},
                                           {"Ten-Tec", {"Pegasus"}},
                                           {"Yaesu", {"FT-857", "FTDX-101"}},
                                           {"Other", {"Homebrew"}}}));
  for (const std::string filter : {"ts2000", "TS-2000", " kenwood 2000 ", "ts 20"})
    EXPECT_EQ(GroupRigs(names, filter), (std::vector<RigGroup>{{"Kenwood", {"TS-2000"}}})) << filter;
  EXPECT_TRUE(GroupRigs(names, "nosuch").empty());
}

}  // namespace
}  // namespace kvx::console
