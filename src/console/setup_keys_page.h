#pragma once

#include <QWidget>

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
  void Follow(Field) {}

 private:
  void AddLoggerState();
  void ShowLoggerState();

  StationSetup& setup_;
  QWidget* rows_;
  SetupForm form_;
  SetupKeyRows keys_;
  QLabel* logger_ = nullptr;  ///< the links to a logger, and whether it runs
};

}  // namespace kvx::console
