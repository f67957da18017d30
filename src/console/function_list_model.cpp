#include "console/function_list_model.h"

#include <utility>

#include "widgets/qt_text.h"

namespace kvx::console {

using functions::FunctionRecord;
using widgets::ToQt;

/// A cell that is being edited stays open, and the view where it is, when only contents have changed.
void FunctionListModel::Load(std::vector<FunctionRecord> rows) {
  FunctionList next;
  next.SetFilter(list_.filter());
  next.SetOrder(list_.order_column(), list_.descending());
  next.Load(std::move(rows));
  if (next.Places() == list_.Places()) {
    list_ = std::move(next);
    if (list_.size() > 0) Q_EMIT dataChanged(index(0, 0), index(list_.size() - 1, functions::kRecordColumns - 1));
    return;
  }
  beginResetModel();
  list_ = std::move(next);
  endResetModel();
}

void FunctionListModel::SetFilter(const FunctionFilter& filter) {
  if (filter == list_.filter()) return;
  beginResetModel();
  list_.SetFilter(filter);
  endResetModel();
}

void FunctionListModel::SetOrder(int column, bool descending) {
  beginResetModel();
  list_.SetOrder(column, descending);
  endResetModel();
}

void FunctionListModel::SetHeard(std::int64_t place) {
  const std::int64_t before = std::exchange(heard_, place);
  if (before == place) return;
  RowChanged(before);
  RowChanged(place);
}

void FunctionListModel::RowChanged(std::int64_t place) {
  if (const auto row = place == 0 ? std::nullopt : list_.IndexOf(place))
    Q_EMIT dataChanged(index(*row, 0), index(*row, functions::kRecordColumns - 1));
}

void FunctionListModel::SetCaptions(const QStringList& captions) {
  captions_ = captions;
  Q_EMIT headerDataChanged(Qt::Horizontal, 0, functions::kRecordColumns - 1);
}

int FunctionListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : list_.size();
}

int FunctionListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : functions::kRecordColumns;
}

QVariant FunctionListModel::data(const QModelIndex& index, int role) const {
  if (index.row() < 0 || index.row() >= list_.size()) return {};
  const FunctionRecord& row = at(index.row());
  const auto press = functions::PressKey(index.column());
  const auto text = functions::TextKey(index.column());
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return press ? QVariant() : ToQt(functions::FieldText(row, index.column()));
    case Qt::CheckStateRole:
      return press ? QVariant(row.presses[*press] ? Qt::Checked : Qt::Unchecked) : QVariant();
    case Qt::ToolTipRole:
      return text && !row.texts[*text] ? tr("Null: a recall leaves this box as it is") : QString();
    case kHeardRole:
      return heard_ != 0 && row.place == heard_;
    case kNullRole:
      return text && !row.texts[*text];
    default:
      return {};
  }
}

QVariant FunctionListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::ToolTipRole || role == Qt::WhatsThisRole) return HeaderTip(section);
  if (role != Qt::DisplayRole) return {};
  if (const auto key = functions::PressKey(section)) return QString("P%1").arg(*key + 1);
  return ToQt(functions::ColumnName(section));
}

QString FunctionListModel::HeaderTip(int column) const {
  const auto text = functions::TextKey(column);
  const auto press = functions::PressKey(column);
  const auto key = text ? text : press;
  const QString name = ToQt(functions::ColumnName(column));
  if (!key) return column == functions::kScanColumn ? tr("Scan: Y takes part in a scan") : name;
  const QString caption = captions_.value(static_cast<qsizetype>(*key));
  const QString named = caption.isEmpty() ? name : name + "  " + caption;
  return text ? tr("%1: the text of F%2").arg(named).arg(*key + 1)
              : tr("%1: F%2 is pressed on arrival; -1 is true").arg(named).arg(*key + 1);
}

Qt::ItemFlags FunctionListModel::flags(const QModelIndex& index) const {
  const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
  if (functions::PressKey(index.column())) return flags | Qt::ItemIsUserCheckable;
  return index.column() >= functions::kModeColumn ? flags | Qt::ItemIsEditable : flags;
}

bool FunctionListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (index.row() < 0 || index.row() >= list_.size() ||
      (flags(index) & (Qt::ItemIsEditable | Qt::ItemIsUserCheckable)) == 0)
    return false;
  const FunctionRecord before = at(index.row());
  FunctionRecord after = before;
  const bool mark = functions::PressKey(index.column()).has_value();
  if (mark != (role == Qt::CheckStateRole)) return false;
  const std::string text = mark ? (value.toInt() == Qt::Unchecked ? "False" : "True") : value.toString().toStdString();
  if (!functions::SetFieldText(after, index.column(), text)) return false;
  if (!(before == after) && on_edit) on_edit(before, after);
  return true;
}

}  // namespace kvx::console
