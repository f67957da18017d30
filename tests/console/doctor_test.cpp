#include "console/doctor.h"

#include <algorithm>

#include "clinic.h"
#include "console/doctor_commands.h"
#include "fakes/manual_worker.h"

namespace kvx::console {
namespace {

const platform::RunningProgram kOther{"gqrx", 4711};
const platform::RunningProgram kConsole{"kvx", 815};

/// Something that is wrong: how it came, and the one line about it, or its beginning and what else is in it.
struct Case {
  std::string ini;
  std::string ports;  ///< empty: COM3 is kTty
  std::function<void(Clinic&)> spoil;
  std::string begins;
  std::vector<std::string> holds = {};
};

void ExpectEach(const std::vector<Case>& cases) {
  for (const Case& row : cases) {
    Clinic clinic(row.ini, row.ports.empty() ? "COM3=" + kTty + "\n" : row.ports);
    if (row.spoil) row.spoil(clinic);
    const std::vector<std::string> wrong = clinic.Wrong();
    ASSERT_EQ(wrong.size(), 1U) << "for " << row.begins << ": " << testing::PrintToString(clinic.lines);
    EXPECT_TRUE(wrong[0].starts_with(row.begins)) << wrong[0] << "\nis not " << row.begins;
    for (const std::string& part : row.holds) EXPECT_NE(wrong[0].find(part), std::string::npos) << wrong[0];
  }
}

TEST(Doctor, FindsNothingWrongWithAStationThatIsWell) {
  Clinic clinic;
  EXPECT_EQ(clinic.Wrong(), std::vector<std::string>());
  clinic.station.holders["kvx.lock"] = kConsole;
  clinic.inspector.devices[kTty].users = {{"its-helper", 816, kConsole.process}, kConsole};
  clinic.Examine();
  EXPECT_EQ(
      std::count(clinic.lines.begin(), clinic.lines.end(), "ok rig port COM3: is /dev/ttyUSB0, in use by the console"),
      1);
  EXPECT_EQ(clinic.Wrong(), std::vector<std::string>());
  Clinic demonstration("ANT1FROM=10\n");
  demonstration.demo = true;
  EXPECT_EQ(demonstration.Wrong(), std::vector<std::string>());
}

TEST(Doctor, SaysOfEachPortWhatIsInItsWayAndWhatToDo) {
  using platform::DeviceFacts;
  const auto device = [](std::function<void(DeviceFacts&)> change) {
    return [change = std::move(change)](Clinic& clinic) { change(clinic.inspector.devices[kTty]); };
  };
  const auto denied = [&](const std::string& group, bool listed) {
    return device([=](DeviceFacts& facts) {
      facts.usable = false;
      facts.group = group;
      facts.listed = listed;
    });
  };
  const std::string own = "error: rig port COM3: ";
  ExpectEach({
      {"", "", denied("dialout", false),
       own + kTty +
           ": this user may not read and write it, the members of the group "
           "dialout may: sudo adduser $USER dialout, then log in again"},
      {"", "", denied("dialout", true), own, {"the group dialout does not count in this session yet: log out"}},
      {"", "", denied("", false), own, {"only root may: sudo chgrp dialout /dev/ttyUSB0"}},
      {"", "", device([](DeviceFacts& facts) { facts.users = {kOther}; }),
       own + kTty + " is in use by gqrx, process 4711: end that program"},
      {"", "", device([](DeviceFacts& facts) {
         facts.locks = {{"/var/lock/LCK..ttyUSB0", kOther, true, false}};
       }),
       own + kTty + " is taken by gqrx, process 4711, as /var/lock/LCK..ttyUSB0 says"},
      {"",
       "",
       device([](DeviceFacts& facts) {
         facts.locks = {{"/var/lock/LCK..ttyUSB0", {"", 9}, false, false}};
       }),
       own,
       {"was left by a program that has ended", "sudo rm /var/lock/LCK..ttyUSB0"}},
      {"",
       "",
       device([](DeviceFacts& facts) { facts = {}; }),
       own + kTty + " does not exist: plug the device in",
       {"command device 3 ADDRESS", "no serial device is plugged in"}},
      {"",
       "#\n",
       [](Clinic& clinic) {
         clinic.devices.devices = {{"/dev/serial/by-id/usb-x", kTty, "CP2102"}};
       },
       own + "/dev/ttyS2 does not exist, which a port stands for that has no line in ports.ini",
       {"there are /dev/serial/by-id/usb-x (CP2102)"}},
      {"", "COM3=/dev/ttyS0\n", [](Clinic& clinic) { clinic.inspector.Plug("/dev/ttyS0").hardware = false; },
       own + "there is no hardware behind /dev/ttyS0"},
      {"", "COM3=ttyUSB0\n", {}, own, {"\"ttyUSB0\" is no device"}},
      {"", "COM3=sim:ts9999\n", {}, own + "there is no simulated device sim:ts9999"},
      {"", "COM3=tcp:shack:4001\n", {}, own + "the computer shack is not found (Name or service not known)"},
      {"", "COM3=tcp:localhost:4001\n", [](Clinic& clinic) { clinic.network.hosts["localhost"] = "127.0.0.1"; },
       own + "nothing waits for connections on port 4001 of this computer"},
      {"",
       "COM3=pty:/home/op/my rig\n",
       [](Clinic& clinic) { clinic.inspector.Plug("/home/op/my rig"); },
       own + "something else stands at /home/op/my rig",
       {"mv '/home/op/my rig' '/home/op/my rig.old'"}},
      {"ANTPORT=4\n", "COM3=" + kTty + "\nCOM4=/dev/serial/by-id/rotator\n",
       [](Clinic& clinic) {
         clinic.inspector.Plug("/dev/serial/by-id/rotator").users = {{"rotctld", 12}};
       },
       "error: rotator port COM4: /dev/serial/by-id/rotator is in use by rotctld, process 12"},
      {"WINKEYIN=7\nCWSKIMMER=8\nLOGGERLINK=1\n",
       "COM3=" + kTty + "\nCOM7=/dev/none\nCOM8=pty:/tmp/x\n",
       {},
       "warning: logger's CW port COM7: /dev/none does not exist"},
      {"PADDLECOM=4\nKEYERPORT=WINKEY\nWINKEY1=1\n",
       "COM3=" + kTty + "\nCOM4=" + kTty + "\n",
       {},
       "error: rig port COM3 and WinKeyer port COM4: both are /dev/ttyUSB0"},
      {"KEYERPORT=LPT1\n", "", {}, "error: key line LPT1: /dev/parport0 does not exist: sudo modprobe ppdev"},
      {"ANT1FROM=10\n",
       "",
       [](Clinic& clinic) {
         clinic.inspector.Plug("/dev/parport0");
         clinic.inspector.driver = "lp";
       },
       "warning: antenna switch LPT1: the printer driver lp",
       {"sudo rmmod lp"}},
      {"",
       "",
       [](Clinic& clinic) {
         clinic.inspector.claims = {{"1a86:7523", "QinHeng USB Serial", false}};
       },
       "error: brltty: the Braille service has grabbed the USB serial adapter QinHeng USB Serial (CH340, 1a86:7523)",
       {"sudo systemctl stop brltty-udev.service", "mask"}},
      {"", "COM3=/dev/rig\n",
       [](Clinic& clinic) {
         clinic.inspector.Plug("/dev/rig", "/dev/ttyACM0");
         clinic.processes.names = {"ModemManager"};
       },
       "warning: ModemManager: runs and may send modem commands to the rig port COM3"},
  });
}

TEST(Doctor, SaysWhatIsWrongWithTheStationsFilesAndChoices) {
  const std::string noise("\0\x8F noise \1\2", 10);
  const auto refuse = [](Clinic& clinic) { clinic.station.folder.refused = {"rig.ini", "rigsetup.sqlite"}; };
  ExpectEach({
      {"",
       "",
       [](Clinic& clinic) { clinic.station.folder.writable = false; },
       "error: station folder ",
       {"sudo chown"}},
      {"", "", refuse, "error: station folder ", {"may not read and write rig.ini, rigsetup.sqlite", "sudo chown -R"}},
      {"",
       "",
       [](Clinic& clinic) { clinic.station.folder.free_bytes = 9U << 20; },
       "error: station folder ",
       {"its disk is full, 9 MB are free"}},
      {"",
       "",
       [](Clinic& clinic) { clinic.folder.Put("rigsetup.sqlite", std::string(5000, 'x')); },
       "error: rigsetup.sqlite: damaged",
       {"rigsetup.sqlite.damaged"}},
      {"", "", [](Clinic& clinic) { clinic.folder.Put("TunerSUB.sqlite", std::string(5000, 'x')); },
       "error: TunerSUB.sqlite: damaged"},
      {"", "", [=](Clinic& clinic) { clinic.folder.Put("RIGMEM.MEM", noise); }, "error: RIGMEM.MEM: "},
      {"", "", [=](Clinic& clinic) { clinic.folder.Put("KeyScreen.txt", noise); }, "error: KeyScreen.txt: "},
      {"", "", [=](Clinic& clinic) { clinic.folder.Put("RIGform.Pos", noise); }, "error: RIGform.Pos: "},
      {"", "", [=](Clinic& clinic) { clinic.folder.Put("rigsetup.mdb", noise); }, "error: rigsetup.mdb: "},
      {"",
       "",
       [](Clinic& clinic) { std::filesystem::create_directory(clinic.folder / "kvx.lock"); },
       "error: kvx.lock: ",
       {", and without it no console starts: mv "}},
      {"XRIG=FOO\n", "", {}, "error: rig FOO: there is no such definition in rigsetup.sqlite, which is not made yet"},
      {"", "COM3=" + kTty + "\nCOM2 /dev/x\n", {}, "warning: ports.ini line 2 \"COM2 /dev/x\": there is no \"=\": "},
      {"", "", [](Clinic& clinic) { clinic.folder.Put("Rig.$$$", ""), clinic.station.holders["Rig.$$$"] = kOther; },
       "warning: Rig.$$$ is held by gqrx, process 4711"},
      {"RIGSPEED= 57601\n", "", {}, "warning: rig line: 57601 baud, 1 stop bit is no usual speed"},
      {"RIGSPEED= fast\n", "", {}, "warning: rig.ini: RIGSPEED=FAST is not a speed"},
      {"RTSON3=0\n", "", {}, "warning: rig line: the TS-2000 may want RTS on"},
      {"RIGPORT= 0\n", "", {}, "warning: rig TS-2000: no port is chosen"},
      {"XRIG=NONE\n", "", {}, "warning: rig: none is chosen"},
      {"KEYERPORT=COM3\n", "", {}, "error: keyer COM3: You can not set the keyer port the same as the rig port"},
      {"KEYERPORT=BUG\n", "", {}, "warning: keyer: KEYERPORT=BUG is no keyer"},
      {"KEYERPORT=RIGPORT\n",
       "",
       [](Clinic& clinic) { clinic.station.real_time = false; },
       "warning: keyer RIGPORT: the system does not grant real-time priority",
       {"rtprio 20", "log in again"}},
  });
}

TEST(Doctor, SaysWhatTheComputerLacks) {
  const auto server = [](SoundState::Server state) { return [state](Clinic& clinic) { clinic.sound.server = state; }; };
  const std::string net = "NETSERVER=True\nNETPORT=4555\n";
  ExpectEach({
      {net,
       "",
       [](Clinic& clinic) {
         clinic.network.listeners[4555] = {"rigctld", 99};
       },
       "error: NET rigctl server 127.0.0.1:4555: the port is taken by rigctld, process 99",
       {"setting NETPORT 4556"}},
      {net + "NETADDRESS=10.1.2.3\n", "", {}, "error: NET rigctl server 10.1.2.3:4555: this computer does not have"},
      {"",
       "",
       server(SoundState::Server::kAbsent),
       "warning: sound: this computer has no sound server",
       {"sudo apt install pipewire-pulse"}},
      {"",
       "",
       server(SoundState::Server::kSilent),
       "error: sound: the sound server does not answer",
       {"systemctl --user restart"}},
      {"", "", [](Clinic& clinic) { clinic.sound.sources.clear(); },
       "warning: sound: this computer has no sound input"},
      {"", "", [](Clinic& clinic) { clinic.sound.sources[0].silent = true; },
       "warning: sound: the source USB Audio CODEC is muted: pactl set-source-mute alsa_input.usb 0"},
      {"", "", [](Clinic& clinic) { clinic.folder.Put("SpecDisplay.pos", "source=gone\n"); },
       "error: sound: the chosen source gone is not there"},
      {"ANNOUNCEMENTS=1\n", "", [](Clinic& clinic) { clinic.missing_voice = "none: sudo apt install a-voice"; },
       "warning: announcements: on, but they are not spoken: none: sudo apt install a-voice"},
      {"DDESERVER=True\n", "", [](Clinic& clinic) { clinic.dde.lacking = "Wine is not installed"; },
       "error: DDE: on, but Wine is not installed: sudo apt install wine64"},
  });
}

TEST(Doctor, LooksIntoAStoreWithoutTouchingIt) {
  Clinic clinic;
  config::RigDatabase store(clinic.folder / "rigsetup.sqlite");
  ASSERT_TRUE(store.Prepare(clinic.files, KVX_DATA, [](const std::string&) {}).ok());
  EXPECT_EQ(clinic.Wrong(), std::vector<std::string>());
  clinic.folder.Put("rig.ini", RigIni("TS-2001", 57'600));
  EXPECT_TRUE(clinic.Wrong().at(0).starts_with("error: rig TS-2001: there is no such definition in rigsetup.sqlite"));
  const auto row = store.Find("FT-857");
  config::RigRow spoilt = *row.value();
  ASSERT_TRUE(spoilt.Set("GetFreq", "000000000Z"));
  ASSERT_TRUE(store.Change(**row, spoilt).ok());
  clinic.folder.Put("rig.ini", RigIni("FT-857", 9600, "RTSON3=1\nDTRON3=1\n"));
  EXPECT_TRUE(clinic.Wrong().at(0).starts_with("warning: rig FT-857: commands that cannot be built: GetFreq"));
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(clinic.folder.path())) ++files;
  EXPECT_EQ(files, 3U) << "something was written beside the store";
}

TEST(Doctor, WorksBesideTheConsoleAndAnswersTheCommand) {
  Clinic clinic;
  clinic.inspector.devices[kTty].users = {kOther};
  Bench bench(RigIni("TS-2000"));
  bench.Start();
  std::vector<std::string> lines;
  CommandLine commands(bench.loop, bench.station, [&](const std::string& line) { lines.push_back(line); });
  ManualWorker worker;
  Doctor doctor(bench.loop, worker, clinic.Parts());
  AddDoctorCommands(commands, doctor);
  commands.Ready();
  commands.Take("doctor");
  commands.Take("rignumber 2");
  bench.loop.RunFor(10ms);
  EXPECT_EQ(lines.back(), "ok rignumber 2") << "what comes behind it does not wait";
  while (worker.WorkOnce()) bench.loop.RunFor(10ms);
  EXPECT_EQ(lines.back(), "ok doctor 1 error");
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                          [](const auto& line) { return line.starts_with("doctor error: rig port COM3: "); }),
            1);
}

}  // namespace
}  // namespace kvx::console
