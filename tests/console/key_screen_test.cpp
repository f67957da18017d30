#include "console/key_screen.h"

#include <QApplication>
#include <QClipboard>
#include <QInputDialog>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>

#include "console/escape_release.h"
#include "console_fixture.h"
#include "fakes/fake_device_list.h"
#include "fakes/fake_sound_output.h"
#include "fakes/window_hands.h"

namespace kvx::console {
namespace {

const std::string kWinkey = "KEYERPORT=WINKEY\nPADDLECOM= 5\nWINKEY1= 1\nCWSPEED= 20\nTUNETIME= 8\n";

/// The send window on the screen, on a station with a WinKeyer that answers.
struct KeyBench {
  explicit KeyBench(const std::string& ini = kWinkey) : bench(RigIni("TS-2000", 38400, ini)) {
    bench.AnswerAsWinkey();
    appearance.Use(widgets::MakeTheme("dark"), 100);
    bench.StartQuiet();
    bench.keyer_port.written.clear();
    ShowActive(window);
    EXPECT_TRUE(text->hasFocus()) << "one can type at once";
  }
  template <class Control>
  Control* Find(const QString& name) {
    return FindControl<Control>(window, name);
  }
  QPushButton* Function(int number) {
    for (auto* button : window.findChildren<QPushButton*>()) {
      if (button->accessibleName().startsWith(QString("Function %1:").arg(number))) return button;
    }
    return nullptr;
  }
  std::string Written() { return std::exchange(bench.keyer_port.written, {}); }
  std::string Message() { return *bench.station.console.MsgArea; }
  /// The text of the box whose background is that colour, or whose ink is when there is none.
  QString Colored(const QColor& color) {
    QString found;
    for (auto it = text->document()->begin().begin(); !it.atEnd(); ++it) {
      const QTextCharFormat format = it.fragment().charFormat();
      const bool marked = format.background().style() != Qt::NoBrush;
      if ((marked ? format.background() : format.foreground()).color() == color) found += it.fragment().text();
    }
    return found;
  }

