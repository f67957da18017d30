#pragma once

#include <QComboBox>
#include <QObject>
#include <string>

#include "console/setup_form.h"
#include "console/station_setup.h"

namespace kvx::console {

/// The row of a page in which the device behind a port number is chosen or typed; the number is a setting of its own.
/// Everything is borrowed; the box belongs to the form's page.
class SetupDeviceRow final : public QObject {
 public:
  /// `port_key`: of the setting with the number. `virtual_port`: whether a pair of virtual ports is offered as well.
  SetupDeviceRow(StationSetup& setup, SetupForm& form, std::string port_key, const QString& label, bool virtual_port);

  /// Lists what is plugged in now, and shows what stands behind the number.
  void Refresh();

 private:
  int number() const { return static_cast<int>(setup_.Stored().number(port_key_)); }
  void Add(const std::string& address, const std::string& description);
  void Keep();

  StationSetup& setup_;
  SetupForm& form_;
  std::string port_key_;
  bool virtual_port_;
  QComboBox* box_;
};

}  // namespace kvx::console
