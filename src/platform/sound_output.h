#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "core/loop.h"
#include "core/result.h"

namespace kvx::platform {

/// A loudspeaker for short sounds: mono samples of 16 bits. Engine thread only.
class SoundOutput {
 public:
  virtual ~SoundOutput() = default;
  /// Opens the system's output. kNotFound, with one sentence, when there is none.
  virtual Status Open(int samples_per_second) = 0;
  virtual void Close() = 0;
  virtual bool is_open() const = 0;
  /// Appends samples to what is being played; does nothing while closed.
  virtual void Play(std::span<const std::int16_t> samples) = 0;
  /// Silence at once: what has not been heard is dropped.
  virtual void Stop() = 0;
  /// How long what has been given will still sound.
  virtual Duration remaining() const = 0;

  std::function<void(const std::string& why)> on_lost;  ///< the device has gone; closed by then
};

}  // namespace kvx::platform
