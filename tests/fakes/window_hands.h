#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>

namespace kvx {

/// The control of that accessible name or object name, one that can be seen first; or one whose tool tip begins so.
template <class Control>
Control* FindControl(const QWidget& window, const QString& name) {
  Control* found = nullptr;
  int best = 0;
  for (Control* control : window.findChildren<Control*>()) {
    const bool named = control->accessibleName() == name || control->objectName() == name;
    const int match = named ? 2 + control->isVisible() : control->toolTip().startsWith(name);
    if (match <= best) continue;
    best = match;
    found = control;
  }
  if (found == nullptr) qFatal("there is no control %s", qPrintable(name));
  return found;
}

/// Puts the window on the screen, and the keys go to it.
inline void ShowActive(QWidget& window) {
  window.show();
  window.activateWindow();
  EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
}

/// Turns the wheel over a place of the widget: 120 is a notch; `pixels` as of a device that tells them alone.
inline void TurnWheel(QWidget& widget, QPointF at, QPoint angle, Qt::KeyboardModifiers modifiers = {},
                      QPoint pixels = {}) {
  QWheelEvent event(at, widget.mapToGlobal(at), pixels, angle, Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(&widget, &event);
}

}  // namespace kvx
