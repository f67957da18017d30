#include "console/escape_release.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <utility>

namespace kvx::console {

EscapeRelease::EscapeRelease(Station& station) : station_(station) {
  QCoreApplication::instance()->installEventFilter(this);
}

void EscapeRelease::Release() {
  if (station_.Escape()) return;
  station_.Notice(tr("The transmitter cannot be released: the rig port is closed").toStdString());
}

/// One press comes here several times: for the window, for the control in it, as a shortcut's key and as its own.
bool EscapeRelease::IsNew(const QKeyEvent& event) {
  const auto moment = static_cast<std::uint64_t>(event.timestamp());
  return moment == 0 || std::exchange(pressed_at_, moment) != moment;
}

bool EscapeRelease::eventFilter(QObject* watched, QEvent* event) {
  // A shortcut's key is offered to the control in focus first, which may take it: nobody is before this.
  const bool key = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
  if (key && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && IsNew(*static_cast<QKeyEvent*>(event)))
    Release();
  return QObject::eventFilter(watched, event);
}

}  // namespace kvx::console
