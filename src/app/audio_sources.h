#pragma once

#include <memory>
#include <string>

#include "app/local_sound.h"
#include "core/loop.h"
#include "platform/audio_input.h"
#include "platform/posix/pulse_input.h"
#include "platform/serial_port.h"
#include "sim/own_station.h"

namespace kvx::app {

/// Where receiver audio comes from in the program: the devices of the sound server, or where there is none those of
/// `local`, recordings, the simulated receiver.
class AudioSources final : public platform::AudioDeviceList {
 public:
  /// `local` may be null.
  AudioSources(Loop& loop, LocalSound* local);

  std::vector<platform::AudioDevice> Devices() const override;
  /// The source of a name: "wav:FILE", "sim:receiver", else a device by its id or name. kInvalid when that is none.
  Result<std::unique_ptr<platform::AudioInput>> Make(const std::string& source);
  /// What the devices are taken from.
  const platform::PulseDevices& server() const { return server_; }
  /// A simulated keyer behind the port is heard in the simulated receiver.
  void ListenTo(platform::SerialPort& port);
  /// What the simulated receiver is tuned by.
  void FollowDial(std::function<double()> hertz) { own_.dial_hertz = std::move(hertz); }

 private:
  Loop& loop_;
  platform::PulseDevices server_;
  LocalSound* local_;
  sim::OwnStation own_;
};

}  // namespace kvx::app
