#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QShortcut>
#include <QSpinBox>
#include <QTest>
#include <set>

#include "accessories/accessories.h"
#include "accessories/antenna_port_window.h"
#include "accessories/antenna_window.h"
#include "accessories/direct_port_window.h"
#include "console/console_window.h"
#include "console/debug_window.h"
#include "console/function_list_window.h"
#include "console/key_screen.h"
#include "console/link_window.h"
#include "console/memory_window.h"
#include "console/rig_editor_window.h"
#include "console/setup_dialog.h"
#include "console/tuner_window.h"
#include "console_fixture.h"
#include "fakes/fake_device_list.h"
#include "fakes/window_hands.h"

namespace kvx::console {
namespace {

/// What a key does in a window: (key, who has it), for all that is on the screen and for every menu.
std::multimap<QString, QString> KeysOf(QWidget& window) {
  std::multimap<QString, QString> keys;
  const auto add = [&](const QKeySequence& key, const QString& who) {
    if (!key.isEmpty()) keys.emplace(key.toString(), who);
  };
  QStringList within;
  for (const auto* action : window.findChildren<QAction*>()) {
    for (const QKeySequence& key : action->shortcuts()) add(key, "menu entry " + action->text());
  }
  for (const auto* shortcut : window.findChildren<QShortcut*>()) {
    const auto* owner = qobject_cast<QWidget*>(shortcut->parent());
    if (owner->window() != &window || !owner->isVisible()) continue;
    const bool inside = shortcut->context() == Qt::WidgetShortcut;  // several may have it, each while it has the focus
    const QString who = inside ? QString("in one control") : owner->metaObject()->className();
    if (!inside || !within.contains(shortcut->key().toString())) add(shortcut->key(), who);
    if (inside) within << shortcut->key().toString();
  }
  for (const auto* button : window.findChildren<QAbstractButton*>()) {
    if (button->window() == &window && button->isVisible()) add(button->shortcut(), "button " + button->text());
  }
  for (const auto* label : window.findChildren<QLabel*>()) {
    if (label->buddy() != nullptr && label->isVisible()) add(QKeySequence::mnemonic(label->text()), label->text());
  }
  for (const auto* bar : window.findChildren<QMenuBar*>()) {
    for (const auto* entry : bar->actions()) add(QKeySequence::mnemonic(entry->text()), "menu " + entry->text());
  }
  return keys;
}

/// All windows of the program on one station.
class WindowsTest : public testing::Test {
 protected:
  /// A window, or one of its pages.
  struct View {
    QWidget* window;
    std::function<void()> turn_to = [] {};
  };
  WindowsTest() {
    bench_.Start(5s);
    bench_.station.functions.keys.StoreFN("net");  // a table with a row in it, which Tab is to pass
    bench_.loop.RunFor(1s);
    appearance_.Use(widgets::MakeTheme("dark"), 100);
    for (const auto page : {SetupDialog::kRig, SetupDialog::kPort, SetupDialog::kStation, SetupDialog::kKeyer,
                            SetupDialog::kLinks, SetupDialog::kAppearance, SetupDialog::kAnnouncements})
      views_.push_back({&dialog_, [this, page] { dialog_.Open(page); }});
    QTest::keyClick(&antennas_, Qt::Key_U, Qt::AltModifier);  // its setup, too
  }
  ~WindowsTest() override { appearance_.Use(widgets::MakeTheme("dark"), 100); }
  void ForEachView(const std::function<void(QWidget& window)>& look) {
    for (const View& view : views_) {
      SCOPED_TRACE(view.window->windowTitle().toStdString());
      ShowActive(*view.window);
      view.turn_to();
      look(*view.window);
      view.window->hide();
    }
  }