  Bench bench;
  FakeDeviceList devices;
  FakeSoundOutput sound{bench.loop};
  StationSetup setup{bench.loop, bench.station, bench.files, devices};
  LocalTone tone{bench.loop, bench.files, setup, &sound};
  widgets::Appearance appearance;
  EscapeRelease escape{bench.station};
  KeyScreen window{bench.station, bench.loop, &tone, appearance};
  CWText* text = window.findChild<CWText*>("CWText");
};

TEST(KeyScreen, WhatIsTypedIsSentWhileItIsTypedAndBackspaceTakesBackWhatWaits) {
  KeyBench bench;
  QTest::keyClicks(bench.text, "cq test de aa1bb");
  EXPECT_EQ(bench.text->toPlainText(), "CQ TEST DE AA1BB");
  EXPECT_EQ(bench.Colored(bench.appearance.theme().accent), "C") << "it is being sent";
  EXPECT_EQ(bench.Colored(bench.appearance.theme().digits), "Q TEST DE AA1BB");
  for (int i = 0; i < 3; ++i) QTest::keyClick(bench.text, Qt::Key_Backspace);
  EXPECT_EQ(bench.text->toPlainText(), "CQ TEST DE AA");
  bench.bench.loop.RunFor(3s);
  const QColor quiet = widgets::QuietInkOn(bench.appearance.theme().screen, bench.appearance.theme().digits);
  EXPECT_TRUE(bench.Colored(quiet).startsWith("CQ ")) << bench.Colored(quiet).toStdString();
  EXPECT_EQ(bench.Colored(quiet) + bench.Colored(bench.appearance.theme().accent) +
                bench.Colored(bench.appearance.theme().digits),
            "CQ TEST DE AA");
  bench.bench.loop.RunFor(20s);
  EXPECT_EQ(bench.Written(), "CQ TEST DE AA");
  for (int i = 0; i < 5; ++i) QTest::keyClick(bench.text, Qt::Key_Backspace);
  QTest::keyClick(bench.text, Qt::Key_Delete);
  EXPECT_EQ(bench.text->toPlainText(), "CQ TEST DE AA") << "what has been sent stays";
}

TEST(KeyScreen, ReturnIsABlankAndPasteSendsAll) {
  KeyBench bench;
  QTest::keyClicks(bench.text, "K");
  QTest::keyClick(bench.text, Qt::Key_Return);
  QApplication::clipboard()->setText(QString::fromUtf8("de\nm\xC3\xBC <ar>"));
  QTest::keyClick(bench.text, Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(bench.text->toPlainText(), "K DE MUE <AR>");
  QTest::keyClick(bench.text, Qt::Key_X, Qt::ControlModifier);
  QTest::keyClick(bench.text, Qt::Key_Z, Qt::ControlModifier);
  bench.text->insertPlainText(" ok");  // as assistive technology does
  EXPECT_EQ(bench.text->toPlainText(), "K DE MUE <AR> OK");
  bench.text->moveCursor(QTextCursor::Start);
  bench.text->insertPlainText("x");
  EXPECT_EQ(bench.text->toPlainText(), "K DE MUE <AR> OK") << "nothing comes before what is there";
  bench.bench.loop.RunFor(30s);
  EXPECT_EQ(bench.Written(),
            "K DE MUE \x1B"
            "AR OK");
}

TEST(KeyScreen, ASignOfLettersRunTogetherWaitsForItsEnd) {
  KeyBench bench;
  QTest::keyClicks(bench.text, "e<sx");
  EXPECT_EQ(bench.text->toPlainText(), "E<sx");
  QTest::keyClick(bench.text, Qt::Key_Backspace);
  QTest::keyClicks(bench.text, "k>");
  EXPECT_EQ(bench.text->toPlainText(), "E<SK>");
  bench.bench.loop.RunFor(5s);
  EXPECT_EQ(bench.Written(), "E\x1BSK");
}

TEST(KeyScreen, EscapeStopsAtOnceAndPauseHolds) {
  KeyBench bench;
  QTest::keyClicks(bench.text, "PARIS PARIS PARIS");
  bench.bench.loop.RunFor(1s);
  QTest::keyClick(&bench.window, Qt::Key_P, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor(
      [&] { return bench.Find<QPushButton>("Pause after the sign being sent, or go on")->isChecked(); }));
  bench.bench.loop.RunFor(10s);
  const std::string before = bench.Written();
  EXPECT_LT(before.size(), 12U);
  bench.bench.loop.RunFor(10s);
  EXPECT_EQ(bench.Written(), "");
  QTest::keyClick(&bench.window, Qt::Key_P, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return bench.bench.station.keyer.sender().current() != ""; }));
  bench.bench.loop.RunFor(1ms);
  EXPECT_NE(bench.Written(), "");
  QTest::keyClick(bench.text, Qt::Key_Escape);
  const std::string clear = bench.Written();
  EXPECT_EQ(clear, std::string(clear.size(), '\x0A'));
  EXPECT_FALSE(clear.empty());
  EXPECT_FALSE(bench.bench.station.keyer.sender().sending());
  bench.bench.loop.RunFor(10s);
  EXPECT_EQ(bench.Written(), "");
}

TEST(KeyScreen, AFunctionButtonSendsItsTextWithMacrosButNotItsTitle) {
  KeyBench bench;
  QTest::keyClicks(bench.Find<QLineEdit>("Call"), "dl1abc");
  QTest::keyClicks(bench.Find<QLineEdit>("My call"), "aa1bb");
  bench.Find<QSpinBox>("Number")->setValue(7);
  ASSERT_TRUE(bench.bench.station.keyer.functions.SetText(4, "NR {CALL} {RST} {NR+}").ok());
  EXPECT_EQ(bench.Function(4)->text(), "F4  NR");
  bench.Function(4)->setFocus();
  EXPECT_EQ(bench.Find<QLabel>("What would be sent")->text(), "DL1ABC 599 007");
  QTest::mouseClick(bench.Function(4), Qt::LeftButton);
  bench.bench.loop.RunFor(30s);
  EXPECT_EQ(bench.Written(), "DL1ABC 599 007");
  EXPECT_EQ(bench.Find<QSpinBox>("Number")->value(), 8);
  QTest::keyClick(&bench.window, Qt::Key_F4);
  EXPECT_TRUE(QTest::qWaitFor([&] { return bench.bench.station.keyer.sender().sending(); }));
  bench.bench.loop.RunFor(30s);
  EXPECT_EQ(bench.Written(), "DL1ABC 599 008");
  ASSERT_TRUE(bench.bench.station.keyer.functions.SetText(5, "XX {WHAT}").ok());
  QTest::mouseClick(bench.Function(5), Qt::LeftButton);
  EXPECT_NE(bench.Message().find("{WHAT}"), std::string::npos) << bench.Message();
  bench.bench.loop.RunFor(3s);
  EXPECT_EQ(bench.Written(), "");
}

TEST(KeyScreen, TheRightButtonEditsAFunction) {
  KeyBench bench;
  QWidget* button = bench.Function(6);
  QContextMenuEvent menu(QContextMenuEvent::Keyboard, {3, 3}, button->mapToGlobal(QPoint(3, 3)));
  QCoreApplication::sendEvent(button, &menu);
  auto* box = bench.window.findChild<QInputDialog*>();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->windowTitle(), "Enter Function");
  EXPECT_TRUE(box->labelText().contains(
      "The first three characters will be the function key title and will not be transmitted."));
  EXPECT_FALSE(box->isModal());
  box->setTextValue("TST test ee");
  box->accept();
  EXPECT_EQ(bench.Function(6)->text(), "F6  TST");
  EXPECT_NE(bench.bench.folder.Get("KeyScreen.txt").find("F6=TST test ee\n"), std::string::npos);
}

