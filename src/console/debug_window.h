#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>

#include "console/command_entry.h"
#include "console/debug_model.h"
#include "console/station.h"

QT_BEGIN_NAMESPACE
class QCheckBox;
class QLabel;
class QLayout;
class QPushButton;
class QTableView;
QT_END_NAMESPACE

namespace kvx::console {

/// The debug view: every byte to and from the rig, with time and direction, as text and as bytes; and a line to send
/// commands by hand. It records while it is on the screen, and costs nothing otherwise.
class DebugWindow final : public QWidget {
  Q_OBJECT

 public:
  DebugWindow(Station& station, const widgets::Appearance& appearance, QWidget* parent = nullptr);
  ~DebugWindow() override;

  /// Brings the picture up to date; a window on the screen does so by itself several times a second.
  void Refresh();

  /// Asks the operator where to save to; `then` gets it, if anywhere. A test answers in his place.
  std::function<void(std::function<void(const QString& file)> then)> ask_file;

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void MakeControls();
  QLayout* FilterRow();
  QLayout* CommandRow();
  void MakeTable();
  void FitColumns();
  void SetRecording(bool on);

  void ShowCounters();
  void ApplyFilter();
  void Pause(bool paused);
  void Clear();
  void Save(const QString& file);
  void Copy();
  void Send(const QString& command);
  void Say(const QString& line, bool bad);

  Station& station_;
  DebugLog& log_;
  DebugModel model_;
  QTimer timer_;
  bool recording_ = false;
  QLineEdit* filter_ = nullptr;
  QCheckBox* sent_ = nullptr;
  QCheckBox* received_ = nullptr;
  QPushButton* pause_ = nullptr;
  QPushButton* clear_ = nullptr;
  QPushButton* save_ = nullptr;
  QTableView* table_ = nullptr;
  CommandEntry* command_ = nullptr;
  QLabel* outcome_ = nullptr;
  QLabel* counters_ = nullptr;
};

}  // namespace kvx::console
