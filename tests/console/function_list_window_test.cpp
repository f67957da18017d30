#include "console/function_list_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

#include "config/sqlite.h"
#include "console/function_panel.h"
#include "console_fixture.h"
#include "fakes/window_hands.h"

namespace kvx::console {
namespace {

/// The list of a quiet TS-2000's station with some rows, on the screen.
struct ListView {
  explicit ListView(int rows = 3) {
    appearance.Use(widgets::MakeTheme("dark"), 100);
    bench.StartQuiet();
    Sql("INSERT INTO rigfn (RigName, Freq, Mode, FNT1, Scan, Desc) VALUES ('TS-2000', '145500.00', 'FM', '0600', 'Y', "
        "'repeater')");
    for (int i = 1; i < rows; ++i)
      Sql("INSERT INTO rigfn (RigName, Freq, Mode, FNT1, Scan, Desc, FNP2) VALUES ('" +
          std::string(i % 2 == 1 ? "TS-2000" : "IC-7300") + "', '" + KhzText(Frequency::FromKhz(7000 + 1000 * i)) +
          "', 'USB', '', 'y', 'n" + std::to_string(i) + "', 1)");
    ShowActive(window);
  }
  void Sql(const std::string& sql) {
    auto store = config::Sqlite::Open(bench.folder / "rigsetup.sqlite");
    EXPECT_TRUE(store && store->Run(sql).ok()) << sql;
  }
  std::string Query(const std::string& sql) {
    auto store = config::Sqlite::Open(bench.folder / "rigsetup.sqlite");
    auto statement = store->Prepare(sql);
    EXPECT_TRUE(statement && *statement->Step()) << sql;
    return statement->Text(0);
  }
  std::string Written() {
    bench.loop.RunFor(1s);
    return std::exchange(bench.port.written, {});
  }
  QTableView& table() { return *window.findChild<QTableView*>(); }
  QModelIndex Cell(int row, int column) { return table().model()->index(row, column); }
  /// "8000.00 9000.00 145500.00".
  QString Shown() {
    QStringList shown;
    for (int row = 0; row < table().model()->rowCount(); ++row)
      shown << Cell(row, functions::kFreqColumn).data().toString();
    return shown.join(' ');
  }
  QPoint At(int row, int column) { return table().visualRect(Cell(row, column)).center(); }
  void Click(int row, int column, Qt::KeyboardModifiers keys = {}) {
    QTest::mouseClick(table().viewport(), Qt::LeftButton, keys, At(row, column));
  }
  template <class Control>
  Control& Find(const QString& name) {
    return *FindControl<Control>(window, name);
  }
  void Press(const QString& name) { QTest::mouseClick(&Find<QPushButton>(name), Qt::LeftButton); }
  QString Message() { return Find<QLabel>("Message").text(); }

  Bench bench{RigIni("TS-2000")};
  widgets::Appearance appearance;
  FunctionListWindow window{bench.station, appearance};
};

TEST(FunctionListWindow, RetrievesByDoubleClickAndByReturn) {
  ListView view;
  ASSERT_EQ(view.Shown(), "8000.00 9000.00 145500.00") << "by frequency, as numbers";
  view.table().scrollTo(view.Cell(2, functions::kFreqColumn));
  view.Click(2, functions::kFreqColumn);
  QTest::mouseDClick(view.table().viewport(), Qt::LeftButton, {}, view.At(2, functions::kFreqColumn));
  EXPECT_EQ(view.Written(), "FA00145500000;MD4;MD4;");
  EXPECT_EQ(view.bench.Display(), "145500.00 FM");
  EXPECT_EQ(view.bench.station.console.Text5[0], "0600");
  QTest::keyClick(&view.table(), Qt::Key_Home, Qt::ControlModifier);
  QTest::keyClick(&view.table(), Qt::Key_Return);
  EXPECT_EQ(view.Written().substr(0, 18), "FA00008000000;MD2;");
  view.Sql("UPDATE rigfn SET Freq = 'junk'");
  EXPECT_TRUE(QTest::qWaitFor([&] { return view.Shown() == "junk junk junk"; })) << "what others write shows by itself";
  QTest::keyClick(&view.table(), Qt::Key_Return);
  EXPECT_EQ(view.Written(), "");
  EXPECT_EQ(view.Message(), "junk is no frequency in kHz");
}

TEST(FunctionListWindow, DeletesTheHighlightedRowsAndPutsThemBack) {
  ListView view(5);
  const std::string all = "SELECT group_concat(rowid || RigName || Freq || Desc || FNP2) FROM rigfn";
  view.Sql("UPDATE rigfn SET FNP2 = ifnull(FNP2, 0), FNT3 = NULL");
  const std::string before = view.Query(all);
  view.Click(0, 0);
  view.Click(2, 0, Qt::ControlModifier);
  QTest::keyClick(&view.table(), Qt::Key_Delete);
  EXPECT_EQ(view.Shown(), "9000.00 11000.00 145500.00");
  EXPECT_EQ(view.Message(), "deleted 2 rows");
  view.Click(0, 0);
  view.Press("Delete");
  EXPECT_EQ(view.Query("SELECT count(*) FROM rigfn"), "2");
  QTest::keyClick(&view.window, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return view.Shown() == "9000.00 11000.00 145500.00"; }));
  EXPECT_TRUE(view.Find<QPushButton>("Undo").isEnabled());
  view.Press("Undo");
  EXPECT_EQ(view.Query(all), before);
  EXPECT_EQ(view.Query("SELECT count(*) FROM rigfn WHERE FNT3 IS NULL"), "5");
  EXPECT_FALSE(view.Find<QPushButton>("Undo").isEnabled());
}