  Bench bench_{RigIni("TS-2000"), "", true};
  FakeDeviceList devices_;
  StationSetup setup_{bench_.loop, bench_.station, bench_.files, devices_};
  RigEditor editor_{bench_.station, bench_.files};
  widgets::Appearance appearance_;
  accessories::AntennaControl& control_ = bench_.station.accessories->antennas;
  ConsoleWindow console_{bench_.station, appearance_};
  FunctionListWindow functions_{bench_.station, appearance_};
  MemoryWindow memories_{bench_.station, appearance_};
  KeyScreen key_screen_{bench_.station, bench_.loop, nullptr, appearance_};
  DebugWindow debug_{bench_.station, appearance_};
  LinkWindow links_{bench_.station};
  RigEditorWindow rig_editor_{editor_, appearance_};
  SetupDialog dialog_{setup_, appearance_};
  TunerWindow tuner_{bench_.station};
  accessories::AntContF antennas_{control_, bench_.station.console, appearance_};
  accessories::AntSpeedF antenna_port_{control_};
  accessories::DirectPF direct_port_{control_, bench_.station.accessories->direct};
  std::vector<View> views_{{&console_},    {&functions_}, {&memories_}, {&key_screen_},   {&debug_},      {&links_},
                           {&rig_editor_}, {&tuner_},     {&antennas_}, {&antenna_port_}, {&direct_port_}};
};

/// Keys that more than one thing has, pressed, would do nothing.
TEST_F(WindowsTest, NoKeyMeansTwoThingsInAWindow) {
  // Those of the menu of windows, as the program has them.
  for (const char* key : {"Ctrl+E", "Ctrl+L", "Ctrl+M", "Ctrl+K", "Ctrl+U", "Ctrl+B", "Ctrl+Shift+B", "Ctrl+Shift+D",
                          "Ctrl+D", "Ctrl+Shift+L", "Ctrl+H"})
    console_.AddWindow(key, QKeySequence(key), QString(key).toLower(),
                       [](QWidget* parent) { return new QWidget(parent); });
  ForEachView([](QWidget& window) {
    const auto keys = KeysOf(window);
    EXPECT_GT(keys.size(), 1U);
    for (const auto& [key, who] : keys)
      EXPECT_EQ(keys.count(key), 1U) << key.toStdString() << ": " << who.toStdString();
  });
}

/// What the keyboard is to reach. Of radio buttons it reaches the chosen one, which leads on to the others.
QList<QWidget*> Operable(const QWidget& window) {
  QList<QWidget*> controls = window.findChildren<QWidget*>();
  controls.removeIf([](const QWidget* control) {
    const QWidget* parent = control->parentWidget();
    return !control->isVisible() || !control->isEnabled() || !(control->focusPolicy() & Qt::TabFocus) ||
           control->focusProxy() != nullptr || qobject_cast<const QAbstractSpinBox*>(parent) ||
           qobject_cast<const QComboBox*>(parent) || qobject_cast<const QRadioButton*>(control);
  });
  return controls;
}

TEST_F(WindowsTest, TabLeadsToEveryControlWhichHasANameAndATip) {
  ForEachView([this](QWidget& window) {
    if (&window == &console_) return;  // tried on a desktop; its tips tell what is under the pointer
    std::set<QWidget*> reached;
    const auto in_hand = [&] { return window.focusWidget() != nullptr ? window.focusWidget() : &window; };
    while (reached.insert(in_hand()).second) QTest::keyClick(in_hand(), Qt::Key_Tab);
    const QList<QWidget*> controls = Operable(window);
    EXPECT_GE(controls.size(), 3);
    for (QWidget* control : controls) {
      const QString name = QAccessible::queryAccessibleInterface(control)->text(QAccessible::Name);
      const std::string what = control->metaObject()->className() + (" " + name.toStdString());
      EXPECT_FALSE(name.isEmpty() || control->toolTip().isEmpty()) << what;
      EXPECT_TRUE(reached.contains(control)) << what;
    }
  });
}

TEST_F(WindowsTest, LargeTextFitsASmallScreen) {
  for (const int percent : {100, 200}) {
    appearance_.Use(widgets::MakeTheme("light"), percent);
    ForEachView([&](QWidget& window) {
      window.resize(1024, 600);
      for (int round = 0; round < 4; ++round) QApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
      EXPECT_LE(window.minimumSizeHint().width(), 1024) << percent;
      EXPECT_LE(window.minimumSizeHint().height(), 600) << percent;
      for (const auto* button : window.findChildren<QPushButton*>())
        EXPECT_TRUE(!button->isVisible() || button->width() >= button->sizeHint().width())
            << button->text().toStdString() << " is cut at " << percent;
      for (const auto* area : window.findChildren<QScrollArea*>())
        EXPECT_TRUE(!area->isVisible() || &window == &console_ || area->widget()->width() <= area->viewport()->width())
            << "needs to be moved sideways at " << percent;
    });
  }
}

}  // namespace
}  // namespace kvx::console
