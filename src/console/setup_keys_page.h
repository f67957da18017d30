#pragma once

#include <QWidget>
#include <memory>
#include <string>
#include <vector>

#include "console/setup_device_row.h"
#include "console/setup_form.h"
#include "console/setup_key_rows.h"
#include "console/station_setup.h"

namespace kvx::console {

/// The settings that are kept for the links to other programs, grouped as their table has them.
class SetupKeysPage final : public QWidget {
  Q_OBJECT

 public:
  explicit SetupKeysPage(StationSetup& setup);

  void Refresh();
  void Follow(Field field);

 private:
  std::unique_ptr<SetupDeviceRow> NewDevice(const std::string& port_key, const QString& label);
  QLabel* AddState(const QString& name);
  void ShowStates();

  StationSetup& setup_;
  QWidget* rows_;
  SetupForm form_;
  SetupKeyRows keys_;
  std::vector<std::unique_ptr<SetupDeviceRow>> devices_;  ///< behind the logger's ports
  QLabel* logger_ = nullptr;                              ///< the links to a logger, and whether it runs
  QLabel* net_ = nullptr;
  QLabel* dde_ = nullptr;
};

}  // namespace kvx::console
