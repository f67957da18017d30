#include "widgets/elided_label.h"

#include <QPainter>
#include <QStyle>
#include <algorithm>

namespace kvx::widgets {
namespace {

constexpr int kLeastLetters = 4;

}  // namespace

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);  // a rig's name may look like a tag
}

QSize ElidedLabel::minimumSizeHint() const {
  const QSize whole = QLabel::minimumSizeHint();
  return {std::min(whole.width(), fontMetrics().averageCharWidth() * kLeastLetters), whole.height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  drawFrame(&painter);
  const QRect room = contentsRect();
  const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, room.width());
  const auto place = static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment()));
  style()->drawItemText(&painter, room, place, palette(), isEnabled(), shown, foregroundRole());
}

}  // namespace kvx::widgets
