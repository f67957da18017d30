#pragma once

#include <QPointer>
#include <QTableView>
#include <QTimer>
#include <QWidget>
#include <optional>
#include <string>
#include <vector>

#include "console/function_list_delegate.h"
#include "console/function_list_model.h"
#include "console/station.h"

QT_BEGIN_NAMESPACE
class QCheckBox;
class QLabel;
class QLayout;
class QLineEdit;
class QPushButton;
QT_END_NAMESPACE

namespace kvx::console {

class ScanPanel;

/// The list of all stored function-key records: retrieves, edits and deletes them, exports and imports them, and scans
/// through them. Follows the store while it is on the screen, whoever writes it.
class FunctionListWindow final : public QWidget {
  Q_OBJECT

 public:
  FunctionListWindow(Station& station, const widgets::Appearance& appearance, QWidget* parent = nullptr);
  ~FunctionListWindow() override;

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  class Table final : public QTableView {
   public:
    using QTableView::QTableView;
    bool is_editing() const { return state() == EditingState; }
  };

  void MakeControls();
  void MakeTable();
  void MakeKeys();
  QLayout* FilterRow();
  QLayout* ActionRow();
  void TakeDialogs();
  void FitColumns();

  void Tick();
  void Reload();
  void ReadOn();
  void ReloadIfChanged();
  /// Changes the model's rows; what is chosen and in sight stays so.
  void Keeping(const std::function<void()>& change);
  void ApplyFilter();
  void OrderBy(int column);
  void Follow(Field field);
  void FollowScan();
  void ShowCount();
  void ShowUndo();
  void ShowCaptions();

  std::vector<functions::FunctionRecord> Chosen() const;
  std::optional<Frequency> ChosenFrequency() const;
  void Retrieve(const QModelIndex& index);
  void Delete();
  void Undo();
  void Say(const QString& line, bool bad = false);
  functions::FunctionMemory::Done Saying();
  functions::FunctionMemory::Done SayingMore();

  Station& station_;
  functions::FunctionKeys& functions_;
  const functions::Dialogs dialogs_before_;
  FunctionListModel model_;
  FunctionListDelegate delegate_;
  QTimer timer_;
  int ticks_ = 0;
  std::string stamp_;                           ///< of the store when it was read
  std::optional<functions::RowReader> reader_;  ///< while it is being read
  std::vector<functions::FunctionRecord> read_;
  QLineEdit* filter_ = nullptr;
  QCheckBox* this_rig_ = nullptr;
  QLabel* count_ = nullptr;
  Table* table_ = nullptr;
  ScanPanel* scan_ = nullptr;
  QPushButton* retrieve_ = nullptr;
  QPushButton* delete_ = nullptr;
  QPushButton* undo_ = nullptr;
  QPushButton* export_ = nullptr;
  QPushButton* import_ = nullptr;
  QLabel* message_ = nullptr;
  Console::Subscription subscription_;
  Listeners::Following following_rows_;
  Listeners::Following following_scan_;
};

}  // namespace kvx::console
