#include "console/memory_table.h"

#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <algorithm>

#include "widgets/painting.h"

namespace kvx::console {
namespace {

constexpr int kScrollMilliseconds = 50;
constexpr int kLongestText = 1000;

bool IsBox(int column) {
  return column == MemoryModel::kNarrow || column == MemoryModel::kSkip;
}

}  // namespace

MemoryCells::MemoryCells(const widgets::Appearance& appearance, QObject* parent)
    : QStyledItemDelegate(parent), appearance_(appearance) {}

void MemoryCells::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const QVariant box = IsBox(index.column()) ? index.data(Qt::CheckStateRole) : QVariant();
  QStyleOptionViewItem plain = option;
  plain.state &= ~QStyle::State_HasFocus;
  if (IsBox(index.column())) {
    initStyleOption(&plain, index);
    plain.features &= ~QStyleOptionViewItem::HasCheckIndicator;
    const QStyle* style = option.widget != nullptr ? option.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &plain, painter, option.widget);
  } else {
    QStyledItemDelegate::paint(painter, plain, index);
  }
  if (box.isValid()) PaintBox(*painter, option, box.toInt() == Qt::Checked);
  if (option.state & QStyle::State_HasFocus) {
    widgets::Theme ring = appearance_.theme();
    if (option.state & QStyle::State_Selected) ring.focus = ring.accent_ink;  // on the accent, which marks the row
    widgets::PaintFocusRing(*painter, ring, option.rect, 3);
  }
}

void MemoryCells::PaintBox(QPainter& painter, const QStyleOptionViewItem& option, bool on) const {
  const widgets::Theme& theme = appearance_.theme();
  const bool marked = option.state & QStyle::State_Selected;
  const double side = option.fontMetrics.height() * 0.8;
  QRectF box(0, 0, side, side);
  box.moveCenter(QRectF(option.rect).center());
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(marked ? theme.accent_ink : theme.digits, side / 12));
  if (on) painter.setBrush(marked ? theme.accent_ink : theme.accent);
  painter.drawRoundedRect(box, side / 5, side / 5);
  if (on) {
    QPainterPath tick(box.topLeft() + QPointF(side * 0.22, side * 0.52));
    tick.lineTo(box.topLeft() + QPointF(side * 0.42, side * 0.72));
    tick.lineTo(box.topLeft() + QPointF(side * 0.78, side * 0.28));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(marked ? theme.accent : theme.accent_ink, side / 7));
    painter.drawPath(tick);
  }
  painter.restore();
}

QWidget* MemoryCells::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
  QWidget* editor = nullptr;
  if (index.column() == MemoryModel::kMode || index.column() == MemoryModel::kVfo) {
    auto* list = new QComboBox(parent);
    list->addItem(tr("as it is"), "");
    if (index.column() == MemoryModel::kMode) {
      for (const char* mode : kMemoryModes) list->addItem(mode, mode);
    } else {
      for (const char* vfo : {"A", "B"}) list->addItem(vfo, vfo);
    }
    connect(list, &QComboBox::activated, this, [self = const_cast<MemoryCells*>(this), list] {
      Q_EMIT self->commitData(list);
      Q_EMIT self->closeEditor(list);
    });
    editor = list;
  } else {
    editor = QStyledItemDelegate::createEditor(parent, option, index);
    if (auto* line = qobject_cast<QLineEdit*>(editor)) line->setMaxLength(kLongestText);
  }
  if (editor != nullptr)
    editor->setAccessibleName(index.model()->headerData(index.column(), Qt::Horizontal).toString());
  return editor;
}

void MemoryCells::setEditorData(QWidget* editor, const QModelIndex& index) const {
  auto* list = qobject_cast<QComboBox*>(editor);
  if (list == nullptr) return QStyledItemDelegate::setEditorData(editor, index);
  const QVariant value = index.data(Qt::EditRole);
  if (list->findData(value) < 0) list->addItem(value.toString(), value);  // a mode of an older file
  list->setCurrentIndex(list->findData(value));
}

void MemoryCells::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
  const auto* list = qobject_cast<QComboBox*>(editor);
  if (list == nullptr) return QStyledItemDelegate::setModelData(editor, model, index);
  model->setData(index, list->currentData(), Qt::EditRole);
}

