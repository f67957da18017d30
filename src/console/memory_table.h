#pragma once

#include <QStyledItemDelegate>
#include <QTableView>
#include <QTimer>
#include <functional>
#include <vector>

#include "console/memory_model.h"
#include "widgets/appearance.h"

namespace kvx::console {

/// The cells of the memory table: boxes that are switched by a click or the space bar, modes and VFOs from a list, and
/// a ring around the one that the keyboard acts on.
class MemoryCells final : public QStyledItemDelegate {
  Q_OBJECT

 public:
  MemoryCells(const widgets::Appearance& appearance, QObject* parent);

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  void setEditorData(QWidget* editor, const QModelIndex& index) const override;
  void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

 private:
  void PaintBox(QPainter& painter, const QStyleOptionViewItem& option, bool on) const;

  const widgets::Appearance& appearance_;
};

/// The table of the memory channels. Cells are edited in place, rows are moved by dragging them.
class MemoryTable final : public QTableView {
  Q_OBJECT

 public:
  MemoryTable(MemoryModel& model, const widgets::Appearance& appearance, QWidget* parent = nullptr);

  /// The channel in hand; 0: none.
  int current() const { return model_.NumberAt(currentIndex().row()); }
  bool is_editing() const { return state() == EditingState; }
  /// All that are marked.
  std::vector<int> marked() const;
  /// Goes to a channel, or as near to it as is shown.
  void GoTo(int number);

  std::function<void(int number)> on_recall;
  std::function<void()> on_delete;
  std::function<void(int from, int to)> on_move;

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void FitColumns();
  void MoveBy(int rows);
  void DragTo(int y);
  void EndDrag();
  void ScrollAtTheEdge();
  int RowEdge(int row) const;

  MemoryModel& model_;
  const widgets::Appearance& appearance_;
  QPoint pressed_at_;
  int pressed_ = 0;  ///< the channel under the mouse button; 0: none
  int drop_ = -1;    ///< the row before which it would be put; -1: it is not being dragged
  int drag_y_ = 0;
  QTimer scroll_;
};

}  // namespace kvx::console
