#include "widgets/lamp.h"

#include "widgets/qt_text.h"

namespace kvx::widgets {

Lamp::Lamp(const QString& name, QWidget* parent) : QLabel(parent) {
  Named(this, name, name);
  setAlignment(Qt::AlignCenter);
  ShowLit();
}

void Lamp::SetLit(bool lit) {
  if (std::exchange(lit_, lit) != lit) ShowLit();
}

void Lamp::ShowLit() {
  setText(lit_ ? "●" : "○");
  setAccessibleDescription(lit_ ? tr("on") : tr("off"));
  SetRole(this, lit_ ? "light-on" : "light");
}

}  // namespace kvx::widgets
