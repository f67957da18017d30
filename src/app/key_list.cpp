#include "app/key_list.h"

#include <QAbstractButton>
#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>
#include <QStringList>
#include <algorithm>
#include <vector>

namespace kvx::app {
namespace {

QString Plain(QString text) {
  return text.remove('&').remove(QString::fromUtf8("…")).simplified();
}

/// Those of the window itself: another one can be its child.
template <class Part>
std::vector<Part*> PartsOf(const QWidget& window) {
  std::vector<Part*> parts;
  for (auto* part : window.findChildren<Part*>()) {
    const QObject* home = part;
    while (home != nullptr && (!home->isWidgetType() || !static_cast<const QWidget*>(home)->isWindow() ||
                               qobject_cast<const QMenu*>(home) != nullptr))
      home = home->parent();
    if (home == &window) parts.push_back(part);
  }
  return parts;
}

}  // namespace

QString KeyList(const QString& window_name, const QWidget& window) {
  QStringList lines;
  const auto add = [&](const QKeySequence& keys, const QString& what) {
    if (!keys.isEmpty()) lines << window_name + '\t' + keys.toString(QKeySequence::PortableText) + '\t' + Plain(what);
  };
  for (const auto* action : PartsOf<QAction>(window)) {
    for (const QKeySequence& keys : action->shortcuts()) add(keys, action->text());
    const auto places = action->associatedObjects();
    const auto is_bar = [](const QObject* place) { return qobject_cast<const QMenuBar*>(place) != nullptr; };
    if (std::ranges::any_of(places, is_bar)) add(QKeySequence::mnemonic(action->text()), action->text());
  }
  for (const auto* button : PartsOf<QAbstractButton>(window))
    add(button->shortcut(), button->accessibleName().isEmpty() ? button->text() : button->accessibleName());
  for (const auto* label : PartsOf<QLabel>(window)) {
    if (label->buddy() != nullptr) add(QKeySequence::mnemonic(label->text()), label->text());
  }
  for (const auto* key : PartsOf<QShortcut>(window)) {
    for (const QKeySequence& keys : key->keys()) add(keys, {});
  }
  lines.sort();
  lines.removeDuplicates();
  return lines.join('\n') + '\n';
}

}  // namespace kvx::app
