#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <optional>

#include "app/audio_sources.h"
#include "app/doctor.h"
#include "app/options.h"
#include "app/usual_sound.h"
#include "console/local_tone.h"
#include "console/rig_editor.h"
#include "console/station.h"
#include "console/station_setup.h"
#include "platform/numbered_port.h"
#include "platform/parallel_lines.h"
#include "platform/posix/device_list.h"
#include "platform/posix/files.h"
#include "platform/posix/parallel_port.h"
#include "platform/posix/process_list.h"
#include "platform/posix/release_guard.h"
#include "platform/posix/release_process.h"
#include "platform/posix/release_watch.h"
#include "platform/posix/station_lock.h"
#include "platform/qt/qt_loop.h"
#include "platform/qt/qt_tcp_server.h"
#include "platform/qt/stop_signals.h"
#include "platform/qt/thread_worker.h"
#include "platform/qt/wine_gateway.h"
#include "platform/speech.h"

namespace kvx::app {

/// What windows bring along; a console without them has neither.
struct Desktop {
  std::unique_ptr<platform::Speech> speech;
  std::unique_ptr<LocalSound> sound;
};

/// The running console: the station with the real adapters, for a window or for the headless command line. Lives inside
/// a Qt application.
class Program {
 public:
  /// `process`: what releases the transmitter when this program cannot; null: nothing does, as nothing is keyed.
  explicit Program(const Options& options, platform::ReleaseProcess* process = nullptr, Desktop desktop = {});

  /// Takes the station folder. kBusy when another console has it.
  Status Prepare();
  /// Starts the station.
  void Start();
  /// Begins the orderly shut-down, which ends in `on_ended`; a second call does nothing.
  void Stop();

  console::Station& station() { return *station_; }
  console::StationSetup& setup() { return *setup_; }
  console::RigEditor& editor() { return *editor_; }
  console::Doctor& doctor() { return doctor_; }
  console::LocalTone* local_tone() { return tone_.get(); }
  platform::Files& files() { return files_; }
  Loop& loop() { return loop_; }
  /// Says a sentence aloud where there is a voice.
  void Speak(const std::string& sentence);
  /// Whether nobody has chosen a rig on this station yet.
  bool unconfigured() const;
  /// Turns this station into the simulated one.
  void UseSimulatedRig();
  /// Operates the simulated rig behind the rig port; empty when there is none.
  std::string OperateSimulatedRig(std::string_view command);

  std::function<void()> on_ended;

 private:
  std::unique_ptr<platform::SerialPort> MakePort(const std::string& address);
  std::unique_ptr<platform::SerialPort> MakeLoggerPort(const std::string& address,
                                                       std::function<void()> far_end_closed);
  std::unique_ptr<platform::KeyLine> MakeKeyLine(const keyer::KeyerSettings& settings);
  std::unique_ptr<platform::ParallelPort> MakeParallelPort(int number);
  void StopKeying();
  Task ShutDown();
  bool leaves_keyed() const;

  platform::QtLoop loop_;
  platform::PosixFiles files_;
  platform::Path folder_;
  bool demo_;
  Desktop desktop_;
  AudioSources audio_sources_;     ///< longer than the ports that it hears
  platform::ThreadWorker worker_;  ///< of the audio analysis
  std::optional<platform::StationLock> lock_;
  platform::NumberedPort rig_port_;
  platform::NumberedPort keyer_port_;  ///< of the WinKeyer
  platform::NumberedPort logger_port_;
  platform::NumberedPort logger_winkey_port_;
  platform::NumberedPort key_line_port_;  ///< keyed in software, when it is no device of this machine
  platform::NumberedPort rotator_port_;
  platform::SharedParallelPorts parallel_ports_;
  platform::ParallelLines parallel_lines_;
  platform::PosixDeviceList devices_;
  platform::PosixProcessList processes_;
  platform::ReleaseWatch watch_;
  QSocketNotifier released_;  ///< by the watch
  platform::PosixReleaseGuard release_guard_;
  platform::PosixReleaseGuard keyer_guard_;
  platform::PosixReleaseGuard text_guard_;
  platform::QtTcpServer net_server_;
  platform::WineGateway dde_gateway_;
  DoctorAdapters doctor_adapters_;
  platform::ThreadWorker doctor_worker_;
  console::Doctor doctor_;
  std::unique_ptr<UsualSound> sound_;  ///< null without a desktop
  std::unique_ptr<console::Station> station_;
  Console::Subscription rig_opened_;
  bool rig_has_opened_ = false;
  std::unique_ptr<console::StationSetup> setup_;
  std::unique_ptr<console::RigEditor> editor_;
  std::unique_ptr<console::LocalTone> tone_;
  platform::StopSignals signals_;
  Task shut_down_;
  bool stopping_ = false;
};

/// The shipped data: beside an installed program, else in the source tree it was built from.
platform::Path DataFolder();
/// The program that runs under Wine: with an installed console's libraries, else where it has been built.
platform::Path DdeGateway();
/// Why a program without a station folder ends at once.
inline constexpr const char* kNoFolder = "there is no home directory for the station folder: --station DIR names one";
/// Empty when none is named and there is no home directory.
platform::Path StationFolder(const Options& options);

}  // namespace kvx::app
