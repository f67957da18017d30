#pragma once

#include <optional>
#include <string>
#include <vector>

#include "config/settings.h"
#include "config/station_settings.h"
#include "console/doctor.h"
#include "keyer/keyer_settings.h"
#include "platform/ports_file.h"

namespace kvx::console {

/// The station that is examined, as its files have it.
struct Patient {
  explicit Patient(const DoctorParts& asked);

  /// Whether it is the console that runs on this station, or a process that it has beside it.
  bool IsConsole(const platform::RunningProgram& program) const {
    return console && (console->process == program.process || console->process == program.parent);
  }

  const DoctorParts& parts;
  Result<std::string> rig_ini;
  config::Settings stored;
  config::StationSettings settings;
  keyer::KeyerSettings keyer;
  platform::PortTable ports;
  std::optional<platform::RunningProgram> console;  ///< that runs on it
};

/// A number of a serial port, and what the station has it for.
struct PortUse {
  std::string name;  ///< "rig port COM3"
  int number = 0;
  bool on = true;  ///< false: what it is for is switched off
};
std::vector<PortUse> PortsInUse(const Patient& patient);

/// Where the findings of a check are put.
class Chart {
 public:
  void Ok(const std::string& text) { Add(Finding::Grade::kOk, text); }
  void Warn(const std::string& text) { Add(Finding::Grade::kWarning, text); }
  void Error(const std::string& text) { Add(Finding::Grade::kError, text); }
  std::vector<Finding> findings;

 private:
  void Add(Finding::Grade grade, const std::string& text);
};

/// "rigctld, process 123"
std::string NameOf(const platform::RunningProgram& program);
/// A path as a shell takes it.
std::string Quoted(const std::string& path);

/// Whether the store that the next start makes has that rig, as far as can be told.
bool WillBeDefined(const Patient& patient, const std::string& rig);

void CheckFolder(const Patient& patient, Chart& chart);
void CheckSettings(const Patient& patient, Chart& chart);
void CheckStores(const Patient& patient, Chart& chart);
void CheckFiles(const Patient& patient, Chart& chart);
void CheckRig(const Patient& patient, Chart& chart);
void CheckKeyer(const Patient& patient, Chart& chart);
void CheckPortsFile(const Patient& patient, Chart& chart);
void CheckSerialPorts(const Patient& patient, Chart& chart);
void CheckParallelPorts(const Patient& patient, Chart& chart);
void CheckPortServices(const Patient& patient, Chart& chart);
void CheckNetwork(const Patient& patient, Chart& chart);
void CheckSound(const Patient& patient, Chart& chart);
void CheckVoice(const Patient& patient, Chart& chart);
void CheckDde(const Patient& patient, Chart& chart);
void CheckDisplay(const Patient& patient, Chart& chart);

}  // namespace kvx::console
