#include "console/function_list_delegate.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "console/function_list_model.h"
#include "widgets/painting.h"

namespace kvx::console {
namespace {

constexpr double kHeardTint = 0.22;
constexpr double kMarkSize = 0.8;  // of the text's height

}  // namespace

void FunctionListDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
  const widgets::Theme& theme = appearance_.theme();
  const bool selected = option.state & QStyle::State_Selected;
  const bool heard = index.data(FunctionListModel::kHeardRole).toBool();
  const QColor ground = selected ? theme.accent
                        : heard  ? widgets::Mixed(theme.screen, theme.accent, kHeardTint)
                                 : theme.screen;
  painter->fillRect(option.rect, ground);
  if (heard && index.column() == functions::kRigColumn) {
    QRect edge = option.rect;
    edge.setWidth(option.fontMetrics.height() / 3);
    painter->fillRect(edge, selected ? theme.accent_ink : theme.accent);
  }
  const QVariant mark = index.data(Qt::CheckStateRole);
  if (mark.isValid()) {
    PaintMark(*painter, option, mark.toInt() == Qt::Checked, selected);
  } else {
    PaintText(*painter, option, index, selected ? theme.accent_ink : theme.digits);
  }
  if (option.state & QStyle::State_HasFocus) {
    painter->setPen(QPen(selected ? theme.accent_ink : theme.focus, 2));
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(option.rect.adjusted(1, 1, -1, -1));
  }
}

void FunctionListDelegate::PaintMark(QPainter& painter, const QStyleOptionViewItem& option, bool on,
                                     bool selected) const {
  const widgets::Theme& theme = appearance_.theme();
  const double size = option.fontMetrics.height() * kMarkSize;
  QRectF box(0, 0, size, size);
  box.moveCenter(QRectF(option.rect).center());
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor edge = selected ? theme.accent_ink : on ? theme.accent : theme.quiet_ink;
  painter.setPen(QPen(edge, 1));
  painter.setBrush(on ? QBrush(edge) : QBrush(Qt::NoBrush));
  painter.drawRoundedRect(box, size / 5, size / 5);
  if (on) {
    painter.setPen(QPen(selected ? theme.accent : theme.accent_ink, size / 8, Qt::SolidLine, Qt::RoundCap));
    const QPointF corner = box.topLeft();
    painter.drawPolyline(QPolygonF({corner + QPointF(0.22, 0.52) * size, corner + QPointF(0.42, 0.72) * size,
                                    corner + QPointF(0.78, 0.30) * size}));
  }
  painter.restore();
}

void FunctionListDelegate::PaintText(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                                     const QColor& ink) const {
  const bool null = index.data(FunctionListModel::kNullRole).toBool();
  const QString text = null ? QString("–") : index.data(Qt::DisplayRole).toString();
  if (text.isEmpty()) return;
  const bool number = index.column() == functions::kFreqColumn;
  const int margin = option.fontMetrics.height() / 2;
  const QRect area = option.rect.adjusted(margin, 0, -margin, 0);
  painter.setFont(option.font);
  painter.setPen(ink);
  const Qt::Alignment side = number ? Qt::AlignRight : Qt::AlignLeft;
  painter.drawText(area, static_cast<int>(side | Qt::AlignVCenter) | Qt::TextSingleLine,
                   option.fontMetrics.elidedText(text, Qt::ElideRight, area.width()));
}

bool FunctionListDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                       const QModelIndex& index) {
  const QVariant mark = index.data(Qt::CheckStateRole);
  if (!mark.isValid()) return QStyledItemDelegate::editorEvent(event, model, option, index);
  if (event->type() == QEvent::MouseButtonDblClick) return true;  // its two clicks have turned it twice
  const bool click = event->type() == QEvent::MouseButtonRelease &&
                     static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton &&
                     static_cast<QMouseEvent*>(event)->modifiers() == Qt::NoModifier;
  const bool key = event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space;
  if (!click && !key) return false;
  return model->setData(index, mark.toInt() == Qt::Checked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

}  // namespace kvx::console
