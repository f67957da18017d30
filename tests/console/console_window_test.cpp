#include "console/console_window.h"

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QScrollArea>
#include <QTest>
#include <QWheelEvent>

#include "console_fixture.h"
#include "widgets/band_chart.h"
#include "widgets/frequency_display.h"
#include "widgets/slider_column.h"
#include "widgets/tuning_knob.h"

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
    for (Widget* widget : window->findChildren<Widget*>()) {
      if (widget->accessibleName() == name) return widget;
    }
    ADD_FAILURE() << "no control is named " << name.toStdString();
    return nullptr;
  }
  /// What has reached the rig since the last call, a line that is still busy included.
  std::string Written() {
    bench.station.console.Polling.Set(false);
    bench.loop.RunFor(1s);
    return std::exchange(bench.port.written, {});
  }
  std::string Click(const QString& name) {
    auto* button = Find<QPushButton>(name);
    if (button == nullptr || !button->isEnabled()) return "greyed";
    QTest::mouseClick(button, Qt::LeftButton);
    return Written();
  }
  std::string Frequency() const { return KhzText(*bench.station.console.FreqDisp); }

  widgets::Appearance appearance;
  BenchOn<FakeSerialPort> bench;
  std::unique_ptr<ConsoleWindow> window;
};

void Wheel(QWidget& widget, const QPoint& at, int eighths) {
  QWheelEvent event(at, widget.mapToGlobal(at), {}, {0, eighths}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                    false);
  QCoreApplication::sendEvent(&widget, &event);
}

TEST(ConsoleWindow, EveryButtonEndsInItsBytesAtTheRig) {
  Desk desk;
  desk.Written();
  struct Row {
    QString name;
    std::string bytes;
  };
  for (const Row& row : {
           Row{"Mode USB", "MD2;"},
           Row{"Mode AM", "MD5;"},
           Row{"Use VFO B", "FR1;FT1;FB;"},
           Row{"Use VFO A", "FR0;FT0;FA;"},
           Row{"Band 40 metres", "MD3;FA00007000000;"},
           Row{"Band 902 MHz", "MD3;FA00902000000;"},
           Row{"RIT on or off", "RT1;"},
           Row{"Standing wave meter", "RM1;"},
           Row{"Drain current meter", "greyed"},
           Row{"Function key 1: NB", "NB1;"},
           Row{"Function key 1: NB", "NB0;"},
       }) {
    EXPECT_EQ(desk.Click(row.name), row.bytes) << row.name.toStdString();
  }
}

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
  Wheel(*center, {5, 5}, 120);
  Wheel(*center, {5, 5}, 60);
  Wheel(*center, {5, 5}, 60);  // half notches add up
  EXPECT_EQ(desk.Frequency(), "14000.10");
  desk.Written();
  auto* display = desk.Find<widgets::FrequencyDisplay>("Frequency");
  const int before = desk.bench.station.console.FreqDisp->hz();
  Wheel(*display, {display->width() / 4, display->height() / 2}, 120);
  const int change = desk.bench.station.console.FreqDisp->hz() - before;
  EXPECT_TRUE(change == 100'000 || change == 10'000 || change == 1'000 || change == 1'000'000) << change;
  EXPECT_FALSE(desk.Written().empty());
}

