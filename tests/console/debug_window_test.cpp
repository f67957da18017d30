#include "console/debug_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QTest>

#include "console_fixture.h"
#include "fakes/window_hands.h"

namespace kvx::console {
namespace {

/// The debug view of a quiet station, on the screen.
struct DebugView {
  DebugView() {
    bench.StartQuiet();
    ShowActive(window);  // shortcuts are the active window's
  }
  void Arrive(const std::string& bytes) {
    bench.port.Arrive(bytes);
    bench.loop.RunFor(10ms);
  }
  /// What the table shows, "< MD2;" and so on, when its next picture has been made.
  QStringList Rows() {
    window.Refresh();
    QStringList rows;
    for (int row = 0; row < table().model()->rowCount(); ++row)
      rows << Cell(row, DebugModel::kDirection).left(2) + Cell(row, DebugModel::kText);
    return rows;
  }
  QString Cell(int row, int column) { return table().model()->index(row, column).data().toString(); }
  QTableView& table() { return *window.findChild<QTableView*>(); }
  template <class Control>
  Control& Find(const QString& name) {
    return *FindControl<Control>(window, name);
  }

  Bench bench{RigIni("TS-2000")};
  widgets::Appearance appearance;
  DebugWindow window{bench.station, appearance};
};

TEST(DebugWindow, ShowsTrafficWhileItIsOnTheScreen) {
  DebugView view;
  view.bench.station.engine.dispatcher.SendData("XUSB");
  view.Arrive("FA0001");
  view.Arrive("?!;");
  EXPECT_TRUE(QTest::qWaitFor([&] { return view.table().model()->rowCount() == 3; })) << "by itself";
  EXPECT_EQ(view.Rows(), (QStringList{"> MD2;", "< FA0001", "< ?!;"}));
  EXPECT_EQ(view.Cell(2, DebugModel::kTime), "14:00:10.011");
  EXPECT_EQ(view.Cell(2, DebugModel::kHex), "3F 22 3B");
  view.window.hide();
  EXPECT_FALSE(view.bench.station.debug_log.is_open());
  view.Arrive("unseen;");
  view.window.show();
  EXPECT_EQ(view.Rows().size(), 3) << "what was recorded stays";
}

TEST(DebugWindow, FilterDirectionPauseAndClear) {
  DebugView view;
  view.bench.station.engine.dispatcher.SendData("XUSB");
  view.Arrive("MD2;");
  view.Arrive("SM00015;");
  auto& filter = view.Find<QLineEdit>("Filter");
  QTest::keyClicks(&filter, "md2");
  EXPECT_EQ(view.Rows(), (QStringList{"> MD2;", "< MD2;"}));
  QTest::mouseClick(&view.Find<QCheckBox>("Show what was sent"), Qt::LeftButton, {}, {8, 8});
  EXPECT_EQ(view.Rows(), QStringList{"< MD2;"});
  filter.clear();
  EXPECT_EQ(view.Rows(), (QStringList{"< MD2;", "< SM00015;"}));
  auto& pause = view.Find<QPushButton>("Pause");
  QTest::keyClick(&view.window, Qt::Key_P, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return pause.isChecked(); }));
  for (int i = 0; i < 21'000; ++i) view.bench.port.Arrive("FA;");
  view.Arrive("ID019;");
  EXPECT_EQ(view.Rows(), (QStringList{"< MD2;", "< SM00015;"})) << "the picture holds still";
  EXPECT_EQ(view.Cell(1, DebugModel::kHex), "53 4D 30 30 30 31 35 3B") << "though the log has lost it";
  QTest::keyClick(&view.window, Qt::Key_P, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return !pause.isChecked(); }));
  const QStringList rows = view.Rows();
  EXPECT_EQ(rows.size(), 20'000);
  EXPECT_EQ(rows.last(), "< ID019;") << "recording went on";
  QTest::mouseClick(&view.Find<QPushButton>("Clear"), Qt::LeftButton);
  EXPECT_EQ(view.Rows(), QStringList{});
  view.Arrive("?;");
  EXPECT_EQ(view.Rows(), QStringList{"< ?;"});
}

