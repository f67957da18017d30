#include "widgets/lamp_button.h"

#include <QKeySequence>

namespace kvx::widgets {

LampButton::LampButton(const QString& text, const QString& name, QWidget* parent) : QPushButton(text, parent) {
  setCheckable(true);
  setAutoDefault(false);
  setAccessibleName(name);
  setToolTip(name);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void LampButton::SetRole(const char* role) {
  setProperty("role", role);
}

void LampButton::SetText(const QString& text) {
  const QKeySequence keys = shortcut();
  setText(text);
  setShortcut(keys);
}

void LampButton::SetKeys(const QKeySequence& keys) {
  setShortcut(keys);
  setToolTip(accessibleName() + " (" + keys.toString(QKeySequence::NativeText) + ")");
}

}  // namespace kvx::widgets