TEST(KeyScreen, TuneIsLitWithItsSecondsAndEndsByItself) {
  KeyBench bench;
  auto* tune = bench.Find<QPushButton>("Tune: hold the key down, or let it go");
  QTest::mouseClick(tune, Qt::LeftButton);
  EXPECT_EQ(bench.Written(), "\x0B\x01");
  EXPECT_TRUE(tune->isChecked());
  EXPECT_EQ(tune->text(), "TUNE 8 s");
  EXPECT_EQ(bench.Message(), "Transmitter ON");
  QTest::mouseClick(tune, Qt::LeftButton);
  EXPECT_EQ(bench.Written(), "\x0B\x00"s);
  EXPECT_EQ(bench.Message(), "Transmitter Off");
  QTest::mouseClick(tune, Qt::LeftButton);
  bench.bench.loop.RunFor(9s);
  EXPECT_EQ(bench.Written(), "\x0B\x01\x0B\x00"s);
  EXPECT_FALSE(tune->isChecked());
  EXPECT_EQ(tune->text(), "TUNE");
}

TEST(KeyScreen, WithoutAKeyerItSaysWhatToDo) {
  KeyBench bench("");
  QTest::mouseClick(bench.Find<QPushButton>("Tune: hold the key down, or let it go"), Qt::LeftButton);
  EXPECT_EQ(bench.Message(), "Please select a keyer port in the config setup.");
  bench.bench.station.console.MsgArea.Set("");
  QTest::keyClicks(bench.text, "e");
  EXPECT_EQ(bench.Message(), "Please select a keyer port in the config setup.");
  EXPECT_EQ(bench.text->toPlainText(), "");
}

TEST(KeyScreen, TheSpeedFollowsKeysAndWheel) {
  KeyBench bench;
  QTest::keyClick(bench.text, Qt::Key_PageUp);
  QTest::keyClick(bench.text, Qt::Key_Up, Qt::AltModifier);
  EXPECT_EQ(bench.Written(), "\x02\x15\x02\x16");
  QTest::keyClick(bench.text, Qt::Key_PageDown);
  EXPECT_EQ(*bench.bench.station.console.CWSpeed, 21);
  QWidget* place = bench.text->viewport();
  TurnWheel(*place, place->rect().center(), {0, 240}, Qt::ControlModifier);
  EXPECT_EQ(*bench.bench.station.console.CWSpeed, 23);
  EXPECT_EQ(bench.Find<QSpinBox>("Speed, words a minute")->value(), 23);
}

