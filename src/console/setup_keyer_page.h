#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QWidget>
#include <optional>

#include "console/local_tone.h"
#include "console/setup_device_row.h"
#include "console/setup_form.h"
#include "console/setup_key_rows.h"
#include "console/station_setup.h"

namespace kvx::console {

/// The keyer: what sends CW and how, a trial of it, and the settings of older programs that are only kept. Each change
/// counts at once.
class SetupKeyerPage final : public QWidget {
  Q_OBJECT

 public:
  /// `tone` null: there is no local side tone to listen to.
  SetupKeyerPage(StationSetup& setup, LocalTone* tone);

  void Refresh();
  void Follow(Field field);

 private:
  void AddRows();
  void AddState();
  void AddListen();
  void AddTexts();
  void Kept(const config::KeptSetting& setting);
  void ShowState();
  void StartTest();
  void EndTest();

  StationSetup& setup_;
  keyer::Keyer& keyer_;
  LocalTone* tone_;
  QWidget* rows_;
  SetupForm form_;
  SetupKeyRows keys_;
  QLabel* state_ = nullptr;
  QLabel* answer_ = nullptr;
  std::optional<SetupDeviceRow> device_;  ///< of the WinKeyer's port
  QCheckBox* cut_report_ = nullptr;
  QCheckBox* cut_number_ = nullptr;
  bool testing_ = false;
  bool reason_follows_ = false;  ///< of a test that failed
};

}  // namespace kvx::console
