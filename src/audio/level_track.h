#pragma once

#include <vector>

#include "audio/tone_signal.h"

namespace kvx::audio {

/// How strong a tone, key down, and the noise are through a stretch of time: it follows fading.
class LevelTrack final {
 public:
  static constexpr double kReach = 1.3;  ///< seconds on either side out of which a level is taken

  LevelTrack() = default;
  LevelTrack(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
             double reach = kReach);

  ToneLevel At(ToneSignal::Time time) const;
  /// The noise counts as no weaker than a share of the tone's power a sample: small faults of timing must not decide.
  void Soften(float least_noise);
  void Scale(float power);

 private:
  ToneSignal::Time from_ = 0;
  ToneSignal::Time hop_ = 1;
  std::vector<ToneLevel> levels_;
};

}  // namespace kvx::audio
