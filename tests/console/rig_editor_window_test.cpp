#include "console/rig_editor_window.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabBar>
#include <QTest>

#include "console_fixture.h"
#include "fakes/window_hands.h"
#include "widgets/appearance.h"

namespace kvx::console {
namespace {

/// The window over a station, with an operator who answers at once.
struct Desk : Bench {
  explicit Desk(const std::string& rig = "TS-2000") : Bench(RigIni(rig)) {
    StartQuiet();
    look.Use(widgets::MakeTheme("dark"), 100);
    window.dialogs = {.ask =
                          [this](const QString& question, const QStringList& choices, auto then) {
                            questions << question;
                            then(answer < 0 ? static_cast<int>(choices.size()) - 1 : answer);
                          },
                      .ask_name = [this](const QString&, const QString&, auto then) { then(name); },
                      .ask_file = [this](const QString&, bool, auto then) { then(file); }};
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
  }
  ~Desk() { look.Use(widgets::MakeTheme("dark"), 100); }

  template <class T>
  T* Find(const QString& accessible_name) {
    return FindControl<T>(window, accessible_name);
  }
  QPushButton* Button(const QString& text) {
    for (QPushButton* button : window.findChildren<QPushButton*>()) {
      if (button->text() == text) return button;
    }
    ADD_FAILURE() << "no " << text.toStdString();
    return nullptr;
  }
  void Click(const QString& button) { QTest::mouseClick(Button(button), Qt::LeftButton); }
  /// Goes to a field by the search box and writes another text into it.
  QLineEdit* Type(const QString& label, const QString& text) {
    auto* edit = Find<QLineEdit>(label);
    Search(label);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
    return edit;
  }
  void Search(const QString& text) {
    QTest::keyClick(&window, Qt::Key_F, Qt::ControlModifier);
    auto* box = Find<QLineEdit>("Find a field");
    EXPECT_EQ(QApplication::focusWidget(), box);
    box->selectAll();
    QTest::keyClick(box, Qt::Key_Delete);
    QTest::keyClicks(box, text);
  }
  /// Labels of the fields that are shown.
  QStringList Shown() {
    QStringList shown;
    for (const config::RigField& field : config::RigFields()) {
      const auto* widget = window.findChild<QWidget*>(QString::fromStdString(std::string(field.name)));
      if (widget->isVisible()) shown << widget->accessibleName();
    }
    return shown;
  }
  std::string preview() { return window.findChild<QLineEdit*>("preview")->text().toStdString(); }
  std::string chosen() {
    const auto* item = window.findChild<QListWidget*>()->currentItem();
    return item == nullptr ? "" : item->text().toStdString();
  }
  std::string message() { return Find<QLabel>("Message")->text().toStdString(); }
  std::string Stored(const std::string& rig, const std::string& field) {
    const auto row = config::RigDatabase(folder / "rigsetup.sqlite").Find(rig);
    return row && *row ? (**row)[field] : "none";
  }

