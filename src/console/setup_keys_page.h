#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <functional>
#include <map>
#include <string>

#include "console/setup_form.h"
#include "console/station_setup.h"

namespace kvx::console {

/// The settings that are kept for the keyer, or for the links to other programs: a control for each, grouped as their
/// table has them. What is refused stays in its control to be corrected; coming back to the page shows what is stored.
class SetupKeysPage final : public QWidget {
  Q_OBJECT

 public:
  SetupKeysPage(StationSetup& setup, config::SettingOwner owner);

  void Refresh();
  void Follow(Field) {}

 private:
  void AddSwitch(const config::KeptSetting& setting);
  void AddChoice(const config::KeptSetting& setting);
  void AddLine(const config::KeptSetting& setting);
  void Keep(const config::KeptSetting& setting, const QString& value);

  StationSetup& setup_;
  QWidget* rows_;
  SetupForm form_;
  std::map<std::string, std::function<void(const config::Settings& stored)>> show_;  ///< by key
};

}  // namespace kvx::console
