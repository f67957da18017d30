#pragma once

#include <memory>

#include "app/local_sound.h"
#include "core/loop.h"
#include "platform/posix/pulse_input.h"
#include "platform/sound_output.h"

namespace kvx::app {

/// The system's usual sound output: the sound server's, or where there is none the local one. A server that is silent
/// is an error; it is never waited for.
class UsualSound final : public platform::SoundOutput {
 public:
  UsualSound(Loop& loop, const platform::PulseDevices& server, LocalSound& local)
      : loop_(loop), server_(server), local_(local) {}

  Status Open(int samples_per_second) override;
  void Close() override { output_.reset(); }
  bool is_open() const override { return output_ && output_->is_open(); }
  void Play(std::span<const std::int16_t> samples) override;
  void Stop() override;
  Duration remaining() const override { return output_ ? output_->remaining() : Duration{0}; }

 private:
  Loop& loop_;
  const platform::PulseDevices& server_;
  LocalSound& local_;
  std::unique_ptr<platform::SoundOutput> output_;
};

}  // namespace kvx::app
