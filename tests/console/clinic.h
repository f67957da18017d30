#pragma once

#include <string>
#include <vector>

#include "console/doctor.h"
#include "console_fixture.h"
#include "fakes/fake_device_list.h"
#include "fakes/fake_inspectors.h"

namespace kvx::console {

using platform::SoundState;

inline const std::string kTty = "/dev/ttyUSB0";

/// A station with a rig on COM3, which is kTty, and nothing wrong with it but what a test does to it.
struct Clinic {
  explicit Clinic(const std::string& more = "", const std::string& ports = "COM3=" + kTty + "\n") {
    folder.Put("rig.ini", RigIni("TS-2000", 57'600, "RTSON3=1\nDTRON3=1\n" + more));
    folder.Put("ports.ini", ports);
    inspector.Plug(kTty);
    sound.server = SoundState::Server::kAnswers;
    sound.sources = {{.device = {"alsa_input.usb", "USB Audio CODEC"}, .is_default = true}};
  }
  DoctorParts Parts() {
    return {.files = files,
            .devices = devices,
            .inspector = inspector,
            .station = station,
            .network = network,
            .processes = processes,
            .sound = [this] { return sound; },
            .missing_voice = [this] { return missing_voice; },
            .dde = &dde,
            .folder = folder.path(),
            .data = KVX_DATA,
            .demo = demo};
  }
  void Examine() {
    lines.clear();
    Examination examination(Parts());
    while (!examination.done()) {
      for (const Finding& finding : examination.Step()) lines.push_back(LineOf(finding));
    }
  }
  /// The lines that tell of something wrong.
  std::vector<std::string> Wrong() {
    Examine();
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("ok "); });
    return lines;
  }

  TemporaryFolder folder;
  SystemFiles files;
  FakeDeviceList devices;
  FakeDeviceInspector inspector;
  FakeStationInspector station;
  FakeNetworkInspector network;
  FakeProcessList processes;
  FakeDde dde;
  SoundState sound;
  std::string missing_voice;
  bool demo = false;
  std::vector<std::string> lines;
};

}  // namespace kvx::console
