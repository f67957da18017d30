#include "console/tuner_model.h"

#include <QCoreApplication>
#include <QFont>
#include <algorithm>

#include "widgets/qt_text.h"

namespace kvx::console {

using accessories::kTunerFieldsOfSetup;
using accessories::TunerRow;
using widgets::ToQt;

namespace {

std::size_t FieldOf(int column) {
  return static_cast<std::size_t>(column - TunerModel::kFirstField);
}

}  // namespace

QString TunerFieldCaption(std::size_t field_of_setup) {
  static constexpr std::array kCaptions{
      QT_TRANSLATE_NOOP("Tuner", "Description"), QT_TRANSLATE_NOOP("Tuner", "Transmitter side"),
      QT_TRANSLATE_NOOP("Tuner", "Inductor"), QT_TRANSLATE_NOOP("Tuner", "Antenna side")};
  return QCoreApplication::translate("Tuner", kCaptions.at(field_of_setup));
}

QString SpokenTunerField(std::size_t field) {
  return QCoreApplication::translate("Tuner", "Setup %1 %2")
      .arg(field / kTunerFieldsOfSetup + 1)
      .arg(TunerFieldCaption(field % kTunerFieldsOfSetup).toLower());
}

TunerModel::TunerModel(accessories::TunerNotebook& notebook, QObject* parent)
    : QAbstractTableModel(parent), notebook_(notebook) {}

/// The segments are always the same; only at the first time rows come.
void TunerModel::Update() {
  auto rows = notebook_.Rows();
  if (!rows && on_fault) on_fault(ToQt(rows.error().message));
  if (!rows) return;
  const bool first = rows_.empty();
  if (first) beginResetModel();
  rows_ = std::move(*rows);
  if (first) endResetModel();
  Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
}

const accessories::TunerSegment* TunerModel::SegmentAt(int row) const {
  return row < 0 || row >= rowCount() ? nullptr : rows_[static_cast<std::size_t>(row)].segment;
}

int TunerModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int TunerModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kFirstField + static_cast<int>(accessories::kTunerFields.size());
}

QString TunerModel::CellText(const TunerRow& row, int column) const {
  if (column == kRange) return ToQt(RangeText(*row.segment)).remove(" kHz");
  if (column == kState) return row.unsaved ? tr("unsaved") : row.stored ? tr("stored") : QString();
  return ToQt(row.values.at(FieldOf(column)));
}

QString TunerModel::SpokenCell(const TunerRow& row, int column) const {
  const QString segment = ToQt(RangeText(*row.segment));
  if (column == kRange) return segment + (row.unsaved ? tr(", unsaved") : row.stored ? tr(", stored") : tr(", empty"));
  if (column == kState) return row.unsaved || row.stored ? CellText(row, column) : tr("empty");
  const QString text = CellText(row, column);
  return tr("%1 %2, %3").arg(SpokenTunerField(FieldOf(column)), text.isEmpty() ? tr("empty") : text, segment);
}

QVariant TunerModel::data(const QModelIndex& index, int role) const {
  if (SegmentAt(index.row()) == nullptr) return {};
  const TunerRow& row = rows_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return CellText(row, index.column());
    case Qt::AccessibleTextRole:
      return SpokenCell(row, index.column());
    case Qt::FontRole: {
      QFont font;
      font.setBold(row.segment == notebook_.segment());
      return font;
    }
    case kOrder:
      return index.column() == kRange ? QVariant(index.row()) : QVariant(CellText(row, index.column()));
    case kText: {
      QString text = ToQt(RangeText(*row.segment)) + '\n' + CellText(row, kState);
      for (const std::string& value : row.values) text += '\n' + ToQt(value);
      return text;
    }
    case kUsed:
      return row.stored || row.unsaved;
    default:
      return {};
  }
}

bool TunerModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  const accessories::TunerSegment* const segment = SegmentAt(index.row());
  if (segment == nullptr || index.column() < kFirstField || role != Qt::EditRole) return false;
  const Status edited = notebook_.Edit(*segment, FieldOf(index.column()), value.toString().toStdString());
  if (!edited && on_fault) on_fault(ToQt(edited.error().message));
  return edited.ok();
}

Qt::ItemFlags TunerModel::flags(const QModelIndex& index) const {
  const Qt::ItemFlags plain = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
  return index.column() >= kFirstField ? plain | Qt::ItemIsEditable : plain;
}

QVariant TunerModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  const bool spoken = role == Qt::ToolTipRole || role == Qt::AccessibleTextRole;
  if (role != Qt::DisplayRole && !spoken) return {};
  if (section == kRange) return tr("kHz");
  if (section == kState) return tr("State");
  const std::size_t field = FieldOf(section);
  if (spoken) return SpokenTunerField(field);
  return TunerFieldCaption(field % kTunerFieldsOfSetup).section(' ', 0, 0) + ' ' +
         QString::number(field / kTunerFieldsOfSetup + 1);
}

void TunerFilter::Set(const QString& text, bool used) {
  words_ = text.split(' ', Qt::SkipEmptyParts);
  used_ = used;
  invalidateFilter();
}

bool TunerFilter::filterAcceptsRow(int row, const QModelIndex& parent) const {
  const QModelIndex index = sourceModel()->index(row, 0, parent);
  const QString text = index.data(TunerModel::kText).toString();
  return (!used_ || index.data(TunerModel::kUsed).toBool()) &&
         std::all_of(words_.begin(), words_.end(),
                     [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
}

}  // namespace kvx::console