  widgets::Appearance look;
  RigEditor editor{station, files};
  RigEditorWindow window{editor, look};
  QStringList questions;
  int answer = -1;  ///< index of the choice; -1: the last, to do nothing
  QString name, file;
};

TEST(RigEditorWindow, TheFieldInHandShowsItsBytesWhileTypingAndTuning) {
  Desk desk;
  EXPECT_EQ(desk.chosen(), "TS-2000") << "the rig in use comes first";
  desk.Type("Set Freq", "FB<FREQ11>;<CR>");
  EXPECT_EQ(desk.preview(), "FB00014000000;<CR>");
  desk.station.console.FreqDisp.Set(*ParseKhz("7030.5"));
  EXPECT_EQ(desk.preview(), "FB00007030500;<CR>");
  desk.Type("#7 AFGain", "AG<AFGAIN2>;{99-0}");
  EXPECT_EQ(desk.preview(), "AG00;");
  desk.station.console.Slider.Set(6, 200);
  EXPECT_EQ(desk.preview(), "") << "the value does not fit";
  EXPECT_FALSE(desk.Button("Send it")->isEnabled());
  EXPECT_TRUE(desk.window.isWindowModified());
  EXPECT_EQ(desk.port.written, "");
}

TEST(RigEditorWindow, SaveWritesRevertTakesBack) {
  Desk desk;
  EXPECT_FALSE(desk.Button("Save")->isEnabled());
  desk.Type("USB", "MD2;x");
  desk.answer = 0;
  desk.Click("Revert");
  EXPECT_EQ(desk.questions.size(), 1);
  EXPECT_EQ(desk.Find<QLineEdit>("USB")->text(), "MD2;");
  EXPECT_FALSE(desk.window.isWindowModified());
  desk.Type("USB", "MD2;y");
  desk.Search("Send As");
  QTest::keyClick(desk.Find<QCheckBox>("Send As HEX"), Qt::Key_Space);
  QTest::keyClick(&desk.window, Qt::Key_S, Qt::ControlModifier);
  EXPECT_EQ(desk.Stored("TS-2000", "USB"), "MD2;y");
  EXPECT_TRUE(desk.station.engine.rig().row.send_as_hex);
  EXPECT_FALSE(desk.window.isWindowModified());
  EXPECT_EQ(desk.message(), "TS-2000 is saved");
  desk.Type("Rig Name", "FT-857");
  desk.Click("Save");
  EXPECT_EQ(desk.message(), "there is a rig FT-857 already");
  EXPECT_TRUE(desk.window.isWindowModified()) << "and nothing is lost";
  EXPECT_EQ(desk.Find<QLineEdit>("Rig Name")->text(), "FT-857");
}

TEST(RigEditorWindow, UnsavedEditsAreAskedAboutBeforeAnotherRigAndBeforeClosing) {
  Desk desk;
  auto* list = desk.window.findChild<QListWidget*>();
  desk.Type("USB", "edited");
  QTest::keyClick(list, Qt::Key_Up);
  EXPECT_EQ(desk.questions.size(), 1);
  EXPECT_EQ(desk.chosen() + desk.Find<QLineEdit>("USB")->text().toStdString(), "TS-2000edited");
  EXPECT_FALSE(desk.window.close());
  EXPECT_EQ(desk.questions.size(), 2);
  desk.answer = 0;
  QTest::keyClick(list, Qt::Key_Up);
  EXPECT_EQ(desk.Stored("TS-2000", "USB"), "edited");
  const std::string other = desk.chosen();
  EXPECT_NE(other, "TS-2000");
  EXPECT_EQ(desk.Find<QLineEdit>("Rig Name")->text().toStdString(), other);
  desk.Type("USB", "again");
  desk.answer = 1;
  desk.window.close();
  QApplication::processEvents();
  EXPECT_FALSE(desk.window.isVisible());
  EXPECT_NE(desk.Stored(other, "USB"), "again") << "discarded";
  EXPECT_EQ(desk.questions.size(), 4);
}

TEST(RigEditorWindow, WholeRigsByTheirButtons) {
  Desk desk;
  desk.name = "Mine";
  QTest::keyClick(&desk.window, Qt::Key_D, Qt::ControlModifier);
  EXPECT_TRUE(desk.window.isWindowModified());
  EXPECT_EQ(desk.Stored("Mine", "USB"), "none") << "not before it is saved";
  desk.Click("Save");
  EXPECT_EQ(desk.chosen() + desk.Stored("Mine", "USB"), "MineMD2;");
  desk.name = "Yours";
  QTest::keyClick(&desk.window, Qt::Key_F2);
  EXPECT_EQ(desk.chosen() + desk.Stored("Mine", "USB") + desk.Stored("Yours", "USB"), "YoursnoneMD2;");
  desk.Click("Delete");
  EXPECT_EQ(desk.Stored("Yours", "USB"), "MD2;") << "asked, and answered with Cancel";
  desk.answer = 0;
  desk.Click("Delete");
  EXPECT_EQ(desk.Stored("Yours", "USB"), "none");
  EXPECT_EQ(desk.chosen(), "");
  EXPECT_FALSE(desk.Button("Copy")->isEnabled());
  desk.window.Choose("TS-2000");
  desk.Click("Delete");
  EXPECT_EQ(desk.message(), "TS-2000 is in use: choose another rig first");
  desk.name = "TS-2000";
  desk.Click("New");
  EXPECT_EQ(desk.message(), "there is a rig TS-2000 already");
}

TEST(RigEditorWindow, ImportTellsWhatItReplacesAndExportWritesIt) {
  Desk desk;
  desk.folder.Put("in.csv", "RigName,TS-2000\nUSB,new\nRigName,Other\n");
  desk.file = QString::fromStdString((desk.folder / "in.csv").string());
  desk.Click("Import");
  EXPECT_EQ(desk.questions, QStringList("These rigs are there already and would be replaced: TS-2000"));
  EXPECT_EQ(desk.Stored("TS-2000", "USB") + desk.Stored("Other", "USB"), "MD2;none");
  desk.answer = 0;
  desk.Click("Import");
  desk.loop.RunFor(1s);
  EXPECT_EQ(desk.Find<QLineEdit>("USB")->text(), "new");
  EXPECT_EQ(desk.Stored("Other", "USB"), "");
  desk.file = QString::fromStdString((desk.folder / "out.csv").string());
  desk.answer = 1;
  desk.Click("Export");
  desk.loop.RunFor(1s);
  EXPECT_EQ(desk.folder.Get("out.csv").substr(0, 15), "RigName,TS-2000");
  EXPECT_EQ(desk.folder.Get("out.csv").find("Other"), std::string::npos);
}

TEST(RigEditorWindow, SendItWritesTheBytesAndAsksBeforeTransmitting) {
  Desk desk;
  desk.Type("USB", "MD2;<CR>");
  desk.Click("Send it");
  EXPECT_EQ(desk.port.written, "MD2;\r");
  EXPECT_TRUE(desk.questions.isEmpty());
  QTest::keyClick(&desk.window, Qt::Key_S, Qt::ControlModifier);
  desk.loop.RunFor(3s);
  desk.port.written.clear();
  desk.Search("XMT on");
  desk.Find<QLineEdit>("Alpha")->setFocus();
  QTest::keyClick(&desk.window, Qt::Key_Return, Qt::ControlModifier);
  EXPECT_EQ(desk.questions, QStringList("This makes the rig transmit: TX;"));
  EXPECT_EQ(desk.port.written, "");
  desk.answer = 0;
  desk.Click("Send it");
  EXPECT_EQ(desk.port.written, "TX;");
  EXPECT_TRUE(*desk.station.console.Transmitting);
  desk.port.absent = true;
  desk.port.Lose();
  EXPECT_FALSE(desk.Button("Port closed")->isEnabled());
}

TEST(RigEditorWindow, AFieldIsFoundByNameHintOrValueAndGroupsByKeys) {
  Desk desk;
  desk.Search("spokenword");
  EXPECT_TRUE(desk.Shown().isEmpty());
  desk.Search("rfgain");
  EXPECT_EQ(desk.Shown(), (QStringList{"#8 RFGain", "Get #8 RFGain"}));
  desk.Search("Specific to ICOM");
  EXPECT_EQ(desk.Shown(), QStringList("Icom Rig Addr or Antenna #"));
  desk.Search("MD2");
  EXPECT_EQ(desk.Shown(), QStringList("USB"));
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
  EXPECT_EQ(desk.Shown().size(), 11) << "the group that was there";
  QTest::keyClick(&desk.window, Qt::Key_PageDown, Qt::ControlModifier);
  EXPECT_EQ(QApplication::focusWidget()->accessibleName(), "Set Freq") << "the search ends, the next group begins";
  QTest::keyClick(&desk.window, Qt::Key_PageUp, Qt::ControlModifier);
  EXPECT_EQ(QApplication::focusWidget()->accessibleName(), "Rig Name");
  EXPECT_EQ(desk.Shown().size(), 11);
  QTest::keyClick(&desk.window, Qt::Key_L, Qt::ControlModifier);
  QTest::keyClicks(QApplication::focusWidget(), "orion");
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
  EXPECT_EQ(desk.chosen(), "Orion");
}

TEST(RigEditorWindow, ItsDialogsAnswerByKeyboardAndNeverHoldTheEngine) {
  Desk desk;
  desk.window.dialogs = MakeRigEditorDialogs(&desk.window);
  desk.window.Choose("FT-857");
  const auto press = [&](Qt::Key key) {
    auto* dialog = desk.window.findChild<QDialog*>();
    ASSERT_TRUE(dialog != nullptr && dialog->isVisible());
    QTest::keyClick(dialog, key);
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  };
  for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return}) {
    desk.Click("Delete");
    press(key);
    EXPECT_EQ(desk.Stored("FT-857", "RigName"), "FT-857");
  }
  desk.Click("Delete");
  auto* sure = desk.window.findChild<QDialog*>()->findChild<QPushButton*>();
  ASSERT_EQ(sure->text(), "Delete");
  QTest::keyClick(sure, Qt::Key_Space);
  QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(desk.Stored("FT-857", "RigName"), "none");
  desk.window.Choose("TS-2000");
  desk.Click("Copy");
  press(Qt::Key_Escape);
  EXPECT_FALSE(desk.window.isWindowModified());
  desk.Click("Copy");
  press(Qt::Key_Return);
  EXPECT_EQ(desk.Find<QLineEdit>("Rig Name")->text(), "TS-2000 copy");
  EXPECT_FALSE(desk.window.close());
  press(Qt::Key_Escape);
  EXPECT_TRUE(desk.window.isVisible() && desk.window.isWindowModified());
}

}  // namespace
}  // namespace kvx::console
