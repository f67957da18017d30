#include <QAbstractButton>
#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>
#include <QTest>

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
#include "console_fixture.h"
#include "fakes/fake_device_list.h"

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

/// The keys that more than one thing has, with their owners: pressed, they would do nothing.
QStringList Clashes(QWidget& window) {
  window.show();
  EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
  const auto keys = KeysOf(window);
  EXPECT_GT(keys.size(), 1U) << window.windowTitle().toStdString();
  QStringList clashes;
  for (const auto& [key, who] : keys) {
    if (keys.count(key) > 1) clashes << key + ": " + who;
  }
  window.hide();
  return clashes;
}

TEST(Shortcuts, NoKeyMeansTwoThingsInAWindow) {
  Bench bench(RigIni("TS-2000"), "", true);
  bench.Start();
  bench.loop.RunFor(5s);
  FakeDeviceList devices;
  StationSetup setup{bench.loop, bench.station, bench.files, devices};
  RigEditor editor{bench.station, bench.files};
  widgets::Appearance appearance;
  ConsoleWindow console{bench.station, appearance};
  // Those of the menu of windows, as the program has them.
  for (const char* key : {"Ctrl+E", "Ctrl+L", "Ctrl+M", "Ctrl+K", "Ctrl+U", "Ctrl+B", "Ctrl+Shift+B", "Ctrl+Shift+D",
                          "Ctrl+D", "Ctrl+Shift+L", "Ctrl+H"})
    console.AddWindow(key, QKeySequence(key), QString(key).toLower(),
                      [](QWidget* parent) { return new QWidget(parent); });
  FunctionListWindow functions{bench.station, appearance};
  MemoryWindow memories{bench.station, appearance};
  KeyScreen key_screen{bench.station, bench.loop, nullptr, appearance};
  DebugWindow debug{bench.station, appearance};
  LinkWindow links{bench.station};
  RigEditorWindow rig_editor{editor, appearance};
  SetupDialog dialog{setup, appearance};
  accessories::AntennaControl& control = bench.station.accessories->antennas;
  accessories::AntContF antennas{control, bench.station.console, appearance};
  QTest::keyClick(&antennas, Qt::Key_U, Qt::AltModifier);
  accessories::AntSpeedF antenna_port{control};
  accessories::DirectPF direct_port{control, bench.station.accessories->direct};
  for (QWidget* window : std::initializer_list<QWidget*>{&console, &functions, &memories, &key_screen, &debug, &links,
                                                         &rig_editor, &dialog, &antennas, &antenna_port, &direct_port})
    EXPECT_EQ(Clashes(*window), QStringList()) << window->windowTitle().toStdString();
}

}  // namespace
}  // namespace kvx::console
