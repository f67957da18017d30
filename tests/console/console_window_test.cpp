#include "console/console_window.h"

#include <QApplication>
#include <QDialog>
#include <QTest>

#include "console_fixture.h"
#include "fakes/window_hands.h"
#include "widgets/frequency_display.h"
#include "widgets/lamp_button.h"

namespace kvx::console {
namespace {

/// A station on a fake line with its console window shown.
struct Desk {
  explicit Desk(const std::string& rig = "TS-2000") : bench(RigIni(rig)) {
    bench.Start(5s);  // the rig has been asked for its levels
    window = std::make_unique<ConsoleWindow>(bench.station, appearance);
    window->show();
    (void)QTest::qWaitForWindowExposed(window.get());
    bench.port.written.clear();
  }

  template <class Widget>
  Widget* Find(const QString& name) const {
    return FindControl<Widget>(*window, name);
  }
  /// What has reached the rig since the last call, a line that is still busy included.
  std::string Written() {
    bench.station.console.Polling.Set(false);
    bench.loop.RunFor(1s);
    return std::exchange(bench.port.written, {});
  }
  std::string Click(const QString& name) {
    auto* button = Find<QPushButton>(name);
    if (!button->isEnabled()) return "greyed";
    QTest::mouseClick(button, Qt::LeftButton);
    return Written();
  }
  std::string Frequency() const { return KhzText(*bench.station.console.FreqDisp); }

