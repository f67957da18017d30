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

/// What hears through a FakeAudioInput that the test keeps.
class LentAudioInput final : public platform::AudioInput {
 public:
  explicit LentAudioInput(FakeAudioInput& card) : card_(card) {
    card_.on_samples = [this](std::span<const std::int16_t> samples) { on_samples(samples); };
    card_.on_lost = [this](const std::string& why) { on_lost(why); };
    card_.on_end = [this] { on_end(); };
  }
  Status Open(int samples_per_second) override { return card_.Open(samples_per_second); }
  void Close() override { card_.Close(); }
  bool is_open() const override { return card_.is_open(); }

 private:
  FakeAudioInput& card_;
};

/// The capture devices that a test says there are.
class FakeAudioDevices final : public platform::AudioDeviceList {
 public:
  std::vector<platform::AudioDevice> Devices() const override { return devices; }

  std::vector<platform::AudioDevice> devices{{"", "System default"}};
};

}  // namespace kvx
