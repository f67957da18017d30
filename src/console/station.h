#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "accessories/tuner_notebook.h"
#include "cat/band_operations.h"
#include "cat/engine.h"
#include "config/rig_database.h"
#include "config/settings_file.h"
#include "config/station_settings.h"
#include "console/announcer.h"
#include "console/clock.h"
#include "console/debug_log.h"
#include "console/position_file.h"
#include "core/console.h"
#include "functions/function_keys.h"
#include "functions/memory_channels.h"
#include "keyer/keyer.h"
#include "links/dde_server.h"
#include "links/logger_links.h"
#include "links/net_server.h"
#include "platform/audio_input.h"
#include "platform/release_guard.h"

namespace kvx::accessories {
struct Accessories;
}
namespace kvx::audio {
class AudioAnalysis;
}
namespace kvx::platform {
class PortAccess;
class Worker;
}  // namespace kvx::platform

namespace kvx::console {

/// What a station is put together from. Everything is borrowed.
struct StationParts {
  Loop& loop;
  platform::Files& files;
  platform::SerialPort& rig_port;
  platform::Path folder;               ///< the station folder
  platform::Path data;                 ///< the shipped data
  platform::Speech* speech = nullptr;  ///< null: no voice
  platform::ReleaseGuard* guard = nullptr;
  bool after_crash = false;  ///< the console before did not end in order: what it may have left keyed is released first
  platform::SerialPort* keyer_port = nullptr;  ///< of the WinKeyer; null: there is none
  platform::ReleaseGuard* keyer_guard = nullptr;
  platform::ReleaseGuard* text_guard = nullptr;  ///< of the rig's own keyer
  /// Makes the line that software keying keys; unset or null answer: there is none.
  std::function<std::unique_ptr<platform::KeyLine>(const keyer::KeyerSettings&)> key_line;
  platform::TcpServer* net = nullptr;  ///< of the NET rigctl server; null: there is none
  links::LoggerPorts loggers = {};
  platform::DdeTransport* dde = nullptr;     ///< null: there is none
  platform::SerialPort* rotator = nullptr;   ///< the same
  platform::PortAccess* parallel = nullptr;  ///< the parallel ports; null: there are none
  platform::Worker* worker = nullptr;        ///< of the audio analysis; null: there is none
  platform::AudioDeviceList* audio_devices = nullptr;
  /// Makes a source of receiver audio by its name in the settings; kNotFound or kInvalid says what is wrong with it.
  std::function<Result<std::unique_ptr<platform::AudioInput>>(const std::string& source)> audio_input;
};

/// The station: one console with its rig, from start-up to the orderly shut-down. Windows and the headless command line
/// work through it; it needs neither.
class Station {
 public:
  explicit Station(const StationParts& parts);
  ~Station();
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
  /// Stops everything that the console transmits, text and tuning and the rig. False when the rig's transmitter is
  /// keyed and cannot be released.
  bool Escape();
  /// Whoever gave commands without a window has gone: what he has keyed is released, what he has typed is sent.
  void CommandsEnded();
  /// The saved rig whose keyer port counts; 0: the plain one.
  int keyer_slot() const { return keyer_slot_; }

  /// Sends what the operator has typed: a key of the row or a command.
  cat::SendOutcome SendCommand(std::string_view key_or_command);
  /// Presses function key 1 to 9.
  cat::SendOutcome PressFunction(int number);
  /// Sets slider #1 to #11 within its bounds and sends its command.
  cat::SendOutcome MoveSlider(int number, int value);

  /// Changes settings and keeps those lines of them in rig.ini. What has to happen with the new values is the caller's.
  void ChangeSettings(const std::function<void(config::StationSettings&)>& change,
                      const std::function<std::vector<config::SettingChange>(const config::StationSettings&)>& lines);
  /// Lets the band plan, the clock and the offset follow settings that have been changed.
  void FollowSettings();
  /// The operator's choices of appearance and announcements, kept in rig.ini. kInvalid names what is wrong.
  Status SetTheme(const std::string& name);
  Status SetTextSize(int percent);
  void SetAnnounce(bool on);

  /// One sentence on a command that was not sent.
  std::string WhyNotSent(cat::SendOutcome outcome) const;

