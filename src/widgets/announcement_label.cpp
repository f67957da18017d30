#include "widgets/announcement_label.h"

#include <QAccessible>
#include <QAccessibleEvent>

namespace kvx::widgets {

AnnouncementLabel::AnnouncementLabel(QWidget* parent) : ElidedLabel(parent) {
  setObjectName("SPKBX");
  setProperty("role", "quiet");
  setAccessibleName(tr("No announcement yet"));
  setToolTip(tr("The last announcement"));
}

void AnnouncementLabel::Show(const QString& sentence) {
  if (sentence == text()) return;
  setText(sentence);
  // The name of a text that has one of its own is what is read when it changes.
  setAccessibleName(sentence.isEmpty() ? tr("No announcement yet") : sentence);
}

void AnnouncementLabel::Repeat() {
  QAccessibleEvent event(this, QAccessible::NameChanged);
  QAccessible::updateAccessibility(&event);
}

}  // namespace kvx::widgets
