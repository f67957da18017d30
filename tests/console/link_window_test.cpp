#include "console/link_window.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

#include "console/console_window.h"
#include "console/link_commands.h"
#include "console_fixture.h"
#include "fakes/fake_device_list.h"
#include "fakes/window_hands.h"

namespace kvx::console {
namespace {

struct LinkedDesk {
  LinkedDesk() : bench(RigIni("TS-2000", 38400, "CWSKIMMER= 7\n"), "", true) { bench.Start(5s); }

  Bench bench;
  FakeDeviceList devices;
  StationSetup setup{bench.loop, bench.station, bench.files, devices};
  widgets::Appearance appearance;
};

TEST(LinkButtons, SwitchTheirLinkShowItsStateAndLeaveAMessageWhereThereIsNoPort) {
  LinkedDesk desk;
  ConsoleWindow window(desk.bench.station, desk.appearance);
  window.on_logger = [&](bool on) { (void)SwitchLogger(desk.setup, on); };
  window.on_logger_keyer = [&](bool on) { (void)SwitchLoggerKeyer(desk.setup, on); };
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  auto* logger = FindControl<QPushButton>(window, "Link to the logger");
  auto* keyer = FindControl<QPushButton>(window, "Link from the logger to the WinKeyer");
  EXPECT_EQ(logger->toolTip(),
            "Communicate with N1MM or CWSkimmer through a virtual pair of comm ports. (Ctrl+Shift+N)");
  EXPECT_EQ(keyer->toolTip(), "Communicate with Winkeyer through a virtual pair of comm ports. (Ctrl+Shift+K)");
  QTest::mouseClick(logger, Qt::LeftButton);
  EXPECT_TRUE(logger->isChecked());
  EXPECT_EQ(logger->text(), "Logger on");
  desk.bench.logger_port.Lose();
  EXPECT_EQ(logger->text(), "Logger closed");
  QTest::keyClick(&window, Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return !logger->isChecked(); })) << "a key presses it for a moment";
  EXPECT_EQ(logger->text(), "Logger off");
  QTest::mouseClick(keyer, Qt::LeftButton);
  EXPECT_FALSE(keyer->isChecked());
  EXPECT_EQ(*desk.bench.station.console.MsgArea, "Please select a comm port for Winkeyin in the config menu.");
  auto* dde = FindControl<QLabel>(window, "DDE");
  EXPECT_FALSE(dde->isVisible());
  desk.bench.dde.on_call({.type = platform::DdeType::kRequest, .item = "HRD_HERTZ"});
  EXPECT_TRUE(dde->isVisible());
  EXPECT_EQ(dde->text(), "X01400000X");
}

TEST(LinkWindow, ShowsWhatEachLinkWasAskedAndWhatTheLoggerSends) {
  LinkedDesk desk;
  ASSERT_TRUE(SwitchLogger(desk.setup, true).ok());
  LinkWindow window(desk.bench.station);
  desk.bench.logger_port.Arrive("MD;");
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
  desk.bench.logger_port.Arrive("IF;FA;\r");
  window.Refresh();
  const auto* table = FindControl<QTableWidget>(window, "Links");
  QStringList row;
  for (const int column : {1, 2, 4, 5, 6}) row << table->item(0, column)->text();
  EXPECT_EQ(row,
            QStringList({"on COM7", "3", "IF;FA;", "FA00014000000;IF000140000000001+0000000000030000000;", "MD;"}));
  auto* received = FindControl<QPlainTextEdit>(window, "Received from the logger");
  EXPECT_EQ(received->toPlainText(), "IF;FA;<CR>") << "what came before the window was open is not kept";
  window.hide();
  desk.bench.logger_port.Arrive(std::string(100'000, 'x'));
  window.show();
  for (int i = 0; i < 1000; ++i) {
    desk.bench.logger_port.Arrive(std::string(40, 'y'));
    if (i % 2 == 0) window.Refresh();
  }
  EXPECT_LE(received->blockCount(), 400);
}

}  // namespace
}  // namespace kvx::console