TEST(FunctionListWindow, EditsInPlaceAndLeavesWhatOthersWriteMeanwhile) {
  ListView view;
  const int press = functions::kFirstPressColumn + 4;
  view.table().scrollTo(view.Cell(1, press));
  view.Click(1, press);
  EXPECT_EQ(view.Query("SELECT FNP5 FROM rigfn WHERE Freq = '9000.00'"), "1");
  QTest::keyClick(&view.table(), Qt::Key_Space);
  EXPECT_EQ(view.Query("SELECT FNP5 FROM rigfn WHERE Freq = '9000.00'"), "0");
  const auto type = [&](int column, const char* text) {
    view.table().setCurrentIndex(view.Cell(1, column));
    QTest::keyClick(&view.table(), Qt::Key_F2);
    QWidget* editor = QApplication::focusWidget();
    if (qobject_cast<QLineEdit*>(editor) == nullptr) return false;
    view.Sql("UPDATE rigfn SET FNT9 = 'other' WHERE Freq = '9000.00'");
    QTest::keyClicks(editor, text);
    QTest::keyClick(editor, Qt::Key_Return);
    return true;
  };
  EXPECT_TRUE(type(functions::kScanColumn, "N"));
  EXPECT_TRUE(type(functions::kFirstTextColumn + 1, "0744"));
  EXPECT_TRUE(type(functions::kDescColumn, "note"));
  EXPECT_FALSE(type(functions::kFreqColumn, "1")) << "rig and frequency are the row's name";
  EXPECT_EQ(view.Query("SELECT Scan || FNT2 || Desc || FNT9 FROM rigfn WHERE Freq = '9000.00'"), "N0744noteother");
  EXPECT_EQ(view.Query("SELECT count(*) FROM rigfn WHERE FNT2 IS NULL"), "2") << "no other row";
  EXPECT_EQ(view.Written(), "") << "nothing is tuned meanwhile";
}

TEST(FunctionListWindow, OrdersAndFiltersAndKeepsWhatIsChosenInSight) {
  ListView view(200);
  view.table().selectRow(100);
  const QString chosen = view.Cell(100, functions::kFreqColumn).data().toString();
  const auto current = [&] {
    return view.Cell(view.table().currentIndex().row(), functions::kFreqColumn).data().toString();
  };
  QHeaderView& header = *view.table().horizontalHeader();
  QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
                    {header.sectionViewportPosition(functions::kFreqColumn) + 10, header.height() / 2});
  EXPECT_EQ(view.Cell(0, functions::kFreqColumn).data().toString(), "206000.00") << "descending now";
  EXPECT_EQ(current(), chosen);
  EXPECT_EQ(view.table().selectionModel()->selectedRows().size(), 1);
  view.table().setCurrentIndex(view.Cell(view.table().currentIndex().row(), functions::kRigColumn));
  QTest::keyClick(&view.table(), Qt::Key_O, Qt::ControlModifier);
  EXPECT_EQ(view.Cell(0, functions::kRigColumn).data().toString(), "IC-7300");
  EXPECT_EQ(current(), chosen);
  view.table().verticalScrollBar()->setValue(120);
  const QString top = view.Cell(120, functions::kFreqColumn).data().toString();
  view.Sql("DELETE FROM rigfn WHERE Desc = 'n2'");  // one of those above
  EXPECT_TRUE(QTest::qWaitFor([&] { return view.table().model()->rowCount() == 199; }));
  EXPECT_EQ(view.Cell(view.table().rowAt(0), functions::kFreqColumn).data().toString(), top);
  QTest::keyClicks(&view.Find<QLineEdit>("Filter"), "REPEAT");
  EXPECT_EQ(view.Shown(), "145500.00");
  EXPECT_EQ(view.Find<QLabel>("Number of rows").text(), "1 of 199 rows");
  view.Find<QLineEdit>("Filter").clear();
  QTest::mouseClick(&view.Find<QCheckBox>("This rig only"), Qt::LeftButton, {}, {8, 8});
  EXPECT_EQ(view.table().model()->rowCount(), 101);
}

