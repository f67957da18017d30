#pragma once

#include <optional>
#include <vector>

#include "platform/audio_input.h"
#include "platform/resampler.h"
#include "platform/sample_pacer.h"
#include "sim/own_station.h"
#include "sim/receiver_audio.h"
#include "sim/side_tone.h"

namespace kvx::sim {

/// The simulated receiver as a source of audio: the band of the demonstration, which moves with the dial. While its own
/// station keys it is muted and hears the side tone.
class ReceiverInput final : public platform::AudioInput {
 public:
  ReceiverInput(Loop& loop, OwnStation& own);

  Status Open(int samples_per_second) override;
  void Close() override { pacer_.Stop(); }
  bool is_open() const override { return pacer_.running(); }

 private:
  void Give(std::size_t count);
  void Hear();
  void AddOwnTone(std::vector<float>& block);

  Loop& loop_;
  OwnStation& own_;
  platform::SamplePacer pacer_;
  std::optional<ReceiverAudio> audio_;
  std::optional<platform::Resampler> resampler_;
  std::vector<float> samples_;  ///< at the rate that is wanted, not yet given
  TimePoint start_{};
  std::int64_t heard_ = 0;  ///< samples of the receiver
  std::optional<SideTone> tone_;
  TimePoint tone_ends_{};
  std::vector<std::int16_t> tone_samples_;  ///< not yet heard
  bool key_ = false;
  float loudness_ = 1;  ///< of the band
};

}  // namespace kvx::sim
