#pragma once

#include <QMainWindow>
#include <array>

#include "console/panel.h"
#include "console/tuner_model.h"

QT_BEGIN_NAMESPACE
class QBoxLayout;
class QCheckBox;
class QLineEdit;
class QPushButton;
class QTableView;
QT_END_NAMESPACE

namespace kvx::console {

/// The tuner notebook, `TunerF`: the twelve fields of the segment in hand, and a table of all segments. It follows the
/// frequency until another segment is chosen in the table. Fields are edited at once and saved on demand.
class TunerWindow final : public QMainWindow {
  Q_OBJECT

 public:
  explicit TunerWindow(Station& station, QWidget* parent = nullptr);

  /// Shows the segment of the displayed frequency.
  void FindIt();
  /// Saves the fields for the segment in hand.
  void SaveIt();
  /// Closes the window; what is not saved stays unsaved.
  void UnloadMe();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  using Fields = std::array<QLineEdit*, accessories::kTunerFields.size()>;

  QWidget* MakeHeading();
  QWidget* MakeFields();
  QWidget* MakeActions();
  QWidget* MakeSearch();
  QTableView* MakeTable();
  QWidget* MakeEnding();
  QPushButton* MakeButton(QBoxLayout& row, const QString& text, const QString& tip, const QKeySequence& keys,
                          void (TunerWindow::*action)());
  void Follow(Field field);
  void ShowFields();
  void ShowSegment(const accessories::TunerSegment& segment);
  void ChooseRow(const QModelIndex& index);
  void FollowFrequency(bool on);
  void Drop();
  void Undo();
  void SaveAll();
  void Import();
  void Export();
  void ApplyFilter();
  void OrderByColumn();
  void Tell(const Result<std::string>& done);

  Station& station_;
  accessories::TunerNotebook& notebook_;
  TunerModel model_;
  TunerFilter filter_;
  Fields fields_{};
  const accessories::TunerSegment* shown_ = nullptr;
  QLabel* heading_ = nullptr;
  QLabel* state_ = nullptr;
  QLabel* unsaved_ = nullptr;
  QCheckBox* follow_ = nullptr;
  QPushButton* drop_ = nullptr;
  QPushButton* undo_ = nullptr;
  QPushButton* save_all_ = nullptr;
  QLineEdit* search_ = nullptr;
  QCheckBox* used_ = nullptr;
  QTableView* table_ = nullptr;
  QLabel* message_ = nullptr;
  Console::Subscription subscription_;
};

}  // namespace kvx::console