TEST(FunctionListWindow, ScansFromStartToEndAndMarksWhatIsHeard) {
  ListView view;
  view.bench.station.console.Polling.Set(true);  // else the level does not count
  view.Press("Scans the rows marked with Y, or stops scanning");
  EXPECT_EQ(view.Message(), "Please set the start and end frequencies before clicking the scan button.");
  view.table().selectRow(0);
  view.Press("The scan starts at the chosen row");
  EXPECT_EQ(view.Message(), "Start Freq set at 8000.00");
  view.table().selectRow(1);
  view.Press("The scan ends at the chosen row");
  EXPECT_EQ(view.Message(), "End Freq set at 9000.00");
  const QImage plain = view.table().viewport()->grab().toImage();
  const auto heard = [&] {
    const QImage now = view.table().viewport()->grab().toImage();
    QString rows;
    for (int row = 0; row < 3; ++row) {
      const QPoint ground = view.table().visualRect(view.Cell(row, functions::kRigColumn)).topLeft() + QPoint(3, 6);
      rows += now.pixel(ground) == plain.pixel(ground) ? '-' : '*';
    }
    return rows + " " + view.Find<QLabel>("State of the scan").text();
  };
  QTest::keyClick(&view.window, Qt::Key_G, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return view.bench.station.functions.scanner.running(); }));
  view.bench.loop.RunFor(1s);
  EXPECT_EQ(heard(), "*-- Listening on 8000.00, n1");
  view.Press("Goes on to the next row");
  EXPECT_EQ(heard(), "-*- Listening on 9000.00, n2");
  view.Press("Watches the level: the scan stays where it is above the mark");
  view.bench.station.console.SMeter.Set(30);
  view.bench.loop.RunFor(10s);
  EXPECT_EQ(heard(), "-*- Held on 9000.00, n2");
  view.table().setFocus();
  QTest::keyClick(&view.table(), Qt::Key_Return);
  EXPECT_EQ(heard(), "--- Stopped: by the operator");
}

TEST(FunctionListWindow, AsksBeforeItExportsAndImports) {
  ListView view;
  const auto answer = [&](const QString& name, const QString& title, Qt::Key key) {
    view.Press(name);
    auto* box = view.window.findChild<QMessageBox*>();
    if (box == nullptr) return QString("no question");
    EXPECT_EQ(box->windowTitle(), title);
    EXPECT_EQ(box->property("helpFile").toString(), name == "Import" ? "DEMO.HLP" : "");
    const QString text = box->text();
    QTest::keyClick(box, key);
    EXPECT_TRUE(QTest::qWaitFor([&] { return view.window.findChild<QMessageBox*>() == nullptr; }));
    return text;
  };
  EXPECT_TRUE(view.table()
                  .model()
                  ->headerData(functions::kFirstPressColumn, Qt::Horizontal, Qt::WhatsThisRole)
                  .toString()
                  .contains("-1 is true"));
  EXPECT_EQ(answer("Import", "MsgBox Demonstration", Qt::Key_Y),
            "Do you want to Import RigFunctions.csv ? Enter Y or N");
  EXPECT_EQ(view.Message(), "RigFunctions.csv not found");
  EXPECT_EQ(answer("Export", "Stored function keys", Qt::Key_N), "Do you want to export RigFunctions.csv");
  EXPECT_EQ(view.bench.folder.Get("RigFunctions.CSV"), "");
  answer("Export", "Stored function keys", Qt::Key_Y);
  EXPECT_TRUE(view.Message().startsWith("DONE.  ·  3 rows to ")) << view.Message().toStdString();
  view.Sql("DELETE FROM rigfn WHERE Freq <> '8000.00'");
  answer("Import", "MsgBox Demonstration", Qt::Key_Escape);
  EXPECT_EQ(view.Query("SELECT count(*) FROM rigfn"), "1") << "Escape is no";
  answer("Import", "MsgBox Demonstration", Qt::Key_Y);
  EXPECT_EQ(view.Shown(), "8000.00 9000.00 145500.00");
}

