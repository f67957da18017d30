#pragma once

#include <QAbstractTableModel>
#include <QFont>
#include <deque>
#include <optional>

#include "console/debug_log.h"
#include "widgets/appearance.h"

namespace kvx::console {

/// The debug log as a table: the entries that pass the filter. It looks at the log when it is told to and changes its
/// rows in one go, so that traffic costs no more than the pictures of it.
class DebugModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { kTime, kDirection, kText, kHex, kColumns };

  DebugModel(const DebugLog& log, const widgets::Appearance& appearance, QObject* parent = nullptr);

  /// Follows the log; while paused only what has been cleared goes.
  void Update();
  void SetFilter(const TrafficFilter& filter);
  const TrafficFilter& filter() const { return filter_; }
  /// Paused, the table shows what was in the log at this moment.
  void SetPaused(bool paused);
  /// Takes all rows away; the log has been cleared.
  void Clear();
  void SetFont(const QFont& font) { font_ = font; }

  /// What the table shows is a part of this.
  const TrafficRing& ring() const { return frozen_ ? *frozen_ : log_.ring(); }
  const Traffic* EntryAt(int row) const;
  /// How many rows at the top went in the last Update.
  int removed() const { return removed_; }

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  void Refill();
  void DropOld();
  void TakeNew();
  QString CellText(const Traffic& entry, int column) const;
  QColor DirectionColor(Direction direction) const;

  const DebugLog& log_;
  const widgets::Appearance& appearance_;
  TrafficFilter filter_;
  std::optional<TrafficRing> frozen_;
  std::deque<std::uint64_t> rows_;  ///< numbers of the entries shown
  std::uint64_t seen_ = 0;          ///< the first entry that has not been looked at
  int removed_ = 0;
  QFont font_;
};

}  // namespace kvx::console
