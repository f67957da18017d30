#pragma once

#include <optional>
#include <vector>

#include "platform/audio_input.h"
#include "platform/resampler.h"
#include "platform/sample_pacer.h"
#include "platform/wav_file.h"

namespace kvx::platform {

/// A recording as a source of receiver audio, as fast as it has been recorded. Each Open begins at its beginning.
class WavInput final : public AudioInput {
 public:
  WavInput(Loop& loop, Path path);

  Status Open(int samples_per_second) override;
  void Close() override;
  bool is_open() const override { return pacer_.running(); }

 private:
  void Give(std::size_t count);
  void Refill(std::size_t count);

  Path path_;
  SamplePacer pacer_;
  std::optional<WavReader> reader_;
  std::optional<Resampler> resampler_;
  std::vector<float> piece_;    ///< of the file
  std::vector<float> samples_;  ///< at the rate that is wanted, not yet given
  bool finished_ = false;
};

}  // namespace kvx::platform
