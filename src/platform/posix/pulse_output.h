#pragma once

#include <memory>

#include "platform/posix/pulse_connection.h"
#include "platform/sound_output.h"
#include "platform/sound_queue.h"

struct pa_stream;

namespace kvx::platform {

/// The sound server's usual output, wherever it moves that. A server that is slow is not waited for: what it refuses
/// later is told as a loss, and so is its silence.
class PulseOutput final : public SoundOutput {
 public:
  explicit PulseOutput(Loop& loop) : loop_(loop) {}
  ~PulseOutput() override { Close(); }
  PulseOutput(const PulseOutput&) = delete;
  PulseOutput& operator=(const PulseOutput&) = delete;

  Status Open(int samples_per_second) override;
  void Close() override;
  bool is_open() const override { return open_; }
  void Play(std::span<const std::int16_t> samples) override;
  void Stop() override { queue_.Fade(rate_); }
  Duration remaining() const override { return open_ ? queue_.Length(rate_) : Duration{0}; }

 private:
  Status Advance();
  Status StartStream();
  void Fire();
  void Give();

  Loop& loop_;
  std::unique_ptr<PulseConnection> server_;
  pa_stream* stream_ = nullptr;
  SoundQueue queue_;
  int rate_ = 0;
  bool open_ = false;
  bool running_ = false;
  TimePoint next_look_{};
  Loop::TimerId timer_ = 0;
};

}  // namespace kvx::platform
