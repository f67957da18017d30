#include "widgets/side_by_side.h"

#include <QBoxLayout>
#include <QEvent>
#include <algorithm>

namespace kvx::widgets {

SideBySide::SideBySide(QWidget* parent) : QWidget(parent), row_(new QBoxLayout(QBoxLayout::LeftToRight, this)) {
  row_->setContentsMargins(0, 0, 0, 0);
}

void SideBySide::Add(QWidget* widget, int stretch) {
  row_->addWidget(widget, stretch);
}

/// As narrow as the widest of them, so that what is around does not keep it too wide to find out.
QSize SideBySide::minimumSizeHint() const {
  int widest = 0;
  for (int i = 0; i < row_->count(); ++i) widest = std::max(widest, row_->itemAt(i)->minimumSize().width());
  return {widest, row_->minimumSize().height()};
}

bool SideBySide::event(QEvent* event) {
  const bool done = QWidget::event(event);
  if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest) Arrange();
  return done;
}

void SideBySide::Arrange() {
  int needed = row_->spacing() * (row_->count() - 1);
  for (int i = 0; i < row_->count(); ++i) needed += row_->itemAt(i)->minimumSize().width();
  const auto direction = needed > width() ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight;
  if (row_->direction() != direction) row_->setDirection(direction);
}

}  // namespace kvx::widgets
