#include "console/memory_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>

#include "console/console_window.h"
#include "console/memory_menu.h"
#include "console_fixture.h"
#include "fakes/window_hands.h"

namespace kvx::console {
namespace {

functions::MemoryChannel Channel(const std::string& name, const std::string& khz, const std::string& mode) {
  return {.name = name, .frequency = *ParseKhz(khz), .mode = mode};
}

/// The memory window of a quiet station, on the screen, with four channels.
struct Memories {
  explicit Memories(const std::string& rig = "TS-2000") : bench(RigIni(rig)) {
    bench.StartQuiet();
    Put(1, Channel("Calling", "14060.00", "CW"));
    Put(2, Channel("Net", "3650.00", "LSB"));
    Put(5, Channel("Relay", "145600.00", "FM"));
    Put(9, Channel("", "7074.00", "USB"));
    window = std::make_unique<MemoryWindow>(bench.station, appearance);
    ShowActive(*window);
  }
  void Put(int number, const functions::MemoryChannel& channel) {
    EXPECT_TRUE(bench.station.memories.Change(number, channel).ok());
  }
  const functions::MemoryChannel& channel(int number) const { return bench.station.memories.channel(number); }
  /// What has reached the rig since the last call.
  std::string Written() {
    bench.loop.RunFor(1s);
    return std::exchange(bench.port.written, {});
  }
  /// The names in that order, "-" for an empty channel, of the first channels.
  QString Names(int count) const {
    QString names;
    for (int number = 1; number <= count; ++number)
      names += channel(number).empty() ? QString("-") : QString::fromStdString(channel(number).name).left(1);
    return names;
  }

  MemoryTable& table() const { return *window->findChild<MemoryTable*>(); }
  QString Cell(int row, int column, int role = Qt::DisplayRole) const {
    return table().model()->index(row, column).data(role).toString();
  }
  QPoint At(int row, int column) const { return table().visualRect(table().model()->index(row, column)).center(); }
  void Choose(int row, int column) const { table().setCurrentIndex(table().model()->index(row, column)); }
  void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const {
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
  }
  /// Types into the cell and presses Return.
  void Edit(int row, int column, const QString& text) const {
    table().setFocus();
    Choose(row, column);
    Key(Qt::Key_F2);
    auto* line = table().findChild<QLineEdit*>();
    ASSERT_NE(line, nullptr);
    line->selectAll();
    QTest::keyClicks(line, text);
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([this] { return table().findChild<QLineEdit*>() == nullptr; }));
  }
  template <class Control>
  Control& Find(const QString& name) const {
    return *FindControl<Control>(*window, name);
  }
  void Click(const QString& name) const { QTest::mouseClick(&Find<QPushButton>(name), Qt::LeftButton); }
  QString Message() const { return Find<QLabel>("What became of").text(); }

