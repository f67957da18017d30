#pragma once

#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QSpinBox>
#include <QTimer>
#include <QWidget>

#include "console/key_screen_history.h"
#include "console/key_screen_macros.h"
#include "console/key_screen_text.h"
#include "console/local_tone.h"
#include "console/station.h"
#include "widgets/appearance.h"
#include "widgets/lamp_button.h"
#include "widgets/tabular_label.h"

QT_BEGIN_NAMESPACE
class QHBoxLayout;
class QPushButton;
QT_END_NAMESPACE

namespace kvx::console {

/// The CW send window: sends what is typed while it is typed, or line by line; stored texts with macros on its function
/// buttons; what has been sent before; speed, pause, tune and the local side tone. Everything is borrowed.
class KeyScreen final : public QWidget {
  Q_OBJECT

 public:
  /// `tone` null: there is no local side tone.
  KeyScreen(Station& station, Loop& loop, LocalTone* tone, const widgets::Appearance& appearance,
            QWidget* parent = nullptr);
  ~KeyScreen() override;

  /// Sends the line that has been typed, with its macros written out.
  void SendX();
  /// Closes the window; what is being sent goes on.
  void ShutIt();

 protected:
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void changeEvent(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QHBoxLayout* MakeState();
  QHBoxLayout* MakeText();
  QHBoxLayout* MakeLine();
  QHBoxLayout* MakeOptions();
  void MakeHistory();
  void Follow(Field field);
  void ShowState();
  void ShowSpeed();
  void ShowTune();
  void ShowProgress();
  void ShowTimes();
  void ShowHistory();
  void Type(const QString& text);
  void Backspace();
  void Fit();
  void Report(const Result<keyer::CwTaken>& taken);
  void SendAgain();
  void RemoveFromHistory();
  void UseLine(bool on);
  void ChangeSpeed(int by);

  Station& station_;
  Loop& loop_;
  keyer::Keyer& keyer_;
  LocalTone* tone_;
  const widgets::Appearance& appearance_;
  KeyHistory sent_before_;
  QTimer tick_;
  QString sign_;  ///< "<A": a sign of letters run together that is not finished
  TimePoint tuned_at_{};
  int wheel_ = 0;  ///< eighths of a degree that are not yet a notch

  QLabel* lamp_ = nullptr;
  QPushButton* start_ = nullptr;
  widgets::TabularLabel* left_ = nullptr;
  QSpinBox* speed_ = nullptr;
  widgets::LampButton* pause_ = nullptr;
  widgets::LampButton* tune_ = nullptr;
  QPushButton* stop_ = nullptr;
  CWText* text_ = nullptr;
  QListWidget* history_ = nullptr;
  QLineEdit* line_ = nullptr;
  QPushButton* send_ = nullptr;
  KeyScreenMacros* macros_ = nullptr;
  QCheckBox* local_tone_ = nullptr;  ///< LocalCW
  QCheckBox* by_line_ = nullptr;
  QLabel* message_ = nullptr;
  Console::Subscription subscription_;
};

}  // namespace kvx::console
