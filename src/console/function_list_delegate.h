#pragma once

#include <QStyledItemDelegate>

#include "widgets/appearance.h"

namespace kvx::console {

/// Paints the cells of the function list: marks as boxes, the row that the scan hears with the accent at its edge, a
/// ring around the cell that the keyboard acts on. A click on a mark, or Space, turns it.
class FunctionListDelegate final : public QStyledItemDelegate {
  Q_OBJECT

 public:
  explicit FunctionListDelegate(const widgets::Appearance& appearance, QObject* parent = nullptr)
      : QStyledItemDelegate(parent), appearance_(appearance) {}

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

 private:
  void PaintMark(QPainter& painter, const QStyleOptionViewItem& option, bool on, bool selected) const;
  void PaintText(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                 const QColor& ink) const;

  const widgets::Appearance& appearance_;
};

}  // namespace kvx::console
