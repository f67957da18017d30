#pragma once

#include <QFont>
#include <QKeySequence>
#include <QLabel>
#include <QString>
#include <QWidget>
#include <string_view>

namespace kvx::widgets {

/// A text of the engine, which is UTF-8.
inline QString ToQt(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Letters of one width, in the size of the application's text.
QFont FixedFont();

/// Gives a widget another role of the style sheet.
void SetRole(QWidget* widget, const char* role);

/// The same for one that has just been made.
template <class Widget>
Widget* WithRole(Widget* widget, const char* role) {
  widget->setProperty("role", role);
  return widget;
}

/// Shows a text, on the screen and for the screen reader.
void ShowText(QLabel* label, const QString& text);

/// Gives a control its name for screen readers, its tip and its shortcut, which the tip tells.
template <class Control>
Control* Named(Control* control, const QString& name, const QString& tip, const QKeySequence& shortcut = {}) {
  control->setAccessibleName(name);
  const QString keys = shortcut.toString(QKeySequence::NativeText);
  control->setToolTip(keys.isEmpty() ? tip : tip + " (" + keys + ")");
  return control;
}

}  // namespace kvx::widgets