/// The console's function keys, with what is stored for the displayed frequency.
struct PanelView {
  PanelView() {
    bench.StartQuiet();
    for (int field = 0; field <= static_cast<int>(kLastField); ++field) panel.Follow(static_cast<Field>(field));
    panel.on_list = [this] { ++lists; };
    ShowActive(panel);
  }
  QPushButton& Button(const QString& text) {
    for (auto* button : panel.findChildren<QPushButton*>()) {
      if (button->text() == text) return *button;
    }
    qFatal("there is no button %s", qPrintable(text));
  }
  QLabel& Mark() { return *panel.findChild<QLabel*>(); }
  /// Answers the question for a note.
  void Note(const QString& note, const QString& title) {
    auto* dialog = panel.findChild<QInputDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->labelText(), "Enter a note for this memory location.");
    EXPECT_EQ(dialog->windowTitle(), title);
    auto* line = dialog->findChild<QLineEdit*>();
    line->clear();
    QTest::keyClicks(line, note);
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([&] { return panel.findChild<QInputDialog*>() != dialog; }));
  }
  std::size_t Rows() {
    functions::RowReader reader = bench.station.functions.store.Reader();
    EXPECT_TRUE(reader.ReadSome().ok());
    return reader.rows.size();
  }

  Bench bench{RigIni("TS-2000")};
  FunctionPanel panel{bench.station};
  Console::Subscription following = bench.station.console.Subscribe([this](Field field) { panel.Follow(field); });
  int lists = 0;
};

TEST(FunctionPanel, NotesMarksClearsAndPutsBackWhatIsStoredHere) {
  PanelView view;
  auto& console = view.bench.station.console;
  EXPECT_EQ(view.Mark().text(), "Not stored");
  QTest::mouseClick(&view.Button("Note…"), Qt::LeftButton);
  view.Note("", "Note for 14000.00");
  EXPECT_EQ(view.Rows(), 0U) << "an empty answer stores nothing";
  QTest::mouseClick(&view.Button("Note…"), Qt::LeftButton);
  console.FreqDisp.Set(Frequency::FromKhz(14'100));
  view.Note("3", "Note for 14000.00");
  EXPECT_EQ(view.Rows(), 0U) << "it was for another frequency";
  view.Note("3", "Note for 14100.00");
  EXPECT_EQ(*console.MsgArea, "stored 14100.00 CW, function key 3 on arrival");
  EXPECT_EQ(view.Mark().text() + view.Mark().toolTip(), "Stored3");
  EXPECT_TRUE(view.Button("F3 •  Auto notch").isEnabled()) << "pressed on arrival";
  auto& clear = view.Button("Clear");
  EXPECT_EQ(clear.toolTip(),
            "Left click to clear all function keys for this frequency. Right click for list of stored functions.");
  QTest::mouseClick(&clear, Qt::LeftButton);
  EXPECT_EQ(*console.MsgArea, "All Functions have been deleted for this frequency");
  EXPECT_EQ(view.Mark().text(), "Not stored");
  QTest::mouseClick(&view.Button("Undo"), Qt::LeftButton);
  EXPECT_EQ(view.Mark().text(), "Stored");
  for (const auto reason : {QContextMenuEvent::Mouse, QContextMenuEvent::Keyboard}) {
    QContextMenuEvent event(reason, {4, 4}, clear.mapToGlobal(QPoint(4, 4)));
    QApplication::sendEvent(&clear, &event);
  }
  EXPECT_EQ(view.lists, 2);
  EXPECT_EQ(view.Rows(), 1U);
}

}  // namespace
}  // namespace kvx::console
