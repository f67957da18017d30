#include "widgets/tabular_label.h"

#include <QEvent>
#include <QPainter>
#include <QStyleOption>
#include <cmath>

namespace kvx::widgets {

TabularLabel::TabularLabel(const QString& name, QWidget* parent) : QWidget(parent) {
  setAccessibleName(name);
  setToolTip(name);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
}

void TabularLabel::SetText(const QString& text) {
  if (text == text_) return;
  const double before = TextWidth();
  text_ = text;
  setAccessibleDescription(text);
  if (std::abs(TextWidth() - before) > 0.5) updateGeometry();
  update();
}

double TabularLabel::Width(QChar character) const {
  const QFontMetricsF metrics(font());
  return metrics.horizontalAdvance(character.isDigit() ? QChar('0') : character);
}

double TabularLabel::TextWidth() const {
  double width = 0;
  for (const QChar character : text_) width += Width(character);
  return width;
}

QSize TabularLabel::sizeHint() const {
  return {static_cast<int>(std::ceil(TextWidth())) + 2, fontMetrics().height()};
}

void TabularLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setPen(palette().color(QPalette::WindowText));
  const QFontMetricsF metrics(font());
  const double room = width() - TextWidth();
  double x = (alignment_ & Qt::AlignRight) ? room : (alignment_ & Qt::AlignHCenter) ? room / 2 : 0;
  const double baseline = (height() + metrics.ascent() - metrics.descent()) / 2;
  for (const QChar character : text_) {
    const double width = Width(character);
    painter.drawText(QPointF(x + (width - metrics.horizontalAdvance(character)) / 2, baseline), QString(character));
    x += width;
  }
}

}  // namespace kvx::widgets
