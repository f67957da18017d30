#include "console/cw_commands.h"

#include "console/setup_commands.h"
#include "console/status.h"
#include "console_fixture.h"
#include "fakes/fake_device_list.h"

namespace kvx::console {
namespace {

const std::string kWinkey = "KEYERPORT=WINKEY\nPADDLECOM= 5\nWINKEY1= 1\nCWSPEED= 20\n";

/// A station with its command line and a WinKeyer that answers.
struct CwBench : Bench {
  explicit CwBench(const std::string& rig_ini) : Bench(rig_ini) {
    AddSetupCommands(commands, setup);
    AddCwCommands(commands, loop, station);
    AnswerAsWinkey();
    Start();
    commands.Ready();
    loop.RunFor(3s);
    lines.clear();
    keyer_port.written.clear();
  }
  std::string Do(const std::string& line, Duration moment = 1ms) {
    lines.clear();
    commands.Take(line);
    loop.RunFor(moment);
    for (const std::string& answer : lines) {
      if (answer.starts_with("ok") || answer.starts_with("error")) return answer;
    }
    return "";
  }
  bool Told(const std::string& line) const { return std::find(lines.begin(), lines.end(), line) != lines.end(); }

  std::vector<std::string> lines;
  FakeDeviceList devices;
  StationSetup setup{loop, station, files, devices};
  CommandLine commands{loop, station, [this](const std::string& line) { lines.push_back(line); }};
};

TEST(CwCommands, ATextGoesToTheWinkeyerAndIsFollowedByEvents) {
  CwBench bench(RigIni("TS-2000", 38400, kWinkey));
  EXPECT_EQ(bench.keyer_port.opened.number, 5);
  EXPECT_EQ(bench.Do("cw tést {CAL}"), "error: There is no macro {CAL}");
  EXPECT_EQ(bench.keyer_port.written, "");
  EXPECT_EQ(bench.Do("cw tést #"), "ok cw 5 characters, 1.7 s. There is no Morse sign for #");
  EXPECT_EQ(bench.keyer_port.written.substr(0, 2), "TE");
  bench.loop.RunFor(10s);
  EXPECT_EQ(bench.keyer_port.written, "TEST ");
  std::string sending;
  for (const std::string& line : bench.lines) {
    if (line.starts_with("cw sending ")) sending += line.substr(11);
  }
  EXPECT_EQ(sending, "TEST ");
  EXPECT_TRUE(bench.Told("cw idle"));
  EXPECT_EQ(bench.Do("cw"), "ok cw idle");
}

TEST(CwCommands, AnotherDeviceBehindTheKeyersNumberIsOpenedAtOnce) {
  CwBench bench(RigIni("TS-2000", 38400, kWinkey));
  const int opens = bench.keyer_port.opens;
  ASSERT_TRUE(bench.setup.SetDevice(5, "/dev/other").ok());
  bench.loop.RunFor(3s);
  EXPECT_EQ(bench.keyer_port.written.substr(0, 4), "\0\3\x13\x13"s) << "the one before is told";
  EXPECT_EQ(bench.keyer_port.opens, opens + 1);
  EXPECT_EQ(*bench.station.console.KeyerState, "ready");
}

TEST(CwCommands, TextsAreTakenBackPausedStoppedAndStored) {
  CwBench bench(RigIni("TS-2000", 38400, kWinkey));
  bench.Do("cwpause on");
  bench.Do("cw ABCDEX");
  EXPECT_EQ(bench.keyer_port.written, "");
  EXPECT_EQ(bench.Do("cwback 2"), "ok cwback 2");
  EXPECT_EQ(bench.Do("cwpause off", 10s), "ok cwpause off");
  EXPECT_EQ(bench.keyer_port.written, "ABCD");
  EXPECT_EQ(bench.Do("cwback"), "error: nothing waits that could be taken back");
  bench.Do("cw 00000", 500ms);
  bench.keyer_port.written.clear();
  EXPECT_EQ(bench.Do("escape", 10s), "ok escape");
  EXPECT_EQ(bench.keyer_port.written[0], '\x0A');
  EXPECT_EQ(bench.keyer_port.written.find('0'), std::string::npos);
  EXPECT_EQ(bench.Do("cwset call dl1abc"), "ok cwset call DL1ABC");
  EXPECT_EQ(bench.Do("cwset nr 0"), "error: The number is 1 to 9999");
  EXPECT_EQ(bench.Do("cwfn 3 CLL{CALL} {NR+}"), "ok cwfn 3 CLL{CALL} {NR+}");
  bench.keyer_port.written.clear();
  EXPECT_EQ(bench.Do("cwfn 3", 20s).substr(0, 21), "ok cw 10 characters, ");
  EXPECT_EQ(bench.keyer_port.written, "DL1ABC 001");
  EXPECT_NE(bench.folder.Get("KeyScreen.txt").find("\nNR=2\n"), std::string::npos);
}

TEST(CwCommands, SpeedMeansWordsAMinuteUpTo99AndBaudFrom300) {
  CwBench bench(RigIni("TS-2000", 38400, kWinkey));
  EXPECT_EQ(bench.Do("speed 32", 5s), "ok speed 32 words a minute");
  EXPECT_EQ(SpacedHex(bench.keyer_port.written), "02 20");
  EXPECT_NE(bench.folder.Get("rig.ini").find("CWSPEED= 32"), std::string::npos);
  EXPECT_EQ(bench.station.settings().rig_speed, 38400);
  EXPECT_EQ(bench.Do("speed 100").substr(0, 6), "error:");
  EXPECT_EQ(bench.Do("speed 9600"), "ok speed 9600 open");
  const std::string status = StatusJson(bench.station);
  EXPECT_NE(status.find("\"keyer\":{\"kind\":\"WINKEY\",\"port\":5,\"state\":\"ready\",\"ready\":true,\"failed\":false,"
                        "\"speed\":32,\"tune\":false,\"sending\":\"\",\"waiting\":0,\"left_ms\":0}"),
            std::string::npos)
      << status;
}

TEST(CwCommands, TheShutDownReleasesAKeyedTuneFirstAndTheKeyerBeforeTheSettingsAreWritten) {
  CwBench bench(RigIni("TS-2000", 38400, kWinkey));
  EXPECT_EQ(bench.Do("tune"), "ok tune on");
  EXPECT_TRUE(bench.Told("tune on"));
  EXPECT_EQ(SpacedHex(bench.keyer_port.written), "0B 01");
  std::filesystem::remove(bench.folder.path() / "RIGform.Pos");
  bench.folder.Put("Rig.$$$", "");
  bench.keyer_port.written.clear();
  bool position_written = false;
  bench.keyer_port.on_write = [&](std::string_view bytes) {
    if (bytes == "\0\x03"s) position_written = bench.folder.Get("RIGform.Pos") != "";
  };
  const Task task = bench.station.ShutDown();
  EXPECT_TRUE(SpacedHex(bench.keyer_port.written).starts_with("0B 00")) << SpacedHex(bench.keyer_port.written);
  EXPECT_FALSE(bench.station.keyer.Send("K").ok());
  bench.loop.RunFor(1s);
  EXPECT_FALSE(task.done()) << "the settings file is still locked";
  EXPECT_TRUE(position_written);
  EXPECT_FALSE(bench.keyer_port.is_open());
  EXPECT_TRUE(bench.keyer_port.written.ends_with("\0\x03"s)) << SpacedHex(bench.keyer_port.written);
  bench.loop.RunFor(20s);
  EXPECT_TRUE(task.done());
  EXPECT_EQ(bench.loop.timers(), 1U) << "the command line's own";
}

TEST(CwCommands, AnotherRigStopsTheTextAndBringsItsOwnKeyer) {
  CwBench bench(RigIni("TS-2000", 38400, kWinkey + "RIG 2=FT-857\nSPEED 2= 4800\nKEYERPORT 2=NONE\nRIG 3=FT-857\n"));
  bench.Do("cw CQ CQ CQ CQ", 500ms);
  bench.keyer_port.written.clear();
  EXPECT_TRUE(bench.station.xRig_Click(2).ok());
  bench.loop.RunFor(60s);
  EXPECT_EQ(bench.keyer_port.written[0], '\x0A');
  EXPECT_TRUE(bench.keyer_port.written.ends_with("\0\x03"s)) << SpacedHex(bench.keyer_port.written);
  EXPECT_FALSE(bench.keyer_port.is_open());
  EXPECT_EQ(bench.Do("cw K"), "error: Please select a keyer port in the config setup.");
  EXPECT_EQ(bench.Do("keyer"), "ok keyer NONE none, 20 words a minute");
  EXPECT_TRUE(bench.station.xRig_Click(3).ok());
  bench.loop.RunFor(3s);
  EXPECT_EQ(*bench.station.console.KeyerState, "ready") << "a saved rig without a keyer port uses the plain one";
  EXPECT_EQ(bench.Do("rig TS-2000"), "ok TS-2000");
  bench.loop.RunFor(3s);
  EXPECT_EQ(*bench.station.console.KeyerState, "ready");
}

TEST(CwCommands, EscapeStopsTextAndTuneWhileTheRigPortIsClosed) {
  CwBench bench("XRIG=TS-2000\nRIGPORT= 0\n" + kWinkey);
  EXPECT_EQ(bench.Do("tune on"), "ok tune on");
  bench.keyer_port.written.clear();
  EXPECT_EQ(bench.Do("escape"), "ok escape");
  EXPECT_EQ(SpacedHex(bench.keyer_port.written).substr(0, 5), "0B 00");
  EXPECT_EQ(bench.Do("escape"), "ok escape: nothing was being transmitted from here");
}

TEST(CwCommands, SettingsAreCheckedAndReopenTheKeyerOnlyWhenSomethingOfItHasChanged) {
  CwBench bench(RigIni("TS-2000"));
  EXPECT_EQ(bench.keyer_port.opens, 0);
  EXPECT_EQ(bench.Do("setting KEYERPORT WINKEY"), "error: Please select Winkey KEY1 or KEY2");
  EXPECT_EQ(bench.Do("setting WINKEY1 1").substr(0, 2), "ok");
  EXPECT_EQ(bench.Do("setting PADDLECOM 5").substr(0, 2), "ok");
  EXPECT_EQ(bench.Do("setting KEYERPORT WINKEY", 3s), "ok setting KEYERPORT=WINKEY");
  EXPECT_EQ(*bench.station.console.KeyerState, "ready");
  const int opens = bench.keyer_port.opens;
  bench.keyer_port.written.clear();
  EXPECT_EQ(bench.Do("setting PADDLECOM 3"), "error: You can not set the keyer port the same as the rig port");
  EXPECT_EQ(bench.Do("setting HANGTIME 3", 3s).substr(0, 2), "ok");
  EXPECT_EQ(bench.Do("theme light", 3s), "ok theme light");
  EXPECT_EQ(bench.keyer_port.opens, opens);
  EXPECT_EQ(bench.keyer_port.written, "");
  EXPECT_EQ(bench.Do("setting SIDETONE 6", 3s).substr(0, 2), "ok");
  EXPECT_EQ(bench.keyer_port.opens, opens + 1);
  EXPECT_EQ(bench.Do("port 5"), "error: You can not set the keyer port the same as the rig port");
  bench.loop.RunFor(3s);
  EXPECT_TRUE(bench.keyer_port.is_open());
}

}  // namespace
}  // namespace kvx::console