  widgets::Appearance appearance;
  BenchOn<FakeSerialPort> bench;
  std::unique_ptr<ConsoleWindow> window;
};

TEST(ConsoleWindow, LampsFollowTheStationAndNotTheClick) {
  Desk desk;
  auto* usb = desk.Find<QPushButton>("Mode USB");
  auto* cw = desk.Find<QPushButton>("Mode CW");
  desk.bench.station.console.Mode.Set(" USB");
  EXPECT_TRUE(usb->isChecked());
  EXPECT_FALSE(cw->isChecked());
  desk.Click("Mode USB");
  EXPECT_TRUE(usb->isChecked());
  desk.bench.port.Lose();
  desk.bench.loop.RunFor(10ms);
  QTest::mouseClick(desk.Find<QPushButton>("Use VFO B"), Qt::LeftButton);
  EXPECT_NE(desk.bench.station.console.MsgArea->find("closed"), std::string::npos);
}

TEST(ConsoleWindow, TheWheelTunesByTheStepAnywhereAndByTheDigitOnADigit) {
  Desk desk;
  desk.Written();
  QWidget* center = desk.window->centralWidget();
  TurnWheel(*center, {5, 5}, {0, 120});
  TurnWheel(*center, {5, 5}, {0, 60});
  TurnWheel(*center, {5, 5}, {0, 60});  // half notches add up
  EXPECT_EQ(desk.Frequency(), "14000.10");
  desk.Written();
  auto* display = desk.Find<widgets::FrequencyDisplay>("Frequency");
  const int before = desk.bench.station.console.FreqDisp->hz();
  TurnWheel(*display, {display->width() / 4.0, display->height() / 2.0}, {0, 120});
  const int change = desk.bench.station.console.FreqDisp->hz() - before;
  EXPECT_TRUE(change == 100'000 || change == 10'000 || change == 1'000 || change == 1'000'000) << change;
  EXPECT_FALSE(desk.Written().empty());
}

TEST(ConsoleWindow, DigitsTypedAnywhereAreAFrequency) {
  Desk desk;
  desk.Written();
  desk.window->activateWindow();
  desk.Find<QPushButton>("Mode USB")->setFocus();
  QTest::keyClicks(QApplication::focusWidget() != nullptr ? QApplication::focusWidget() : desk.window.get(), "7");
  auto* display = desk.Find<widgets::FrequencyDisplay>("Frequency");
  QTest::keyClicks(display, "010.5");
  desk.bench.station.engine.operations.Follow({.kind = cat::Reply::Kind::kShownFrequency,
                                               .frequency = Frequency::FromKhz(14'020)});  // the rig's knob meanwhile
  QTest::keyClick(display, Qt::Key_Return);
  EXPECT_EQ(desk.Frequency(), "7010.50");
  EXPECT_EQ(desk.Written(), "FA00007010500;");
  EXPECT_EQ(KhzText(*desk.bench.station.console.Reference), "7010.50");
}

TEST(ConsoleWindow, AFunctionKeyWithoutACaptionOfItsRigHasTheTitleOfTheSettings) {
  BenchOn<FakeSerialPort> bench(RigIni("TS-2000", 38400, "F1Title=CQ\nF2Title=ANT 1\n"));
  bench.Start(5s);
  config::RigRow row = bench.station.engine.rig().row;
  EXPECT_TRUE(row.Set("F2Desc", "") && row.Set("Cap2", ""));
  ASSERT_TRUE(bench.station.engine.UseRig(config::LoadDefinition(row)));
  widgets::Appearance appearance;
  ConsoleWindow window(bench.station, appearance);
  QStringList texts;
  for (auto* button : window.findChildren<widgets::LampButton*>()) texts << button->text().simplified();
  EXPECT_TRUE(texts.contains("F1 NB")) << "its own counts more";
  EXPECT_TRUE(texts.contains("F2 ANT 1"));
}

TEST(ConsoleWindow, ShutDownBringsTheWindowsBackAndKeepsTheirPlaces) {
  Desk desk;
  bool asked = false;
  desk.window->on_close = [&] { asked = true; };
  desk.window->AddWindow("Other", {}, "other", [](QWidget* parent) {
    auto* other = new QWidget(parent, Qt::Window);
    other->resize(300, 200);
    return other;
  });
  desk.bench.folder.Put("Windows.pos", "OWN=of a window\nother=1 2\n");
  QWidget* other = desk.window->OpenWindow("other");
  other->resize(300, 250);
  other->close();
  EXPECT_EQ(ParseWindowPlaces(desk.bench.folder.Get("Windows.pos")).at("other").height, 250) << "at its own closing";
  desk.window->OpenWindow("other")->resize(300, 200);
  desk.window->resize(1100, 700);
  desk.window->close();
  EXPECT_TRUE(asked);
  desk.bench.ShutDown();
  EXPECT_FALSE(other->isVisible());
  const auto file = desk.bench.station.ReadFile("Windows.pos");
  ASSERT_TRUE(file.ok());
  const WindowPlaces places = ParseWindowPlaces(*file);
  ASSERT_EQ(places.size(), 2U);
  EXPECT_EQ(places.at("console").width, 1100);
  EXPECT_EQ(places.at("other").height, 200);
  EXPECT_TRUE(file->ends_with("\nOWN=of a window\n")) << *file;
}

TEST(ConsoleWindow, EscapeReleasesTheTransmitterInEveryWindowAndStillDoesWhatItDoesThere) {
  Desk desk;
  auto* dialog = new QDialog(desk.window.get());
  dialog->show();
  auto* display = desk.Find<widgets::FrequencyDisplay>("Frequency");
  for (QWidget* focused : std::initializer_list<QWidget*>{desk.window.get(), display, dialog}) {
    desk.bench.station.engine.dispatcher.SendData("XSETALPHA");
    ASSERT_TRUE(*desk.bench.station.console.Transmitting);
    desk.Written();
    focused->activateWindow();
    QCoreApplication::processEvents();
    if (focused == display) QTest::keyClicks(display, "7");
    QTest::keyClick(focused, Qt::Key_Escape);
    EXPECT_FALSE(*desk.bench.station.console.Transmitting);
    EXPECT_NE(desk.Written().find("RX;"), std::string::npos) << focused->metaObject()->className();
  }
  EXPECT_FALSE(dialog->isVisible()) << "it is closed as ever";
}

TEST(ConsoleWindow, TheEndWaitsForTheAnswerOfAWindowWithEdits) {
  Desk desk;
  int ended = 0;
  std::function<void()> go_on;
  desk.window->on_close = [&] { ++ended; };
  desk.window->AddQuestionBeforeEnd([&](std::function<void()> then) { go_on = std::move(then); });
  desk.window->close();
  EXPECT_EQ(ended, 0);
  go_on();
  EXPECT_EQ(ended, 1);
}

TEST(ConsoleWindow, TheWheelOverAGreyedControlTunesNothing) {
  Desk desk;
  desk.Written();
  auto* greyed = desk.Find<QPushButton>("Drain current meter");
  ASSERT_FALSE(greyed->isEnabled());
  QWidget* center = desk.window->centralWidget();
  TurnWheel(*center, greyed->mapTo(center, greyed->rect().center()), {0, 120});
  EXPECT_EQ(desk.Written(), "");
}

TEST(WindowPlaces, SurviveWhatTheirFileMayHold) {
  const WindowPlaces places{{"console", {-10, 20, 1280, 800, true}}, {"setup", {1, 2, 300, 400, false}}};
  EXPECT_EQ(ParseWindowPlaces(FormatWindowPlaces(places)), places);
  for (const char* damaged : {"", "=1 2 300 400", "a=1 2 300", "a=1 2 3 4 normal", "a=x y z w", "a=1 2 999999999 400",
                              "a\n\n==\n", "\x01\xff"}) {
    EXPECT_TRUE(ParseWindowPlaces(damaged).empty()) << damaged;
  }
}

}  // namespace
}  // namespace kvx::console
