#include "console/panel.h"

#include "core/text.h"

namespace kvx::console {

Panel::Panel(Station& station, const char* role, QWidget* parent) : QFrame(parent), station_(station) {
  setProperty("role", role);
}

void Panel::Report(cat::SendOutcome outcome) {
  if (outcome != cat::SendOutcome::kSent && !set_by_hand()) station_.Notice(station_.WhyNotSent(outcome));
}

void Panel::Report(const Status& status) {
  if (!status) station_.Notice(status.error().message);
}

bool Panel::set_by_hand() const {
  return !station_.engine.dispatcher.Has("XSETFREQ") && !station_.engine.dispatcher.Has("XGETFREQ");
}

bool Panel::Offers(std::string_view key) const {
  return station_.engine.dispatcher.Has(key);
}

QLabel* MakeLabel(const QString& name, const char* role) {
  auto* label = new QLabel;
  label->setProperty("role", role);
  label->setAccessibleName(name);
  label->setToolTip(name);
  label->setTextFormat(Qt::PlainText);
  return label;
}

}  // namespace kvx::console
