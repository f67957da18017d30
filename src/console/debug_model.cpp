#include "console/debug_model.h"

#include <algorithm>

namespace kvx::console {
namespace {

constexpr double kReadable = 4.5;  // contrast

}  // namespace

DebugModel::DebugModel(const DebugLog& log, const widgets::Appearance& appearance, QObject* parent)
    : QAbstractTableModel(parent), log_(log), appearance_(appearance) {
  connect(&appearance_, &widgets::Appearance::Changed, this, [this] {
    if (!rows_.empty()) Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, kColumns - 1));
  });
  Refill();
}

void DebugModel::Update() {
  removed_ = 0;
  if (frozen_) return;
  DropOld();
  TakeNew();
}

void DebugModel::DropOld() {
  const auto keep = std::lower_bound(rows_.begin(), rows_.end(), log_.ring().first());
  removed_ = static_cast<int>(keep - rows_.begin());
  if (removed_ == 0) return;
  beginRemoveRows({}, 0, removed_ - 1);
  rows_.erase(rows_.begin(), keep);
  endRemoveRows();
}

void DebugModel::TakeNew() {
  const TrafficRing& ring = log_.ring();
  std::vector<std::uint64_t> fresh;
  const std::uint64_t end = log_.settled_end();
  for (seen_ = std::max(seen_, ring.first()); seen_ < end; ++seen_) {
    if (log_.text().Passes(ring.at(seen_), filter_)) fresh.push_back(seen_);
  }
  if (fresh.empty()) return;
  beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(fresh.size()) - 1);
  rows_.insert(rows_.end(), fresh.begin(), fresh.end());
  endInsertRows();
}

void DebugModel::SetFilter(const TrafficFilter& filter) {
  if (filter == filter_) return;
  filter_ = filter;
  Refill();
}

void DebugModel::SetPaused(bool paused) {
  if (paused == frozen_.has_value()) return;
  if (paused) {
    Update();
    frozen_ = log_.ring();
  } else {
    frozen_.reset();
    Update();
  }
}

void DebugModel::Clear() {
  if (frozen_) frozen_ = log_.ring();
  Refill();
}

void DebugModel::Refill() {
  beginResetModel();
  rows_.clear();
  const std::uint64_t end = frozen_ ? frozen_->end() : log_.settled_end();
  for (seen_ = ring().first(); seen_ < end; ++seen_) {
    if (log_.text().Passes(ring().at(seen_), filter_)) rows_.push_back(seen_);
  }
  endResetModel();
}

const Traffic* DebugModel::EntryAt(int row) const {
  if (row < 0 || row >= rowCount()) return nullptr;
  const std::uint64_t number = rows_[static_cast<std::size_t>(row)];
  const bool there = number >= ring().first() && number < ring().end();  // it may have gone since the last Update
  return there ? &ring().at(number) : nullptr;
}

int DebugModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int DebugModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumns;
}

QVariant DebugModel::data(const QModelIndex& index, int role) const {
  if (role == Qt::FontRole) return font_;
  const Traffic* entry = EntryAt(index.row());
  if (entry == nullptr) return {};
  const bool text = role == Qt::DisplayRole || (role == Qt::ToolTipRole && index.column() >= kText);
  if (text) return CellText(*entry, index.column());
  if (role == Qt::ForegroundRole && index.column() == kDirection) return DirectionColor(entry->direction);
  return {};
}

QString DebugModel::CellText(const Traffic& entry, int column) const {
  switch (column) {
    case kTime:
      return QString::fromStdString(TrafficText::Time(entry));
    case kDirection:
      return entry.direction == Direction::kSent ? tr("> sent") : tr("< received");
    case kText:
      return QString::fromStdString(TrafficText::Text(entry));
    default:
      return QString::fromStdString(log_.text().Hex(entry));
  }
}

/// Told by its word; the colour only helps the eye, where it can be read at all.
QColor DebugModel::DirectionColor(Direction direction) const {
  const widgets::Theme& theme = appearance_.theme();
  const QColor& color = direction == Direction::kSent ? theme.blue : theme.green;
  return widgets::Contrast(color, theme.screen) >= kReadable ? color : theme.digits;
}

QVariant DebugModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case kTime:
      return tr("Time (UTC)");
    case kDirection:
      return tr("Direction");
    case kText:
      return tr("Text");
    default:
      return tr("Bytes");
  }
}

}  // namespace kvx::console
