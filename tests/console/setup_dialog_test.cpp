#include "console/setup_dialog.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>
#include <QTreeWidget>

#include <algorithm>

#include "console_fixture.h"
#include "fakes/fake_device_list.h"
#include "fakes/window_hands.h"

namespace kvx::console {
namespace {

/// The open dialog on a started station with a fake port.
struct DialogBench {
  explicit DialogBench(const std::string& ini = RigIni("TS-2000"), SetupDialog::Page page = SetupDialog::kRig)
      : bench(ini) {
    devices.devices = {{"/dev/serial/by-id/usb-FTDI_X", "/dev/ttyUSB0", "FTDI FT232R"}};
    bench.StartQuiet();
    dialog.Open(page);
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
  }
  template <class Control>
  Control* Find(const QString& name) {
    return FindControl<Control>(dialog, name);
  }
  /// Where the button begins: a check box takes clicks on its box and its text only.
  void Click(const QString& name) {
    auto* button = Find<QAbstractButton>(name);
    QTest::mouseClick(button, Qt::LeftButton, {}, {button->height() / 2, button->height() / 2});
  }
  void Type(QWidget* control, const QString& text) {
    control->setFocus();
    QTest::keyClick(control, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(control, text);
  }
  /// Whether a visible label says that, in that role.
  bool Says(const QString& text, const QString& role) {
    const auto labels = dialog.findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
      return label->isVisible() && label->text().contains(text) && label->property("role").toString() == role;
    });
  }
  bool Ini(const std::string& line) const {
    return ("\n" + bench.folder.Get("rig.ini")).find("\n" + line + "\n") != std::string::npos;
  }

