#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QSpinBox>

#include "console/setup_form.h"
#include "console/station_setup.h"

namespace kvx::console {

/// The rig port: number, device, line settings, and a test that asks the rig. What is typed counts when it is applied;
/// until then the state of the running port does not overwrite it.
class SetupPortPage final : public QWidget {
  Q_OBJECT

 public:
  explicit SetupPortPage(StationSetup& setup);

  void Refresh();
  void Follow(Field field);
  /// Puts what the rig leaves the factory with into the fields; it counts when it is applied.
  void ProposeUsual();

 private:
  void AddDevice();
  void AddLine();
  void AddState();
  void ListDevices();
  void DescribeDevice();
  void Load(const RigPortChoice& choice);
  void NumberChosen(int number);
  RigPortChoice Entered() const;
  void Edited();
  void ShowState();
  void ShowUsual();
  void Fill(const RigPortChoice& choice);
  bool Apply();
  void StartTest();
  Task Test();

  StationSetup& setup_;
  SetupForm form_;
  QSpinBox* number_ = nullptr;
  QComboBox* device_ = nullptr;
  QLabel* description_ = nullptr;
  QComboBox* speed_ = nullptr;
  QComboBox* stop_bits_ = nullptr;
  QCheckBox* dtr_ = nullptr;
  QCheckBox* rts_ = nullptr;
  QPushButton* apply_ = nullptr;
  QPushButton* test_button_ = nullptr;
  QLabel* usual_ = nullptr;
  QPushButton* usual_button_ = nullptr;
  QLabel* state_ = nullptr;
  QLabel* answer_ = nullptr;
  std::vector<DeviceChoice> listed_;
  RigPortChoice applied_;
  std::string proposed_for_;  ///< the rig for which what stands in the fields has been proposed; empty: for none
  bool loading_ = false;
  Task test_;
};

}  // namespace kvx::console
