#pragma once

#include <QWidget>

#include "accessories/field_controls.h"

class QComboBox;

namespace kvx::accessories {

/// The setup fields of the antenna window: the rotator's command and port, the antennas' ranges, the pulse.
class AntennaSetup final : public QWidget {
  Q_OBJECT

 public:
  explicit AntennaSetup(AntennaControl& antennas, QWidget* parent = nullptr);

  /// Shows the fields as they are.
  void Refresh();

  std::function<void(const Status& status)> on_entered;

 protected:
  void changeEvent(QEvent* event) override;

 private:
  QWidget* MakeRotator();
  QWidget* MakeRanges();
  void ChoosePreset(int index);

  AntennaControl& antennas_;
  FieldControls controls_;
  QComboBox* presets_ = nullptr;
};

}  // namespace kvx::accessories
