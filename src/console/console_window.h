#pragma once

#include <QFrame>
#include <QLabel>
#include <QMainWindow>
#include <functional>

#include "console/frequency_view.h"
#include "console/meter_view.h"
#include "console/station.h"
#include "console/theme.h"

namespace kvx::console {

/// The main window: shows the station's state and follows it. It computes nothing; closing it asks the program to end.
class ConsoleWindow final : public QMainWindow {
 public:
  explicit ConsoleWindow(Station& station);

  /// Shows or hides the offer to use the simulated rig on a station where no rig is chosen.
  void OfferSimulatedRig(bool offer);

  std::function<void()> on_close;
  std::function<void()> on_use_simulated_rig;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  QFrame* MakeHeader();
  QFrame* MakeScreen();
  QFrame* MakeMeter();
  QFrame* MakeOffer();
  QFrame* MakeFooter();
  QLabel* MakeLabel(const QString& name, const char* role);
  void Follow(Field field);
  void ShowAll();
  void ShowClock();
  void ShowPort();
  void ShowVfo();

  Station& station_;
  const Theme theme_;
  FrequencyView* frequency_;
  MeterView* meter_;
  QLabel* rig_;
  QLabel* clock_;
  QLabel* vfo_a_;
  QLabel* vfo_b_;
  QLabel* mode_;
  QLabel* other_frequency_;
  QLabel* meter_text_;
  QLabel* port_;
  QLabel* message_;
  QFrame* offer_;
  Console::Subscription subscription_;
};

}  // namespace kvx::console