  /// A meter button ("ALC" to "COMP"): selects that meter and polls it; pressed again, the S-meter alone is polled.
  cat::SendOutcome PressMeter(const std::string& key);
  /// An AGC button ("AGCOFF" to "AGCSLOW").
  cat::SendOutcome PressAgc(const std::string& key);
  /// A button that sends one logical key and nothing else ("XRITUP", "XSETALPHA"); `name` is announced.
  cat::SendOutcome PressKey(std::string_view key, const std::string& name);
  /// RIT on and, where the rig has a command for that, off in turn; XIT, which no row can switch off, on.
  cat::SendOutcome PressRit();
  cat::SendOutcome PressXit();
  /// Asks the rig for the value of every slider whose row has a query, one after the other. Also done once whenever the
  /// port has opened or the rig has changed.
  void AskLevels() { levels_ = ReadLevels(); }
  /// What slider #1 to #11 can be set to. The CW speed control runs to its own full scale whatever the rig takes.
  config::SliderBounds slider_bounds(int number) const;
  /// Keeps the console's state in rig.ini now.
  void Save() { KeepInFile(config::ConsoleChanges(settings_)); }

  /// Shows one line to the operator; the same one again is told again.
  void Notice(const std::string& line);
  /// Whether the last rewrite of rig.ini reached the disk.
  bool saved() const { return settings_file_.saved(); }
  const config::StationSettings& settings() const { return settings_; }
  Result<std::vector<std::string>> RigNames() const { return database_.Names(); }
  const platform::Path& folder() const { return folder_; }
  const platform::Path& data() const { return data_; }
  /// A small file of the station folder: kNotFound when there is none.
  Result<std::string> ReadFile(const std::string& name) const { return files_.Read(folder_ / name); }
  Status WriteFile(const std::string& name, std::string_view content) { return files_.Write(folder_ / name, content); }
  const Clock& clock() const { return clock_; }

  ConsolePosition position;
  /// The windows' part in the shut-down: every open window back to the same state; every window but the console closed.
  std::function<void()> MaxAllForms;
  std::function<void()> UnloadStuff;

 private:
  void ReadPosition();
  void WritePosition();
  void PrepareStore();
  void ReadBandPlan();
  void SetPace();
  void ApplyTs520Offset();
  Result<config::RigRow> FindRig(const std::string& name) const;
  void GiveUpRig(bool for_another_rig);
  Task LimitTransmission(Duration limit);
  Duration transmit_limit() const;
  Task DisarmWhenDelivered();
  void PortOpened();
  cat::SendOutcome SendRaw(const std::string& command);
  void KeepInFile(std::vector<config::SettingChange> changes);
  void FollowKeyer();
  void FollowLinks();
  void ConnectAccessories();
  void StartNetServer(platform::TcpServer& server);
  void StartLoggerLinks(const StationParts& parts);
  void ConnectAudio(const StationParts& parts);
  void ConnectScanner();
  bool HearsAudio() const;
  platform::PortSettings RigPort() const;

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
  DebugLog debug_log;
  Announcer announcer;
  functions::FunctionKeys functions;
  functions::MemoryChannels memories;
  keyer::Keyer keyer;
  accessories::TunerNotebook tuner_notebook;
  const std::unique_ptr<accessories::Accessories> accessories;
  std::unique_ptr<links::NetServer> net;        ///< null: there is none
  std::unique_ptr<links::LoggerLinks> loggers;  ///< the same
  std::unique_ptr<links::DdeServer> dde;        ///< the same
  std::unique_ptr<audio::AudioAnalysis> audio;  ///< the same

 private:
  Clock clock_;
  int keyer_slot_ = 0;
  TimePoint noticed_at_{};
  bool after_crash_;
  bool stopping_ = false;    ///< the shut-down has begun: the rig gets nothing more but its release
  std::vector<Task> saves_;  ///< rewrites of rig.ini under way
  Console::Subscription transmission_;
  Task ReadLevels();

  Task levels_;
  Task limit_;  ///< of the transmission under way
  platform::ReleaseGuard* guard_ = nullptr;
  Task disarm_;
};

}  // namespace kvx::console