TEST(ConsoleWindow, ADragOnTheKnobSendsTheLastFrequency) {
  Desk desk;
  desk.Written();
  auto* knob = desk.window->findChild<widgets::TuningKnob*>();
  const QPoint middle = knob->rect().center();
  for (const auto& [button, name] : {std::pair{Qt::LeftButton, "left"}, std::pair{Qt::RightButton, "right"}}) {
    const auto before = desk.bench.station.console.FreqDisp->decihertz;
    QTest::mousePress(knob, button, {}, middle);
    for (int x = 1; x <= 40; ++x) {
      QMouseEvent move(QEvent::MouseMove, middle + QPoint(x, 0), knob->mapToGlobal(middle + QPoint(x, 0)), Qt::NoButton,
                       button, Qt::NoModifier);
      QCoreApplication::sendEvent(knob, &move);
    }
    QTest::mouseRelease(knob, button, {}, middle + QPoint(40, 0));
    EXPECT_GT(desk.bench.station.console.FreqDisp->decihertz, before) << name;
    const std::string written = desk.Written();
    const std::string last = "FA000" + std::to_string(desk.bench.station.console.FreqDisp->hz()) + ";";
    EXPECT_TRUE(written.ends_with(last)) << name << " " << written;
  }
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

TEST(ConsoleWindow, AValueThatIsTypedIsTheKeysValueAndStaysWhilePolling) {
  Desk desk;
  auto* value = desk.Find<QLineEdit>("Value of function key 9");
  value->setFocus();
  QTest::keyClicks(value, "08");
  desk.bench.port.Arrive("IF00014025000     +00000000000300000000;SM00012;");
  desk.bench.loop.RunFor(1s);
  EXPECT_EQ(value->text(), "08");
  desk.Written();
  QTest::keyClick(value, Qt::Key_Return);
  EXPECT_EQ(desk.Written(), "") << "it stores and presses nothing";
  EXPECT_EQ(*desk.bench.station.console.MsgArea, "stored 14025.00 CW");
  EXPECT_EQ(*(*desk.bench.station.functions.store.Find("TS-2000", "14025.00"))->texts[8], "08");
  EXPECT_EQ(desk.Click("Function key 9: Tone number"), "TN08;");
}

TEST(ConsoleWindow, AClickInTheChartTunesThere) {
  Desk desk;
  desk.Written();
  auto* chart = desk.window->findChild<widgets::BandChart*>();
  QTest::mouseClick(chart, Qt::LeftButton, {}, QPoint(chart->width() / 2, chart->height() / 3));
  EXPECT_NEAR(static_cast<double>(desk.bench.station.console.FreqDisp->hz()), 14'175'000, 1'500);
  EXPECT_FALSE(desk.Written().empty());
}

TEST(ConsoleWindow, SlidersHaveTheRigsNamesAndSendTheirCommands) {
  Desk desk;
  desk.Written();
  const auto sliders = desk.window->findChildren<widgets::SliderColumn*>();
  ASSERT_EQ(sliders.size(), config::kSliders);
  sliders[6]->on_move(120);
  EXPECT_EQ(desk.Written(), "AG0120;");
  desk.bench.station.console.Slider.Set(6, 77);
  EXPECT_EQ(sliders[6]->value(), 77);
}

TEST(ConsoleWindow, EveryControlHasANameAndFitsIntoTheWindow) {
  for (const auto& [width, height, text] : {std::tuple{1024, 600, 100}, std::tuple{1280, 800, 100},
                                            std::tuple{2560, 1440, 100}, std::tuple{1280, 800, 200}}) {
    Desk desk;
    ASSERT_TRUE(desk.bench.station.SetTextSize(text));
    desk.window->resize(width, height);
    QCoreApplication::processEvents();
    EXPECT_EQ(desk.window->size(), QSize(width, height)) << "it needs more room";
    const QWidget* center = desk.window->findChild<QScrollArea*>()->widget();
    if (text == 100) {
      EXPECT_LE(center->height(), height) << "scroll bars at " << width;
    }
    for (const QWidget* widget : center->findChildren<QWidget*>()) {
      if (widget->focusPolicy() == Qt::NoFocus || !widget->isVisible()) continue;
      EXPECT_FALSE(widget->accessibleName().isEmpty() && !widget->inherits("QCheckBox") && !widget->inherits("QLabel"))
          << widget->metaObject()->className();
      const QRect place(widget->mapTo(center, QPoint(0, 0)), widget->size());
      EXPECT_TRUE(center->rect().contains(place)) << widget->accessibleName().toStdString();
    }
    for (const QPushButton* button : center->findChildren<QPushButton*>()) {
      const int needed = button->fontMetrics().horizontalAdvance(button->text());
      if (!button->isVisible()) continue;
      EXPECT_LE(needed, button->width()) << button->text().toStdString() << " at " << width;
    }
  }
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
  Wheel(*center, greyed->mapTo(center, greyed->rect().center()), 120);
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