bool MemoryCells::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                              const QModelIndex& index) {
  if (!IsBox(index.column())) return QStyledItemDelegate::editorEvent(event, model, option, index);
  if (!(index.flags() & Qt::ItemIsUserCheckable)) return false;
  const bool clicked =
      event->type() == QEvent::MouseButtonRelease && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton;
  const bool pressed = event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space;
  if (!clicked && !pressed) return false;
  const bool on = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
  return model->setData(index, on ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

MemoryTable::MemoryTable(MemoryModel& model, const widgets::Appearance& appearance, QWidget* parent)
    : QTableView(parent), model_(model), appearance_(appearance) {
  setModel(&model_);
  setItemDelegate(new MemoryCells(appearance, this));
  setSelectionBehavior(SelectRows);
  setSelectionMode(ExtendedSelection);
  setEditTriggers(EditKeyPressed | AnyKeyPressed | SelectedClicked);
  setShowGrid(false);
  setWordWrap(false);
  setTabKeyNavigation(false);
  setCornerButtonEnabled(false);
  setVerticalScrollMode(ScrollPerItem);
  verticalHeader()->hide();
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  horizontalHeader()->setHighlightSections(false);
  horizontalHeader()->setStretchLastSection(true);
  scroll_.setInterval(kScrollMilliseconds);
  connect(&scroll_, &QTimer::timeout, this, &MemoryTable::ScrollAtTheEdge);
  FitColumns();
}

void MemoryTable::FitColumns() {
  const QFontMetrics metrics = fontMetrics();
  const int em = metrics.height();
  verticalHeader()->setMinimumSectionSize(em);
  verticalHeader()->setDefaultSectionSize(em * 17 / 10);
  const auto fit = [&](int column, const QString& sample, int ems) {
    const QString title = model_.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    setColumnWidth(
        column, std::max({metrics.horizontalAdvance(sample), metrics.horizontalAdvance(title), ems * em}) + em * 6 / 5);
  };
  fit(MemoryModel::kNumber, "0000", 0);
  fit(MemoryModel::kName, "", 8);
  fit(MemoryModel::kFrequency, "000000000.00", 0);  // of letters that are wider than these
  fit(MemoryModel::kMode, "RTTY", 3);
  fit(MemoryModel::kNarrow, "", 0);
  fit(MemoryModel::kVfo, "B", 2);
  fit(MemoryModel::kSkip, "", 0);
}

void MemoryTable::changeEvent(QEvent* event) {
  QTableView::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) FitColumns();
}

std::vector<int> MemoryTable::marked() const {
  std::vector<int> numbers;
  for (const QModelIndex& index : selectionModel()->selectedRows()) numbers.push_back(model_.NumberAt(index.row()));
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

void MemoryTable::GoTo(int number) {
  if (model_.rowCount() == 0) return;
  int row = 0;
  while (row + 1 < model_.rowCount() && model_.NumberAt(row) < number) ++row;
  const int column = std::max(currentIndex().column(), static_cast<int>(MemoryModel::kName));
  setCurrentIndex(model_.index(row, column));
}

void MemoryTable::MoveBy(int rows) {
  const int to = model_.NumberAt(currentIndex().row() + rows);
  if (current() != 0 && to != 0 && on_move) on_move(current(), to);
}

void MemoryTable::keyPressEvent(QKeyEvent* event) {
  if (state() == EditingState) return QTableView::keyPressEvent(event);
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  const bool alt = event->modifiers() == Qt::AltModifier;
  const int key = event->key();
  if (drop_ >= 0 && key == Qt::Key_Escape) return EndDrag();
  if (alt && (key == Qt::Key_Up || key == Qt::Key_Down)) return MoveBy(key == Qt::Key_Up ? -1 : 1);
  if (plain && key == Qt::Key_Delete && on_delete) return on_delete();
  if (plain && (key == Qt::Key_Return || key == Qt::Key_Enter)) {
    if (current() != 0 && on_recall) on_recall(current());
    return;
  }
  QTableView::keyPressEvent(event);
}

void MemoryTable::mousePressEvent(QMouseEvent* event) {
  QTableView::mousePressEvent(event);
  const bool plain = event->button() == Qt::LeftButton && event->modifiers() == Qt::NoModifier;
  pressed_ = plain ? model_.NumberAt(rowAt(event->position().toPoint().y())) : 0;
  pressed_at_ = event->position().toPoint();
}

void MemoryTable::mouseMoveEvent(QMouseEvent* event) {
  if (pressed_ == 0) return QTableView::mouseMoveEvent(event);
  const QPoint at = event->position().toPoint();
  if (drop_ >= 0 || (at - pressed_at_).manhattanLength() >= QApplication::startDragDistance()) DragTo(at.y());
}

void MemoryTable::mouseReleaseEvent(QMouseEvent* event) {
  const int dragged = pressed_;
  const int drop = drop_;
  EndDrag();
  if (drop < 0) return QTableView::mouseReleaseEvent(event);
  const int before = drop < model_.rowCount() ? model_.NumberAt(drop) : model_.NumberAt(drop - 1) + 1;
  const int to = PlaceBefore(dragged, before);
  if (to != dragged && on_move) on_move(dragged, to);
}

void MemoryTable::mouseDoubleClickEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->position().toPoint());
  if (event->button() != Qt::LeftButton || !index.isValid() || IsBox(index.column()))
    return QTableView::mouseDoubleClickEvent(event);
  if (on_recall) on_recall(model_.NumberAt(index.row()));
}

int MemoryTable::RowEdge(int row) const {
  return row < model_.rowCount() ? rowViewportPosition(row) : rowViewportPosition(row - 1) + rowHeight(row - 1);
}

void MemoryTable::DragTo(int y) {
  drag_y_ = y;
  const int row = rowAt(std::clamp(y, 0, viewport()->height() - 1));
  drop_ = row < 0 ? model_.rowCount() : row;
  if (row >= 0 && y > rowViewportPosition(row) + rowHeight(row) / 2) ++drop_;
  viewport()->setCursor(Qt::ClosedHandCursor);
  if (!scroll_.isActive()) scroll_.start();
  viewport()->update();
}

void MemoryTable::EndDrag() {
  pressed_ = 0;
  drop_ = -1;
  scroll_.stop();
  viewport()->unsetCursor();
  viewport()->update();
}

void MemoryTable::ScrollAtTheEdge() {
  const int edge = fontMetrics().height();
  const int step = drag_y_ < edge ? -1 : drag_y_ > viewport()->height() - edge ? 1 : 0;
  if (step == 0) return;
  verticalScrollBar()->setValue(verticalScrollBar()->value() + step);
  DragTo(drag_y_);
}

/// While a row is dragged, a line shows where it would go.
void MemoryTable::paintEvent(QPaintEvent* event) {
  QTableView::paintEvent(event);
  if (drop_ < 0) return;
  const int thick = std::max(2, fontMetrics().height() / 6);
  QPainter painter(viewport());
  painter.fillRect(QRect(0, RowEdge(drop_) - thick / 2, viewport()->width(), thick), appearance_.theme().accent);
}

}  // namespace kvx::console
