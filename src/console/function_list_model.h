#pragma once

#include <QAbstractTableModel>
#include <QStringList>
#include <functional>

#include "console/function_list.h"

namespace kvx::console {

/// The stored function-key records as a table. What is edited in it goes to `on_edit`; the table shows it when it is
/// loaded again.
class FunctionListModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  /// Whether a row is the one that the scan hears, and whether a text is Null: `data(index, kHeardRole).toBool()`.
  enum Role { kHeardRole = Qt::UserRole, kNullRole };

  using QAbstractTableModel::QAbstractTableModel;

  const FunctionList& list() const { return list_; }
  const functions::FunctionRecord& at(int row) const { return list_.at(row); }
  /// Each of these resets the table, but for records that are the same ones in the same order.
  void Load(std::vector<functions::FunctionRecord> rows);
  void SetFilter(const FunctionFilter& filter);
  void SetOrder(int column, bool descending);
  /// The record that the scan hears, by its place; 0: none.
  void SetHeard(std::int64_t place);
  /// What the nine function keys of the rig in use are called.
  void SetCaptions(const QStringList& captions);

  std::function<void(const functions::FunctionRecord& before, const functions::FunctionRecord& after)> on_edit;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;

 private:
  void RowChanged(std::int64_t place);
  QString HeaderTip(int column) const;

  FunctionList list_;
  std::int64_t heard_ = 0;
  QStringList captions_;
};

}  // namespace kvx::console
