#pragma once

#include <QAbstractTableModel>
#include <functional>
#include <vector>

#include "console/memory_list.h"
#include "widgets/appearance.h"

namespace kvx::console {

/// The memory channels as a table: those that pass the filter, in their order. Every cell but the number can be edited;
/// of an empty channel only the frequency, which makes it one that holds something.
class MemoryModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { kNumber, kName, kFrequency, kMode, kNarrow, kVfo, kSkip, kComment, kColumns };

  MemoryModel(Station& station, const widgets::Appearance& appearance, QObject* parent = nullptr);

  void SetFilter(const MemoryFilter& filter);
  const MemoryFilter& filter() const { return filter_; }
  /// Follows the channels; rows that stay keep their selection.
  void Update();
  /// Another frequency is the present one, or another channel is heard in a scan.
  void ShowTuned();
  /// The channel that a scan hears; 0: none.
  int heard() const;

  /// The channel in that row; 0 when there is none.
  int NumberAt(int row) const;
  /// The row of that channel; -1 when it is not shown.
  int RowOf(int number) const;
  /// "channel 7, net, 3650.00 kHz LSB", as a screen reader says it.
  QString Describe(int number) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  /// Why an edit was not taken.
  std::function<void(const QString& why)> on_fault;

 private:
  const functions::MemoryChannel& ChannelAt(int row) const;
  QVariant GroundOf(int number) const;
  QVariant FontOf(const functions::MemoryChannel& channel, int column) const;
  QString CellText(const functions::MemoryChannel& channel, int number, int column) const;
  QString SpokenCell(int number, int column) const;
  bool IsTuned(const functions::MemoryChannel& channel) const;
  std::vector<int> Matching() const;

  Station& station_;
  const widgets::Appearance& appearance_;
  MemoryFilter filter_;
  std::vector<int> rows_;  ///< numbers of the channels shown
};

}  // namespace kvx::console
