#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QSpinBox>

#include "console/setup_form.h"
#include "console/station_setup.h"

namespace kvx::console {

/// What belongs to the station rather than to a rig: band plan, poll interval, clock, offset. Each counts at once.
class SetupStationPage final : public QWidget {
  Q_OBJECT

 public:
  explicit SetupStationPage(StationSetup& setup);

  void Refresh();
  void Follow(Field) {}

 private:
  void AddBandPlan();
  void AddClock();
  void AddOffset();

  StationSetup& setup_;
  SetupForm form_;
  QComboBox* region_ = nullptr;
  QComboBox* clock_ = nullptr;
  QSpinBox* interval_ = nullptr;
  QLineEdit* offset_ = nullptr;
};

}  // namespace kvx::console
