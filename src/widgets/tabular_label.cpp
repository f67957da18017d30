#include "widgets/tabular_label.h"

#include <QEvent>
#include <QPainter>
#include <QStyleOption>
#include <cmath>

#include "widgets/painting.h"

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

void TabularLabel::SetScale(double scale) {
  scale_ = scale;
  updateGeometry();
}

double TabularLabel::Width(QChar character) const {
  const QFontMetricsF metrics(ScaledFont(*this, scale_));
  return metrics.horizontalAdvance(character.isDigit() ? QChar('0') : character);
}

double TabularLabel::TextWidth() const {
  double width = 0;
  for (const QChar character : text_) width += Width(character);
  return width;
}

QSize TabularLabel::sizeHint() const {
  return {static_cast<int>(std::ceil(TextWidth())) + 2,
          static_cast<int>(std::ceil(QFontMetricsF(ScaledFont(*this, scale_)).height()))};
}

void TabularLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setPen(palette().color(QPalette::WindowText));
  painter.setFont(ScaledFont(*this, scale_));
  const QFontMetricsF metrics(painter.font());
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