  Bench bench;
  FakeDeviceList devices;
  StationSetup setup{bench.loop, bench.station, bench.files, devices};
  widgets::Appearance appearance;
  SetupDialog dialog{setup, appearance};
};

TEST(SetupDialog, ARigIsFoundByTypingAndUsedByEnter) {
  DialogBench bench;
  auto* search = bench.Find<QLineEdit>("Search");
  bench.Type(search, "yaesu ft");
  QTest::keyClick(search, Qt::Key_Down);
  QTest::keyClick(search, Qt::Key_Up);
  bench.Type(search, "ft857");
  QTest::keyClick(search, Qt::Key_Return);
  EXPECT_EQ(*bench.bench.station.console.RigName, "FT-857");
  EXPECT_TRUE(bench.Ini("XRIG=FT-857"));
  EXPECT_TRUE(bench.Says("FT-857 is in use", "quiet"));
  auto* rigs = bench.Find<QTreeWidget>("Rigs by maker");
  EXPECT_EQ(rigs->topLevelItem(0)->text(0), "Yaesu");
  EXPECT_EQ(rigs->topLevelItem(0)->child(0)->text(1), "in use");
  bench.Type(search, "nosuch");
  QTest::keyClick(search, Qt::Key_Return);
  EXPECT_TRUE(bench.Says("Mark a rig", "error"));
}

TEST(SetupDialog, ADoubleClickUsesTheRig) {
  DialogBench bench;
  auto* rigs = bench.Find<QTreeWidget>("Rigs by maker");
  QTreeWidgetItem* item = rigs->findItems("IC-7300", Qt::MatchExactly | Qt::MatchRecursive).value(0);
  ASSERT_NE(item, nullptr);
  rigs->scrollToItem(item);
  const QPoint place = rigs->visualItemRect(item).center();
  QTest::mouseClick(rigs->viewport(), Qt::LeftButton, {}, place);
  QTest::mouseDClick(rigs->viewport(), Qt::LeftButton, {}, place);
  EXPECT_EQ(*bench.bench.station.console.RigName, "IC-7300");
  auto* address = bench.Find<QComboBox>("Rig address");
  EXPECT_EQ(address->currentText(), "1: 94");
}

TEST(SetupDialog, AFirstStartOffersTheSimulatedStationUntilThereIsARig) {
  DialogBench bench("");
  bool simulated = false;
  bool edited = false;
  bench.dialog.on_use_simulated_rig = [&] { simulated = true; };
  bench.dialog.on_edit_definition = [&] { edited = true; };
  bench.Click("Try the simulated station");
  bench.Click("Edit this definition...");
  EXPECT_TRUE(simulated);
  EXPECT_TRUE(edited);
  EXPECT_TRUE(bench.Says("No rig yet", "caption"));
  ASSERT_TRUE(bench.bench.station.ChooseRig("TS-2000").ok());
  EXPECT_FALSE(bench.Says("No rig yet", "caption"));
}

TEST(SetupDialog, SavedRigsAreStoredUsedAndCleared) {
  DialogBench bench;
  auto* saved = bench.Find<QTableWidget>("Saved rigs 1 to 8");
  saved->setFocus();
  QTest::keyClick(saved, Qt::Key_Down);
  QTest::keyClick(saved, Qt::Key_Down);
  bench.Click("Store here");
  EXPECT_TRUE(bench.Ini("RIG 3=TS-2000"));
  EXPECT_EQ(saved->item(2, 0)->text(), "TS-2000");
  bench.Click("No rig");
  EXPECT_EQ(*bench.bench.station.console.RigName, "NONE");
  bench.Click("Use saved rig");
  EXPECT_EQ(*bench.bench.station.console.RigName, "TS-2000");
  bench.Click("Clear");
  EXPECT_TRUE(bench.Ini("RIG 3="));
  bench.Click("Use saved rig");
  EXPECT_TRUE(bench.Says("saved rig 3 is empty", "error"));
}

TEST(SetupDialog, SavedRigsThatChangeElsewhereAreFollowedAndAHiddenPageCatchesUp) {
  DialogBench bench;
  auto* saved = bench.Find<QTableWidget>("Saved rigs 1 to 8");
  ASSERT_TRUE(bench.setup.StoreSavedRig(4).ok());
  EXPECT_EQ(saved->item(3, 0)->text(), "TS-2000");
  bench.dialog.close();
  ASSERT_TRUE(bench.setup.ClearSavedRig(4).ok());
  ASSERT_TRUE(bench.bench.station.ChooseRig("IC-7300").ok());
  EXPECT_EQ(saved->item(3, 0)->text(), "TS-2000") << "a closed dialog does not work";
  bench.dialog.Open(SetupDialog::kRig);
  EXPECT_EQ(saved->item(3, 0)->text(), "empty");
  EXPECT_EQ(bench.Find<QComboBox>("Rig address")->currentText(), "1: 94");
}

TEST(SetupDialog, ThePortCountsWhenItIsApplied) {
  DialogBench bench(RigIni("TS-2000"), SetupDialog::kPort);
  auto* device = bench.Find<QComboBox>("Device");
  EXPECT_EQ(device->currentText(), "/dev/ttyS2");
  QTest::keyClick(device, Qt::Key_Down);
  EXPECT_EQ(device->currentText(), "/dev/serial/by-id/usb-FTDI_X") << "the device itself, not its description";
  EXPECT_TRUE(bench.Says("FTDI FT232R, now /dev/ttyUSB0", "quiet"));
  bench.Type(bench.Find<QComboBox>("Speed")->lineEdit(), "57600");
  bench.Click("Raise RTS");
  EXPECT_EQ(bench.bench.folder.Get("ports.ini"), "");
  EXPECT_TRUE(bench.Ini("RIGSPEED= 38400"));
  bench.Click("Apply");
  EXPECT_EQ(bench.bench.folder.Get("ports.ini"), "COM3=/dev/serial/by-id/usb-FTDI_X\n");
  EXPECT_TRUE(bench.Ini("RIGSPEED= 57600"));
  EXPECT_TRUE(bench.Ini("RTSON3=1"));
  EXPECT_TRUE(bench.bench.port.opened.rts);
  bench.Type(bench.Find<QComboBox>("Speed")->lineEdit(), "12");
  bench.Click("Apply");
  EXPECT_TRUE(bench.Says("300 to 4000000", "error"));
  EXPECT_TRUE(bench.Ini("RIGSPEED= 57600"));
}

TEST(SetupDialog, WhatIsBeingTypedSurvivesThePortsComingAndGoing) {
  DialogBench bench(RigIni("TS-2000"), SetupDialog::kPort);
  EXPECT_TRUE(bench.Says("COM3  38400 Bd  open", "title"));
  auto* device = bench.Find<QComboBox>("Device");
  bench.Type(device->lineEdit(), "tcp:shack");
  bench.bench.port.absent = true;
  bench.bench.port.Lose();
  EXPECT_TRUE(bench.Says("the device has gone", "error"));
  bench.bench.port.absent = false;
  bench.bench.loop.RunFor(3s);
  EXPECT_TRUE(bench.Says("COM3  38400 Bd  open", "title"));
  EXPECT_EQ(device->currentText(), "tcp:shack");
}

TEST(SetupDialog, TheTestAppliesWhatIsNewAndShowsWhatTheRigSaid) {
  DialogBench bench(RigIni("TS-2000"), SetupDialog::kPort);
  bench.bench.port.on_write = [&](std::string_view bytes) {
    if (bytes == "FA;")
      bench.bench.loop.StartTimer(bench.bench.loop.Now() + 20ms, [&] { bench.bench.port.Arrive("FA00014025000;"); });
  };
  bench.Click("Test");
  EXPECT_TRUE(bench.Says("Asking the rig", "quiet"));
  bench.bench.loop.RunFor(3s);
  EXPECT_TRUE(bench.Says("COM3: the rig answers, 14025.00 kHz (14 bytes in 20 ms)", "title"));
  bench.bench.port.on_write = {};
  bench.Type(bench.Find<QComboBox>("Speed")->lineEdit(), "4800");
  bench.Click("Apply and test");
  bench.bench.loop.RunFor(5s);
  EXPECT_TRUE(bench.Says("no answer within 2 seconds: is the rig on, the cable right, the speed 4800?", "error"));
  bench.Click("Test");
  bench.dialog.close();  // while it is running
}

TEST(SetupDialog, ChoosingARigFillsThePortInAndApplyingMakesItCount) {
  DialogBench bench;
  bench.bench.folder.Put("rig_setups.csv",
                         "RigName,Speed,StopBits,DTR,RTS,Address,Digits,Ranges,Replies\n"
                         "TS-850S,4800,2,on,off,,11,0.1-30,frequency mode meter\n");
  auto* search = bench.Find<QLineEdit>("Search");
  bench.Type(search, "ts850");
  QTest::keyClick(search, Qt::Key_Return);
  EXPECT_TRUE(bench.Ini("RIGSPEED= 38400")) << "nothing counts before it is applied";
  bench.dialog.Open(SetupDialog::kPort);
  EXPECT_EQ(bench.Find<QComboBox>("Speed")->currentText(), "4800");
  EXPECT_EQ(bench.Find<QComboBox>("Stop bits")->currentText(), "2");
  EXPECT_TRUE(bench.Find<QCheckBox>("Raise DTR")->isChecked());
  EXPECT_FALSE(bench.Find<QCheckBox>("Raise RTS")->isChecked());
  bench.Click("Apply");
  for (const char* line : {"RIGSPEED= 4800", "RIGSTOP=2", "DTRON3=1", "XRIG=TS-850S"})
    EXPECT_TRUE(bench.Ini(line)) << line;
  bench.Type(bench.Find<QComboBox>("Speed")->lineEdit(), "9600");
  bench.Click("Usual for this rig");
  EXPECT_EQ(bench.Find<QComboBox>("Speed")->currentText(), "4800");
}

TEST(SetupDialog, StationSettingsCountAtOnce) {
  DialogBench bench(RigIni("TS-2000"), SetupDialog::kStation);
  QTest::keyClick(bench.Find<QComboBox>("IARU region"), Qt::Key_Down);
  EXPECT_TRUE(bench.Ini("BANDPLAN= 3"));
  auto* interval = bench.Find<QSpinBox>("Poll interval");
  bench.Type(interval, "120");
  EXPECT_FALSE(bench.Ini("POLLTIME= 12")) << "not while it is being typed";
  QTest::keyClick(interval, Qt::Key_Return);
  EXPECT_TRUE(bench.Ini("POLLTIME= 120"));
  QTest::keyClick(bench.Find<QComboBox>("UTC clock"), Qt::Key_End);
  EXPECT_TRUE(bench.Ini("GMT= 14"));
  auto* offset = bench.Find<QLineEdit>("Frequency offset");
  bench.Type(offset, "-116000");
  QTest::keyClick(offset, Qt::Key_Return);
  EXPECT_TRUE(bench.Ini("PDOFFSET=-116000"));
  bench.Type(offset, "high");
  QTest::keyClick(offset, Qt::Key_Return);
  EXPECT_TRUE(bench.Says("The offset is a number of kHz", "error"));
}

TEST(SetupDialog, KeyerAndLinkSettingsAreKeptOneByOne) {
  DialogBench bench(RigIni("TS-2000", 38400, "PIN5= 1\nKEYERPORT 2=COM12\nIGNOREPOT=True\n"), SetupDialog::kKeyer);
  EXPECT_FALSE(bench.Says("not part of this version yet", "quiet"));
  EXPECT_EQ(bench.Find<QComboBox>("Pin 5")->currentText(), "PTT");
  EXPECT_TRUE(bench.Find<QCheckBox>("Ignore the speed potentiometer")->isChecked());
  auto* tone = bench.Find<QLineEdit>("Side tone of the WinKeyer");
  bench.Type(tone, "5");
  EXPECT_FALSE(bench.Ini("SIDETONE= 5")) << "not while it is being typed";
  QTest::keyClick(tone, Qt::Key_Tab);
  EXPECT_TRUE(bench.Ini("SIDETONE= 5"));
  EXPECT_TRUE(bench.Says("SIDETONE is kept", "quiet"));
  bench.Type(tone, "999");
  QTest::keyClick(tone, Qt::Key_Return);
  EXPECT_TRUE(bench.Says("SIDETONE is a whole number from 0 to 255", "error"));
  EXPECT_EQ(tone->text(), "999") << "to be corrected";
  QTest::keyClick(bench.Find<QCheckBox>("Speed adjustment"), Qt::Key_Space);
  EXPECT_TRUE(bench.Ini("XPADJUST=YES"));
  bench.Click("Swap the paddles");
  bench.Click("Ignore the speed potentiometer");
  EXPECT_TRUE(bench.Ini("REVPADDLE=True") && bench.Ini("IGNOREPOT=False"));
  EXPECT_EQ(tone->text(), "999");
  bench.dialog.Open(SetupDialog::kLinks);
  auto* host = bench.Find<QLineEdit>("Host");
  bench.Type(host, "dx.example.org");
  QTest::keyClick(host, Qt::Key_Return);
  EXPECT_TRUE(bench.Ini("HOSTNAME=dx.example.org"));
  bench.dialog.Open(SetupDialog::kKeyer);
  EXPECT_EQ(tone->text(), "5");
  EXPECT_TRUE(bench.Ini("PIN5= 1")) << "what was not touched";
}

TEST(SetupDialog, AWinkeyerIsChosenOnceItsOutputIsAndTried) {
  DialogBench bench(RigIni("TS-2000", 38400, "PADDLECOM= 5\n"), SetupDialog::kKeyer);
  auto* kind = bench.Find<QComboBox>("What sends CW");
  QStringList captions;
  for (int i = 0; i < kind->count(); ++i) captions << kind->itemText(i);
  EXPECT_EQ(
      captions.join("|"),
      "none|WinKeyer|COM 1|COM 2|COM 3|COM 4|Com 5|Com 6|Com 7|Com 8|L P T 1|L P T 2|Use Rig Port|Rig's own keyer");
  bench.Click("Test");
  EXPECT_TRUE(bench.Says("Please select a keyer port in the config setup.", "error"));
  kind->setFocus();
  QTest::keyClick(kind, Qt::Key_Down);
  EXPECT_TRUE(bench.Says("Please select Winkey KEY1 or KEY2", "error"));
  EXPECT_FALSE(bench.Ini("KEYERPORT=WINKEY"));
  bench.Click("KEY1");
  EXPECT_TRUE(bench.Ini("KEYERPORT=WINKEY")) << "what had been refused";
  auto* device = bench.Find<QComboBox>("Device");
  bench.Type(device->lineEdit(), "/dev/ttyUSB7");
  QTest::keyClick(device->lineEdit(), Qt::Key_Return);
  EXPECT_NE(bench.bench.folder.Get("ports.ini").find("COM5=/dev/ttyUSB7"), std::string::npos);
  bench.bench.AnswerAsWinkey();
  bench.Click("Test");
  bench.bench.loop.RunFor(4s);
  EXPECT_TRUE(bench.Says("The WinKeyer answers, version 23", "title"));
  bench.bench.keyer_port.on_write = nullptr;
  bench.Click("Test");
  bench.bench.loop.RunFor(5s);
  EXPECT_TRUE(bench.Says("Unable to initialize Winkey", "error"));
}

TEST(SetupDialog, AKeyerPortIsChosenButNotTheRigPort) {
  DialogBench bench(RigIni("TS-2000", 38400, "KEYERPORT 2=COM12\nWINKEY1= 1\n"), SetupDialog::kKeyer);
  auto* port = bench.Find<QComboBox>("Saved rig 2");
  EXPECT_EQ(port->currentText(), "COM12");
  EXPECT_EQ(port->itemText(2), "COM 1");
  port->setFocus();
  QTest::keyClick(port, Qt::Key_Home);
  EXPECT_TRUE(bench.Ini("KEYERPORT 2=NONE"));
  EXPECT_LT(port->findText("COM12"), 0);
  for (const char* next : {"WINKEY", "COM1", "COM2"}) {
    QTest::keyClick(port, Qt::Key_Down);
    EXPECT_TRUE(bench.Ini(std::string("KEYERPORT 2=") + next)) << next;
  }
  QTest::keyClick(port, Qt::Key_Down);
  EXPECT_TRUE(bench.Says("You can not set the keyer port the same as the rig port", "error"));
  EXPECT_TRUE(bench.Ini("KEYERPORT 2=COM2"));
  QTest::keyClick(port, Qt::Key_Down);
  EXPECT_TRUE(bench.Ini("KEYERPORT 2=COM4"));
}

TEST(SetupDialog, TheAppearanceIsChosenByMouseAndKeyboard) {
  DialogBench bench(RigIni("TS-2000"), SetupDialog::kAppearance);
  const Console& console = bench.bench.station.console;
  bench.Click("Light");
  EXPECT_EQ(*console.Theme, "light");
  QTest::keyClick(&bench.dialog, Qt::Key_H, Qt::AltModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return *console.Theme == "contrast"; }, 1000)) << *console.Theme;
  auto* size = bench.Find<QSlider>("Text size");
  QTest::keyClick(size, Qt::Key_Right);
  EXPECT_EQ(*console.TextSize, 110);
  EXPECT_TRUE(bench.Ini("TEXTSIZE= 110"));
  EXPECT_EQ(bench.Find<QSpinBox>("Percent")->value(), 110);
  bench.Click("Body...");
  auto* colors = bench.dialog.findChild<QColorDialog*>();
  ASSERT_NE(colors, nullptr);
  colors->setCurrentColor("#102030");
  colors->accept();
  EXPECT_TRUE(bench.Ini("BODYCOLOR= 3153936"));
}

TEST(SetupDialog, TheWheelScrollsThePageAndChangesNothingOnItsWay) {
  DialogBench bench(RigIni("TS-2000"), SetupDialog::kStation);
  auto* interval = bench.Find<QSpinBox>("Poll interval");
  bench.Find<QComboBox>("IARU region")->setFocus();
  TurnWheel(*interval, interval->rect().center(), {0, 120});
  EXPECT_EQ(interval->value(), 50);
}

TEST(SetupDialog, AnnouncementsAreSwitchedAndTried) {
  DialogBench bench(RigIni("TS-2000"), SetupDialog::kAnnouncements);
  QString spoken;
  bench.dialog.on_speak = [&](const QString& sentence) { spoken = sentence; };
  QTest::keyClick(bench.Find<QCheckBox>("Announce what changes"), Qt::Key_Space);
  EXPECT_TRUE(*bench.bench.station.console.Announce);
  EXPECT_TRUE(bench.Ini("ANNOUNCEMENTS=1"));
  bench.Click("Say something");
  EXPECT_EQ(spoken, "14000.00 kilohertz, CW");
}

}  // namespace
}  // namespace kvx::console