TEST(DebugWindow, FollowsTheEndUnlessTheOperatorLooksElsewhere) {
  DebugView view;
  for (int i = 0; i < 19'990; ++i) view.bench.port.Arrive("FA;");
  view.Rows();
  QScrollBar& bar = *view.table().verticalScrollBar();
  EXPECT_EQ(bar.value(), bar.maximum());
  bar.setValue(500);
  const int before = bar.value();
  for (int i = 0; i < 110; ++i) view.bench.port.Arrive("MD;");
  view.Rows();
  EXPECT_EQ(bar.value(), before - 100) << "the same lines are in sight; a hundred above them have gone";
  bar.setValue(bar.maximum());
  view.bench.port.Arrive("ID019;");
  EXPECT_EQ(view.Rows().last(), "< ID019;");
  EXPECT_EQ(bar.value(), bar.maximum());
}

TEST(DebugWindow, SendsByHandWithHistory) {
  DebugView view;
  auto& entry = view.Find<CommandEntry>("Command");
  const auto type = [&](const char* text) {
    QTest::keyClicks(&entry, text);
    QTest::keyClick(&entry, Qt::Key_Return);
    return std::exchange(view.bench.port.written, {});
  };
  EXPECT_EQ(type("ZZ<0x07>;"), "ZZ\x07;");
  EXPECT_EQ(type("xusb"), "MD2;");
  EXPECT_EQ(entry.text(), "");
  QTest::keyClicks(&entry, "dr");  // a draft
  for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Up}) QTest::keyClick(&entry, key);
  EXPECT_EQ(entry.text(), "ZZ<0x07>;");
  QTest::keyClick(&entry, Qt::Key_Down);
  EXPECT_EQ(type(""), "MD2;") << "the one before, sent again";
  QTest::keyClick(&entry, Qt::Key_Up);
  QTest::keyClick(&entry, Qt::Key_Down);
  EXPECT_EQ(entry.text(), "");
  EXPECT_EQ(type("   "), "");
  entry.clear();
  EXPECT_EQ(type("XFMN"), "");
  EXPECT_EQ(view.Find<QLabel>("TS-2000 has no such command").text(), "TS-2000 has no such command");
  EXPECT_EQ(view.Rows(), (QStringList{"> ZZ<0x07>;", "> MD2;", "> MD2;"}));
}

TEST(DebugWindow, SavesAndCopiesWhatItShows) {
  DebugView view;
  view.Arrive("MD2;");
  view.Arrive("ID019;");
  view.Rows();
  const QString file = QString::fromStdString((view.bench.folder / "traffic.txt").string());
  view.window.ask_file = [&](auto then) { then(file); };
  QTest::keyClicks(&view.Find<QLineEdit>("Filter"), "ID");
  QTest::keyClick(&view.window, Qt::Key_S, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return QFile::exists(file); }));
  const std::string saved = view.bench.folder.Get("traffic.txt");
  EXPECT_NE(saved.find("< ID019;"), std::string::npos);
  EXPECT_EQ(saved.find("MD2"), std::string::npos);
  EXPECT_EQ(view.Find<QLabel>("Saved to " + file).isVisible(), true);
  view.table().setFocus();
  view.table().selectRow(0);
  QTest::keyClick(&view.table(), Qt::Key_C, Qt::ControlModifier);
  EXPECT_TRUE(QApplication::clipboard()->text().endsWith("49 44 30 31 39 3B\n")) << "time, text and bytes";
  view.window.ask_file = [](auto then) { then("/nowhere/at/all.txt"); };
  QTest::mouseClick(&view.Find<QPushButton>("Save"), Qt::LeftButton);
  for (auto* label : view.window.findChildren<QLabel*>()) {
    EXPECT_EQ(label->text().contains("/nowhere/at/all.txt"), label->property("role") == "error");
  }
}

}  // namespace
}  // namespace kvx::console
