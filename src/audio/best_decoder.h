#pragma once

#include <array>
#include <complex>
#include <optional>
#include <vector>

#include "audio/click_limiter.h"
#include "audio/cw_decoder.h"
#include "audio/keying_search.h"
#include "audio/letter_model.h"
#include "audio/speed_survey.h"
#include "audio/tone_course.h"
#include "audio/tone_filter.h"
#include "audio/tone_watch.h"
#include "audio/tuned_tone.h"

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
  /// A course and a speed that fit a stretch of the tone.
  struct Finding {
    ToneSignal tone;  ///< mixed down along the course
    ToneCourse course;
    SpeedFinding speed;
  };

  void Work();
  void LookForSignal(bool last);
  Finding Survey(Time from, Time to, double level_reach = LevelTrack::kReach) const;
  void Begin(const Finding& finding, Time time);
  void KeyUpTo(Time end);
  void Read();
  void CheckSender();
  void WeighSpacing(const std::array<double, kSpacings.size()>& evidence);
  void Restart(Time time, const KeyingTimes& times);
  void ReadOut(Time change);
  void Leave();
  void Emit(const std::vector<FoundSymbol>& symbols);
  void LearnFromMarks();
  void Recentre();
  Time Needed() const;
  void DropHistory(Time needed);
  Time Samples(double seconds) const;

  double samples_per_second_;
  double hertz_;
  double reach_;
  const LetterModel& letters_;
  CodeTree codes_;
  ClickLimiter limiter_;
  std::vector<float> limited_;
  ToneFilter filter_;
  double rate_;
  ToneWatch watch_;
  TunedTone tuned_;
  ToneTracker tracker_;
  Time watched_ = 0;
  Time next_look_ = 0;
  Time heard_ = 0;  ///< when there was evidence of keying

  std::optional<KeyingSearch> search_;
  KeyedTone keyed_{0};
  float level_scale_ = 1;
  std::array<double, kSpacings.size()> spacing_evidence_{};
  float power_ = 0;  ///< of the last marks
  float noise_ = 1;
  bool blank_ = true;  ///< whether the last symbol was one
};

}  // namespace kvx::audio
