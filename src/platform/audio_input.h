#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"

namespace kvx::platform {

/// Something that receiver audio can be taken from.
struct AudioDevice {
  std::string id;        ///< lasting, for the settings; empty: the system's default
  std::string name;      ///< for people
  bool monitor = false;  ///< hears what is being played
  bool operator==(const AudioDevice&) const = default;
};

/// Whether a source's name means the system's default device.
bool IsDefaultDevice(std::string_view name);

/// A source of receiver audio: mono samples of 16 bits. Engine thread only; nothing is called from inside Open or
/// Close. Adapters: a capture device, a WAV file, the simulated receiver.
class AudioInput {
 public:
  virtual ~AudioInput() = default;
  /// Begins to deliver samples in chunks of about 20 ms. kNotFound, with one sentence, when there is no such device;
  /// kInvalid when it cannot give this rate.
  virtual Status Open(int samples_per_second) = 0;
  virtual void Close() = 0;
  virtual bool is_open() const = 0;

  std::function<void(std::span<const std::int16_t> samples)> on_samples;  ///< each sample once, in order
  std::function<void(const std::string& why)> on_lost;                    ///< the device has gone; closed by then
  std::function<void()> on_end;  ///< of a file: there is no more; closed by then
};

/// The capture devices of the system. Engine thread only.
class AudioDeviceList {
 public:
  virtual ~AudioDeviceList() = default;
  /// The system's default first.
  virtual std::vector<AudioDevice> Devices() const = 0;
  /// Called when devices have come or gone.
  std::function<void()> on_changed;
};

}  // namespace kvx::platform
