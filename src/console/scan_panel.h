#pragma once

#include <QFrame>
#include <functional>
#include <optional>

#include "console/station.h"
#include "widgets/appearance.h"
#include "widgets/lamp_button.h"
#include "widgets/level_bar.h"

QT_BEGIN_NAMESPACE
class QDoubleSpinBox;
class QGridLayout;
class QLabel;
class QSlider;
QT_END_NAMESPACE

namespace kvx::console {

/// Where the scan is: "Listening on 14200.00, net".
QString ScanLine(const functions::ScanState& state);

/// The scan's controls: its ends, its times, the level at which it stays, and where it is. Follows the scanner, whoever
/// sets it.
class ScanPanel final : public QFrame {
  Q_OBJECT

 public:
  ScanPanel(Station& station, const widgets::Appearance& appearance, QWidget* parent = nullptr);

  /// Shows the level and the settings as they are; several times a second while it is on the screen.
  void Refresh();

  /// The frequency of the row in hand.
  std::function<std::optional<Frequency>()> chosen_frequency;
  /// Something that the operator is to be told.
  std::function<void(const QString& text)> say;

 private:
  widgets::LampButton* Button(const QString& text, const QString& name, const char* keys,
                              const std::function<void()>& action);
  QDoubleSpinBox* Seconds(const QString& name, double least, const std::function<void(Duration)>& set);
  void MakeEnds(QGridLayout& grid);
  void MakeRun(QGridLayout& grid);
  void MakeLevel(QGridLayout& grid);
  void SetEnd(void (functions::Scanner::*set)(Frequency));
  void ChangeSettings(const std::function<void(functions::ScanSettings&)>& change);
  void TurnLevel();
  void ShowState();
  void ShowSettings();
  void ShowLevel();
  int full_scale() const;

  Station& station_;
  functions::Scanner& scanner_;
  const widgets::Appearance& appearance_;
  QLabel* ends_ = nullptr;
  QLabel* state_ = nullptr;
  QLabel* mark_text_ = nullptr;
  widgets::LampButton* run_ = nullptr;
  widgets::LampButton* skip_ = nullptr;
  widgets::LampButton* up_ = nullptr;
  widgets::LampButton* down_ = nullptr;
  widgets::LampButton* vu_ = nullptr;
  QDoubleSpinBox* dwell_ = nullptr;
  QDoubleSpinBox* hang_ = nullptr;
  QSlider* mark_ = nullptr;
  widgets::LevelBar* level_ = nullptr;
  Listeners::Following following_;
};

}  // namespace kvx::console
