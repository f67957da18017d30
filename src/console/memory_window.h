#pragma once

#include <QMainWindow>
#include <functional>
#include <vector>

#include "console/memory_model.h"
#include "console/memory_table.h"

QT_BEGIN_NAMESPACE
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QVBoxLayout;
QT_END_NAMESPACE

namespace kvx::console {

/// What the memory window asks the operator. Nothing waits: `then` is called when there is an answer, and not at all
/// when no file is chosen.
struct MemoryDialogs {
  std::function<void(bool save, std::function<void(const QString& file)> then)> ask_file;
  /// One of the choices, by its index; the last one is to do nothing.
  std::function<void(const QString& question, const QStringList& choices, std::function<void(int)> then)> ask;
};

/// The hundred memory channels in a table with a search: recalled, stored, edited in place, reordered, deleted, taken
/// back, exchanged as CSV; and the keys of the rig's own memories.
class MemoryWindow final : public QMainWindow {
  Q_OBJECT

 public:
  MemoryWindow(Station& station, const widgets::Appearance& appearance, QWidget* parent = nullptr);
  ~MemoryWindow() override;

  MemoryDialogs dialogs;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct RigKey {
    QPushButton* button;
    const char* key;
  };

  QWidget* MakeSearch();
  QWidget* MakeSide();
  void MakeEditing(QVBoxLayout& column);
  void MakeRigKeys(QVBoxLayout& column);
  QPushButton* MakeButton(QVBoxLayout& column, const QString& text, const QString& tip, const QKeySequence& keys,
                          void (MemoryWindow::*action)());
  QLabel* MakeMessage();

  void Follow(Field field);
  void FollowChannels();
  void FollowScan();
  void TurnScan();
  void ApplyFilter();
  void ShowPresent();
  void ShowState();
  void Tell(const QString& text, bool good = true);
  void Tell(const Told& told);
  bool Check(const Status& status);

  void Recall(int number);
  void RecallCurrent() { Recall(table_->current()); }
  void StoreHere();
  void StoreFree();
  void Delete();
  void Undo();
  void Move(int from, int to);
  void Import();
  void ImportFrom(const QString& file);
  void Take(const std::vector<functions::NumberedChannel>& channels, functions::Conflict conflict, const QString& file);
  void Export();

  Station& station_;
  MemoryModel model_;
  MemoryTable* table_;
  QScrollArea* side_ = nullptr;
  QLineEdit* search_ = nullptr;
  QCheckBox* empty_ = nullptr;
  QLabel* present_ = nullptr;
  QLabel* message_ = nullptr;
  QPushButton* recall_ = nullptr;
  QPushButton* store_ = nullptr;
  QPushButton* store_free_ = nullptr;
  QPushButton* scan_ = nullptr;
  QPushButton* delete_ = nullptr;
  QPushButton* undo_ = nullptr;
  std::vector<RigKey> rig_keys_;
  int keep_ = 0;  ///< the channel that stays in hand while channels change; 0: the one that is
  Console::Subscription subscription_;
  Listeners::Following following_scan_;
};

}  // namespace kvx::console