  Bench bench;
  widgets::Appearance appearance;
  std::unique_ptr<MemoryWindow> window;
};

TEST(MemoryWindow, RecallsByReturnDoubleClickAndButton) {
  Memories memories;
  QTest::keyClick(&memories.table(), Qt::Key_Down);
  memories.Key(Qt::Key_Return);
  EXPECT_EQ(memories.Written(), "FA00003650000;MD1;");
  EXPECT_EQ(memories.Message(), "Recalled channel 2, Net, 3650.00 kHz LSB, tuned");
  QTest::mouseDClick(memories.table().viewport(), Qt::LeftButton, {}, memories.At(4, MemoryModel::kName));
  EXPECT_EQ(memories.Written(), "FA00145600000;MD4;");
  memories.Choose(0, MemoryModel::kMode);
  memories.Click("Recall");
  EXPECT_EQ(memories.bench.Display(), "14060.00 CW");
  memories.Choose(2, MemoryModel::kName);
  EXPECT_FALSE(memories.Find<QPushButton>("Recall").isEnabled());
  memories.Written();
  QTest::keyClick(&memories.table(), Qt::Key_Return);
  EXPECT_EQ(memories.Written(), "");
  EXPECT_EQ(memories.Message(), "memory channel 3 is empty");
}

TEST(MemoryWindow, ScansTheChannelsAndShowsWhichIsHeard) {
  Memories memories;
  const auto heard = [&] {
    QString rows;
    for (int row = 0; row < 10; ++row) {
      if (memories.table().model()->index(row, MemoryModel::kName).data(Qt::BackgroundRole).isValid())
        rows += QString::number(row + 1) + " ";
    }
    return rows + memories.Message();
  };
  memories.Choose(1, MemoryModel::kSkip);
  QTest::keyClick(&memories.table(), Qt::Key_Space);
  QTest::keyClick(memories.window.get(), Qt::Key_G, Qt::ControlModifier);
  EXPECT_EQ(heard(), "1 Listening on 14060.00, memory 1 Calling");
  memories.bench.loop.RunFor(3s);
  EXPECT_EQ(heard(), "5 Listening on 145600.00, memory 5 Relay") << "the second is skipped";
  EXPECT_EQ(memories.table().current(), 2) << "the channel in hand stays";
  memories.Click("Stop scan");
  EXPECT_EQ(heard(), "Stopped: by the operator");
  EXPECT_EQ(memories.Find<QPushButton>("Scan").text(), "Scan");
}

TEST(MemoryWindow, StoresThePresentFrequencyHereOrInTheNextFree) {
  Memories memories;
  memories.bench.station.console.FreqDisp.Set(*ParseKhz("7012.34"));
  memories.bench.station.console.Mode.Set(" CW");
  EXPECT_EQ(memories.Find<QLabel>("What would be stored").text(), "7012.34 kHz CW");
  QTest::keyClick(memories.window.get(), Qt::Key_N, Qt::ControlModifier);
  EXPECT_EQ(memories.channel(3).frequency, *ParseKhz("7012.34"));
  EXPECT_EQ(memories.table().current(), 3);
  memories.Choose(1, MemoryModel::kName);
  QTest::keyClick(memories.window.get(), Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(memories.channel(2).frequency, *ParseKhz("7012.34"));
  EXPECT_EQ(memories.channel(2).name, "Net");
  EXPECT_NE(memories.bench.folder.Get("RIGMEM.MEM").find("2,Net,7012.34,CW"), std::string::npos);
  QTest::keyClick(memories.window.get(), Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(memories.channel(2), Channel("Net", "3650.00", "LSB"));
}

TEST(MemoryWindow, CellsAreEditedInPlace) {
  Memories memories;
  memories.Edit(1, MemoryModel::kName, "Sunday, \"net\"");
  memories.Edit(1, MemoryModel::kFrequency, "3655,5");
  memories.Edit(1, MemoryModel::kComment, "10 UTC");
  EXPECT_EQ(memories.channel(2).name, "Sunday, \"net\"");
  EXPECT_EQ(KhzText(memories.channel(2).frequency), "3655.50");
  EXPECT_EQ(memories.channel(2).comment, "10 UTC");
  EXPECT_EQ(memories.Written(), "") << "editing, its Return included, is not recalling";
  memories.Edit(1, MemoryModel::kFrequency, "abc");
  EXPECT_EQ(memories.Message(), "\"abc\" is no frequency in kHz");
  EXPECT_EQ(KhzText(memories.channel(2).frequency), "3655.50");
  memories.Edit(3, MemoryModel::kFrequency, "1840");
  EXPECT_EQ(memories.Cell(3, MemoryModel::kFrequency), "1840.00") << "an empty channel is made by its frequency";
  memories.Choose(3, MemoryModel::kMode);
  memories.Key(Qt::Key_C);  // typed, it chooses from the list
  auto* list = memories.table().findChild<QComboBox*>();
  ASSERT_NE(list, nullptr);
  QTest::keyClick(list, Qt::Key_Return);
  EXPECT_TRUE(QTest::qWaitFor([&] { return memories.channel(4).mode == "CW"; }));
  memories.Choose(3, MemoryModel::kNarrow);
  memories.table().setFocus();
  memories.Key(Qt::Key_Space);
  EXPECT_TRUE(memories.channel(4).narrow);
  QTest::mouseClick(memories.table().viewport(), Qt::LeftButton, {}, memories.At(3, MemoryModel::kSkip));
  EXPECT_TRUE(memories.channel(4).skip);
  memories.Choose(1, MemoryModel::kNarrow);
  memories.Key(Qt::Key_Space);
  EXPECT_FALSE(memories.channel(2).narrow) << "LSB has no narrow width";
}

TEST(MemoryWindow, SeveralAreDeletedAndBroughtBack) {
  Memories memories;
  memories.Choose(0, MemoryModel::kName);
  QTest::keyClick(&memories.table(), Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(memories.table().marked(), (std::vector<int>{1, 2}));
  memories.Key(Qt::Key_Delete);
  EXPECT_EQ(memories.Names(5), "----R");
  EXPECT_EQ(memories.Message(), "2 channel(s) deleted; Ctrl+Z brings them back");
  EXPECT_FALSE(memories.Find<QPushButton>("Delete").isEnabled());
  memories.Click("Undo");
  EXPECT_EQ(memories.Names(5), "CN--R");
  memories.Choose(0, MemoryModel::kName);
  memories.Key(Qt::Key_F2);
  QTest::keyClick(memories.table().findChild<QLineEdit*>(), Qt::Key_Delete);
  EXPECT_EQ(memories.Names(5), "CN--R") << "Delete in a text is the text's";
}

TEST(MemoryWindow, RowsAreMovedByKeyAndByDragging) {
  Memories memories;
  memories.Choose(0, MemoryModel::kName);
  QTest::keyClick(&memories.table(), Qt::Key_Down, Qt::AltModifier);
  EXPECT_EQ(memories.Names(5), "NC--R");
  EXPECT_EQ(memories.table().current(), 2) << "the channel stays in hand";
  QTest::keyClick(&memories.table(), Qt::Key_Up, Qt::AltModifier);
  QTest::keyClick(&memories.table(), Qt::Key_Up, Qt::AltModifier);
  EXPECT_EQ(memories.Names(5), "CN--R") << "there is nothing above the first";
  QWidget* view = memories.table().viewport();
  const int half = memories.table().rowHeight(0) / 2;
  const auto drag = [&](int from, int to, int below_middle) {
    const QPoint end = memories.At(to, MemoryModel::kName) + QPoint(0, below_middle);
    QTest::mousePress(view, Qt::LeftButton, {}, memories.At(from, MemoryModel::kName));
    QTest::mouseMove(view, (memories.At(from, MemoryModel::kName) + end) / 2);
    QTest::mouseMove(view, end);
    return end;
  };
  QTest::mouseRelease(view, Qt::LeftButton, {}, drag(0, 4, half / 2));
  EXPECT_EQ(memories.Names(5), "N--RC") << "behind the fifth";
  QTest::mouseRelease(view, Qt::LeftButton, {}, drag(3, 0, -half / 2));
  EXPECT_EQ(memories.Names(5), "RN--C") << "before the first";
  const QPoint end = drag(0, 4, 0);
  QTest::keyClick(&memories.table(), Qt::Key_Escape);
  QTest::mouseRelease(view, Qt::LeftButton, {}, end);
  EXPECT_EQ(memories.Names(5), "RN--C") << "Escape gives it up";
  EXPECT_EQ(memories.Written(), "");
}

TEST(MemoryWindow, SearchShowsWhatHasAllWords) {
  Memories memories;
  EXPECT_EQ(memories.table().model()->rowCount(), 100);
  auto& search = memories.Find<QLineEdit>("Search");
  QTest::keyClick(memories.window.get(), Qt::Key_F, Qt::ControlModifier);
  const auto shown = [&](const QString& text) {
    search.clear();
    QTest::keyClicks(&search, text);
    QString numbers;
    for (int row = 0; row < memories.table().model()->rowCount(); ++row)
      numbers += (row > 0 ? "," : "") + memories.Cell(row, MemoryModel::kNumber);
    return numbers;
  };
  EXPECT_EQ(shown("net"), "2");
  EXPECT_EQ(shown("36 lsb"), "2");
  EXPECT_EQ(shown("cal fm"), "");
  EXPECT_EQ(memories.Message(), "No channel is like that");
  EXPECT_EQ(shown("5"), "2,5");
  QTest::keyClick(&search, Qt::Key_Return);
  memories.Key(Qt::Key_End, Qt::ControlModifier);
  memories.Key(Qt::Key_Return);
  EXPECT_EQ(memories.bench.Display(), "145600.00 FM") << "the row is the channel that it shows";
  search.clear();
  QTest::mouseClick(&memories.Find<QCheckBox>("Shows empty"), Qt::LeftButton, {}, {8, 8});
  EXPECT_EQ(memories.table().model()->rowCount(), 4);
}

TEST(MemoryWindow, ImportAsksAboutWhatIsThere) {
  Memories memories;
  memories.bench.folder.Put("in.csv", "Location,Name,Frequency,Mode\n2,Theirs,7.03,CW\n3,More,7.04,CW\n");
  const QString file = QString::fromStdString((memories.bench.folder / "in.csv").string());
  QString question;
  int answer = 2;
  memories.window->dialogs.ask_file = [&](bool, auto then) { then(file); };
  memories.window->dialogs.ask = [&](const QString& text, const QStringList&, const auto& then) {
    question = text;
    then(answer);
  };
  memories.Click("Import…");
  EXPECT_EQ(question, "There is something in these channels already: 2");
  EXPECT_EQ(memories.Names(5), "CN--R");
  answer = 0;
  memories.Click("Import…");
  EXPECT_EQ(memories.Names(5), "CNM-R");
  answer = 1;
  memories.Click("Import…");
  EXPECT_EQ(memories.Names(5), "CTM-R");
  memories.bench.folder.Put("in.csv", "Location,Frequency\n7,x\n");
  memories.Click("Import…");
  EXPECT_TRUE(memories.Message().endsWith("line 2: \"x\" is no frequency in MHz")) << memories.Message().toStdString();
  memories.Click("Export…");
  EXPECT_EQ(memories.bench.folder.Get("in.csv").substr(0, 9), "Location,");
  EXPECT_NE(memories.bench.folder.Get("in.csv").find("\n5,Relay,145.600000,"), std::string::npos);
}

TEST(MemoryWindow, TheRigsOwnMemoriesAreOfferedAsItsDefinitionHasThem) {
  Memories memories;
  const auto& dispatcher = memories.bench.station.engine.dispatcher;
  struct Row {
    QString button;
    const char* key;
  };
  for (const Row& row :
       {Row{"VFO to memory", "XVFOTOMEM"}, Row{"Memory to VFO", "XMEMTOVFO"}, Row{"Memory channel", "XMEMCH"}}) {
    auto& button = memories.Find<QPushButton>(row.button);
    EXPECT_EQ(button.isEnabled(), dispatcher.Has(row.key)) << row.key;
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(memories.Written().empty(), !dispatcher.Has(row.key)) << row.key;
  }
}

TEST(MemoryWindow, AScreenReaderIsToldTheChannelInEveryCell) {
  Memories memories;
  EXPECT_EQ(memories.Cell(1, MemoryModel::kName, Qt::AccessibleTextRole), "channel 2, Net, 3650.00 kHz LSB");
  EXPECT_EQ(memories.Cell(8, MemoryModel::kNumber, Qt::AccessibleTextRole), "channel 9, 7074.00 kHz USB");
  EXPECT_EQ(memories.Cell(2, MemoryModel::kComment, Qt::AccessibleTextRole), "channel 3, empty");
  EXPECT_EQ(memories.Cell(1, MemoryModel::kSkip, Qt::AccessibleTextRole), "Skip off, channel 2");
  EXPECT_EQ(memories.Cell(1, MemoryModel::kVfo, Qt::AccessibleTextRole), "VFO none, channel 2");
}

TEST(MemoryMenu, StepsAndRecallsWithoutTheTable) {
  Bench bench(RigIni("TS-2000"));
  bench.Start(5s);
  widgets::Appearance appearance;
  ConsoleWindow window(bench.station, appearance);
  ShowActive(window);
  bench.station.memories.Change(3, Channel("", "7074.00", "USB")).ok();
  bench.station.memories.Change(8, Channel("A & B", "3650.00", "LSB")).ok();
  bench.station.memories.Change(70, Channel("Relay", "145600.00", "FM")).ok();
  const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(&window, key, modifiers);
    bench.loop.RunFor(1ms);
    return bench.Display();
  };
  EXPECT_EQ(press(Qt::Key_PageUp, Qt::ControlModifier), "7074.00 USB");
  EXPECT_EQ(press(Qt::Key_PageUp, Qt::ControlModifier), "3650.00 LSB");
  EXPECT_EQ(press(Qt::Key_PageDown, Qt::ControlModifier), "7074.00 USB");
  EXPECT_EQ(press(Qt::Key_PageDown, Qt::ControlModifier), "145600.00 FM");
  EXPECT_EQ(press(Qt::Key_1, Qt::ControlModifier | Qt::ShiftModifier), "3650.00 LSB");
  EXPECT_EQ(press(Qt::Key_2, Qt::ControlModifier | Qt::ShiftModifier), "145600.00 FM");
  EXPECT_EQ(press(Qt::Key_3, Qt::ControlModifier | Qt::ShiftModifier), "145600.00 FM") << "no third one has a name";
  press(Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier);
  EXPECT_EQ(bench.station.memories.channel(1).frequency, *ParseKhz("145600"));
  auto* menu = window.findChild<MemoryMenu*>();
  menu->popup({0, 0});
  QStringList named;
  for (const QAction* action : menu->actions()) {
    if (action->isVisible() && action->text().contains("Ctrl+Shift+")) named << action->text().section('\t', 0, 0);
  }
  EXPECT_EQ(named, (QStringList{"8  A && B  3650.00 LSB", "70  Relay  145600.00 FM"}));
  menu->close();
}

}  // namespace
}  // namespace kvx::console
