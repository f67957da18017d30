#pragma once

#include <algorithm>
#include <vector>

#include "platform/sound_output.h"

namespace kvx {

/// A loudspeaker that writes down what it is given and plays it in the loop's time.
class FakeSoundOutput final : public platform::SoundOutput {
 public:
  explicit FakeSoundOutput(Loop& loop) : loop_(loop) {}

  Status Open(int samples_per_second) override {
    if (absent) return Error{ErrorCode::kNotFound, "There is no sound output"};
    rate = samples_per_second;
    open_ = true;
    ++opens;
    return Ok();
  }
  void Close() override { open_ = false; }
  bool is_open() const override { return open_; }
  void Play(std::span<const std::int16_t> samples) override {
    if (!open_) return;
    played.insert(played.end(), samples.begin(), samples.end());
    silent_at_ =
        std::max(silent_at_, loop_.Now()) + Duration(static_cast<std::int64_t>(samples.size()) * 1'000'000'000 / rate);
  }
  void Stop() override {
    ++stops;
    silent_at_ = loop_.Now();
  }
  Duration remaining() const override { return std::max(silent_at_ - loop_.Now(), Duration{0}); }

  void Lose() {
    open_ = false;
    if (on_lost) on_lost("The sound output has gone");
  }

  std::vector<std::int16_t> played;
  int rate = 0;
  int opens = 0;
  int stops = 0;
  bool absent = false;

 private:
  Loop& loop_;
  TimePoint silent_at_{};
  bool open_ = false;
};

}  // namespace kvx
