#pragma once

#include <complex>
#include <deque>
#include <optional>
#include <string_view>
#include <vector>

#include "audio/cw_decoder.h"
#include "audio/keying_search.h"
#include "audio/letter_model.h"
#include "audio/speed_survey.h"
#include "audio/tone_filter.h"
#include "audio/tone_signal.h"
#include "audio/tone_watch.h"

namespace kvx::audio {

/// Decides by probability: gathers some seconds, finds tone, speed and noise in them, and searches the likeliest text
/// from their beginning. What is more likely noise gives no text.
class BestDecoder final : public CwDecoder {
 public:
  /// `letters` outlives the decoder. `reach`: within how many Hz of a tone it looks for the strongest.
  BestDecoder(double samples_per_second, double hertz, const LetterModel& letters, double reach = ToneWatch::kReach);

  void Feed(std::span<const float> samples) override;
  void Finish() override;
  void SetTone(double hertz) override;
  Reception reception() const override;

 private:
  using Time = ToneSignal::Time;

  void Work();
  void Begin(SpeedFinding finding, Time time);
  void Tune(double offset);
  void MixUpTo(Time end);
  void LookForSignal(bool last);
  void KeyUpTo(Time end);
  void Read();
  void CheckSpeed();
  void Emit(const std::vector<FoundSymbol>& symbols);
  void LearnFromMarks();
  void CorrectTuning(Time begin, Time end);
  void Retune(double off);
  Time Needed() const;
  void DropHistory(Time needed);

  double samples_per_second_;
  double hertz_;
  double reach_;
  const LetterModel& letters_;
  CodeTree codes_;
  ToneFilter filter_;
  double rate_;
  ToneWatch watch_;
  std::vector<std::complex<float>> history_;  ///< of the filter
  Time history_begin_ = 0;
  Time watched_ = 0;
  Time next_look_ = 0;

  std::vector<float> taps_;  ///< of the narrow filter behind the mixer
  double offset_ = 0;        ///< Hz: of the tone from where the filter is
  Time tuned_ = 0;           ///< when that was changed
  std::complex<double> turn_ = 1;
  std::vector<std::complex<float>> mixed_;
  ToneSignal tone_;

  std::optional<KeyingSearch> search_;
  KeyedTone keyed_{0};
  float level_scale_ = 1;
  float power_ = 0;  ///< of the last marks
  float noise_ = 1;
  double evidence_ = 0;
  std::complex<double> slips_;  ///< how far the phase turns within dashes
  int dashes_ = 0;
  bool blank_ = true;  ///< whether the last symbol was one
};

}  // namespace kvx::audio
