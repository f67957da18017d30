#pragma once

#include <string>

#include "console/command_line.h"
#include "console/station_setup.h"
#include "fakes/fake_audio_input.h"
#include "fakes/fake_dde.h"
#include "fakes/fake_device_list.h"
#include "fakes/fake_serial_port.h"
#include "fakes/fake_speech.h"
#include "fakes/fake_tcp_server.h"
#include "fakes/manual_worker.h"
#include "fakes/system_files.h"
#include "fakes/temporary_folder.h"
#include "fakes/virtual_loop.h"
#include "platform/numbered_port.h"
#include "platform/parallel_lines.h"
#include "sim/own_station.h"
#include "soak/plugs.h"

namespace kvx {

/// A release guard that only remembers whether it is armed.
struct FakeReleaseGuard final : public platform::ReleaseGuard {
  void Arm(std::string_view) override { armed = true; }
  void Disarm() override { armed = false; }
  bool armed = false;
};

/// A whole station in virtual time, put together as the program does it, with the command line: a simulated rig on COM3
/// and a WinKeyer on COM4, a logger on two ports of its own, the NET and DDE servers, the receiver's audio.
struct SoakStation {
  SoakStation();
  ~SoakStation();
  SoakStation(const SoakStation&) = delete;
  SoakStation& operator=(const SoakStation&) = delete;

  void Start();
  void ShutDown();
  /// Lets time pass, with the work on the audio done.
  void RunFor(Duration duration);
  /// Gives a command; its answer, if it has come by now.
  std::string Command(const std::string& line);
  PluggedPort* rig() { return dynamic_cast<PluggedPort*>(rig_port.backend()); }
  /// Whether the simulated rig is transmitting, whatever the console thinks.
  bool rig_transmits();
  /// Empties what the fakes have written down.
  void ForgetRecords();

  static constexpr const char* kRig = "sim:ts2000";
  static constexpr const char* kKeyer = "sim:winkey";

  int taken = 0;     ///< commands given
  int answered = 0;  ///< answers that came
  std::string last_answer;
  Plugs plugs;
  VirtualLoop loop;
  TemporaryFolder folder;
  SystemFiles files;
  ManualWorker worker;
  FakeTcpServer tcp;
  FakeDde dde_clients;
  FakeSpeech speech;
  FakeDeviceList devices;
  FakeAudioDevices audio_devices;
  FakeReleaseGuard guard;
  FakeReleaseGuard keyer_guard;
  sim::OwnStation own;
  platform::NumberedPort rig_port;
  platform::NumberedPort keyer_port;
  FakeSerialPort logger;
  FakeSerialPort logger_keyer;
  FakeSerialPort rotator;
  FakeSerialPort key_line;
  platform::ParallelLines parallel;
  console::Station station;
  console::StationSetup setup;
  console::CommandLine commands;

 private:
  platform::NumberedPort MakeNumbered();
};

}  // namespace kvx