TEST(KeyScreen, ALineIsSentWithReturnForThoseWhoPreferThat) {
  KeyBench bench;
  auto* line = bench.Find<QLineEdit>("Line to send");
  EXPECT_FALSE(line->isVisible());
  QTest::mouseClick(bench.Find<QCheckBox>("Send on Return"), Qt::LeftButton, {}, {8, 8});
  ASSERT_TRUE(line->hasFocus());
  QTest::keyClicks(line, "ur {rst} k");
  EXPECT_EQ(bench.Written(), "");
  EXPECT_EQ(bench.Find<QLabel>("What would be sent")->text(), "ur 599 k");
  QTest::keyClick(line, Qt::Key_Return);
  EXPECT_EQ(line->text(), "");
  bench.bench.loop.RunFor(20s);
  EXPECT_EQ(bench.Written(), "UR 599 K");
  QTest::keyClicks(line, "{nonsense}");
  QTest::keyClick(line, Qt::Key_Return);
  EXPECT_EQ(line->text(), "{nonsense}") << "to be corrected";
}

TEST(KeyScreen, WhatWasSentIsListedSentAgainAndRemoved) {
  KeyBench bench;
  auto* list = bench.Find<QListWidget>("Sent before");
  for (const char* letter : {"c", "q", " ", "e"}) {  // slower than it is sent
    QTest::keyClicks(bench.text, letter);
    bench.bench.loop.RunFor(1500ms);
  }
  bench.bench.loop.RunFor(10s);
  QTest::keyClicks(bench.text, "73");
  bench.bench.loop.RunFor(10s);
  ASSERT_EQ(list->count(), 2);
  EXPECT_EQ(list->item(0)->text() + "|" + list->item(1)->text(), "CQ E|73");
  bench.Written();
  const QPoint first = list->visualItemRect(list->item(0)).center();
  QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, first);
  QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, first);
  bench.bench.loop.RunFor(10s);
  EXPECT_EQ(bench.Written(), "CQ E");
  ASSERT_EQ(list->count(), 3);
  list->setFocus();
  list->setCurrentRow(1);
  QTest::keyClick(list, Qt::Key_Delete);
  EXPECT_TRUE(QTest::qWaitFor([&] { return list->count() == 2; }));
  EXPECT_EQ(list->item(1)->text(), "CQ E");
  EXPECT_EQ(Appended("ABCDEF", "CDEFGH", 2), "GH");
  EXPECT_EQ(Appended("EEEE", "EEEE", 2), "EE");
}

TEST(KeyScreen, TheLocalSideToneIsSwitchedAndStaysOffWithoutSound) {
  KeyBench bench;
  auto* box = bench.window.findChild<QCheckBox*>("LocalCW");
  bench.sound.absent = true;
  QTest::mouseClick(box, Qt::LeftButton, {}, {8, 8});
  EXPECT_FALSE(box->isChecked());
  EXPECT_EQ(bench.Message(), "There is no sound output");
  bench.sound.absent = false;
  QTest::mouseClick(box, Qt::LeftButton, {}, {8, 8});
  EXPECT_TRUE(box->isChecked());
  EXPECT_NE(bench.bench.folder.Get("rig.ini").find("LOCALCW=True"), std::string::npos);
  QTest::keyClicks(bench.text, "e");
  bench.bench.loop.RunFor(1s);
  EXPECT_FALSE(bench.sound.played.empty());
  QTest::mouseClick(box, Qt::LeftButton, {}, {8, 8});
  EXPECT_FALSE(bench.sound.is_open());
  EXPECT_EQ(bench.bench.folder.Get("cw.wav").substr(0, 4), "RIFF");
}

TEST(KeyScreen, AFailedKeyerIsStartedAnew) {
  KeyBench bench;
  bench.bench.keyer_port.Lose();
  bench.bench.keyer_port.absent = true;
  bench.bench.loop.RunFor(5s);
  auto* start = bench.Find<QPushButton>("Start keyer");
  EXPECT_TRUE(start->isVisible());
  EXPECT_FALSE(bench.Find<QLabel>("Keyer")->accessibleDescription().contains("ready"));
  bench.bench.keyer_port.absent = false;
  QTest::mouseClick(start, Qt::LeftButton);
  bench.bench.loop.RunFor(5s);
  EXPECT_FALSE(start->isVisible());
  EXPECT_EQ(bench.Find<QLabel>("Keyer")->accessibleDescription(), "WinKeyer ready");
}

}  // namespace
}  // namespace kvx::console
