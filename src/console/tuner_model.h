#pragma once

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>
#include <functional>
#include <vector>

#include "console/station.h"

namespace kvx::console {

/// All segments of the tuner notebook, a row each; a field can be edited in its cell and is unsaved then.
class TunerModel final : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { kRange, kState, kFirstField };
  enum Role {
    kOrder = Qt::UserRole,  ///< by what a column is ordered
    kText,                  ///< what is searched
    kUsed                   ///< something is stored or unsaved
  };

  explicit TunerModel(accessories::TunerNotebook& notebook, QObject* parent = nullptr);

  /// Reads the segments anew.
  void Update();
  const accessories::TunerSegment* SegmentAt(int row) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  std::function<void(const QString& why)> on_fault;

 private:
  QString CellText(const accessories::TunerRow& row, int column) const;
  QString SpokenCell(const accessories::TunerRow& row, int column) const;

  accessories::TunerNotebook& notebook_;
  std::vector<accessories::TunerRow> rows_;
};

/// The rows that are looked for, in the order that is asked for.
class TunerFilter final : public QSortFilterProxyModel {
 public:
  using QSortFilterProxyModel::QSortFilterProxyModel;
  /// Every word has to be in the row; `used`: only rows that have something.
  void Set(const QString& text, bool used);

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

 private:
  QStringList words_;
  bool used_ = false;
};

/// "Setup 1 transmitter side", as a screen reader says the field.
QString SpokenTunerField(std::size_t field);
/// "Transmitter side"; of the fields of a setup.
QString TunerFieldCaption(std::size_t field_of_setup);

}  // namespace kvx::console
