#pragma once

#include <vector>

#include "platform/audio_input.h"

namespace kvx {

/// A sound card that hears what a test gives it.
class FakeAudioInput final : public platform::AudioInput {
 public:
  Status Open(int samples_per_second) override {
    ++opens;
    if (absent) return Error{ErrorCode::kNotFound, "This computer has no sound input"};
    rate = samples_per_second;
    open_ = true;
    return Ok();
  }
  void Close() override { open_ = false; }
  bool is_open() const override { return open_; }

  /// Heard only while it is open.
  void Hear(std::span<const std::int16_t> samples) {
    if (open_ && on_samples) on_samples(samples);
  }
  void Lose() {
    open_ = false;
    if (on_lost) on_lost("The sound input has gone");
  }
  void End() {
    open_ = false;
    if (on_end) on_end();
  }

  int rate = 0;
  int opens = 0;
  bool absent = false;

 private:
  bool open_ = false;
};

/// The capture devices that a test says there are.
class FakeAudioDevices final : public platform::AudioDeviceList {
 public:
  std::vector<platform::AudioDevice> Devices() const override { return devices; }

  std::vector<platform::AudioDevice> devices{{"", "System default"}};
};

}  // namespace kvx
