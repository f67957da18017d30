#include "widgets/qt_text.h"

#include <QApplication>
#include <QFontDatabase>
#include <QStyle>
#include <QVariant>

namespace kvx::widgets {

QFont FixedFont() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPointSizeF(QApplication::font().pointSizeF());
  return font;
}

void SetRole(QWidget* widget, const char* role) {
  if (widget->property("role").toString() == role) return;
  widget->setProperty("role", role);
  widget->style()->unpolish(widget);
  widget->style()->polish(widget);
}

void ShowText(QLabel* label, const QString& text) {
  label->setText(text);
  label->setAccessibleDescription(text);
}

}  // namespace kvx::widgets
