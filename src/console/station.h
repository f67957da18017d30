#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cat/band_operations.h"
#include "cat/engine.h"
#include "config/rig_database.h"
#include "config/settings_file.h"
#include "config/station_settings.h"
#include "console/clock.h"
#include "console/position_file.h"
#include "core/console.h"

namespace kvx::console {

/// What a station is put together from. Everything is borrowed.
struct StationParts {
  Loop& loop;
  platform::Files& files;
  platform::SerialPort& rig_port;
  platform::Path folder;  ///< the station folder
  platform::Path data;    ///< the shipped data
};

/// The station: one console with its rig, from start-up to the orderly shut-down. Windows and the headless command line
/// work through it; it needs neither.
class Station {
 public:
  explicit Station(const StationParts& parts);
  Station(const Station&) = delete;
  Station& operator=(const Station&) = delete;

  /// Start-up in its order. Whatever is wrong with a file is one line in the message area; the console comes up
  /// regardless.
  void Start();
  /// The orderly shut-down: releases the transmitter, writes RIGform.Pos and rig.ini, closes the ports.
  Task ShutDown();

  /// Reads rig.ini and applies it. " ": the start-up call, which takes rig port, speed and rig number from the file;
  /// "0" to "8": the speed and name of that saved rig, and the port is opened anew. kInvalid for another slot.
  Status InitRig(const std::string& slot);
  /// Loads the definition of that name. kNotFound, with everything left as it was, when there is none.
  Status SetRig(const std::string& name);
  /// Rewrites rig.ini with the current rig, family, colours and band memory, then loads the definition. An empty name
  /// means the current rig.
  Task SaveRig(std::string name);
  /// Chooses another rig: loads it, keeps the choice in rig.ini and opens the port anew. kNotFound for an unknown name.
  Status ChooseRig(const std::string& name);

  /// Rig1_Click to Rig7_Click.
  cat::SendOutcome Rig_Click(int number);
  /// xRig0_Click to xRig8_Click.
  Status xRig_Click(int slot);

  /// The rig port dialog: changes the settings, keeps them in rig.ini and opens the port anew.
  void SetRigPort(int number, int speed);
  void OpenRigPort();

  /// Presses function key 1 to 9.
  cat::SendOutcome PressFunction(int number);
  /// Sets slider #1 to #11 within its bounds and sends its command.
  cat::SendOutcome MoveSlider(int number, int value);

  /// Shows one line to the operator.
  void Notice(const std::string& line);
  /// Whether the last rewrite of rig.ini reached the disk.
  bool saved() const { return settings_file_.saved(); }
  const config::StationSettings& settings() const { return settings_; }
  Result<std::vector<std::string>> RigNames() const { return database_.Names(); }
  const platform::Path& folder() const { return folder_; }
  const Clock& clock() const { return clock_; }

  ConsolePosition position;

 private:
  void ReadPosition();
  void WritePosition();
  void PrepareStore();
  void ReadBandPlan();
  void ApplyTs520Offset();
  Result<config::RigRow> FindRig(const std::string& name) const;
  void GiveUpRig(bool for_another_rig);
  Task LimitTransmission();
  void PortOpened();
  cat::SendOutcome SendRaw(const std::string& command);
  void KeepInFile(std::vector<config::SettingChange> changes);

  Loop& loop_;
  platform::Files& files_;
  platform::Path folder_;
  platform::Path data_;

 public:
  Console console;

 private:
  config::RigDatabase database_;
  config::SettingsFile settings_file_;
  config::StationSettings settings_;

 public:
  cat::Engine engine;
  cat::BandOperations bands;

 private:
  Clock clock_;
  std::vector<Task> saves_;  ///< rewrites of rig.ini under way
  Console::Subscription transmission_;
  Task limit_;  ///< of the transmission under way
};

}  // namespace kvx::console
