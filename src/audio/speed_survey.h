#pragma once

#include <array>

#include "audio/level_track.h"
#include "audio/tone_signal.h"

namespace kvx::audio {

/// What a stretch of a tone says of the speed at which it is keyed.
struct SpeedFinding {
  double dot = 0;         ///< samples
  double evidence = 0;    ///< logarithm: how much more probable keying at that speed is than noise or a carrier
  double over_noise = 0;  ///< than noise alone
  double proof = 0;       ///< and than marks that are all alike
  double least_proof = 0;
  double margin = 0;                        ///< by how much that surpasses clearly other speeds
  float level_scale = 1;                    ///< what the levels told have to be multiplied with to fit best
  double level_reach = LevelTrack::kReach;  ///< as told to SurveySpeed
  double spacing = 1;                       ///< how much more than usual is put between characters and words
  /// Marks that are all alike are no text: the flutter of a tone that is somewhere else, a carrier that comes and goes.
  bool proved() const { return proof > least_proof; }
};

/// Tries all speeds on the tone between two times. `rate`: samples a second; `noise`: as in ToneLevel; `level_reach`:
/// seconds on either side out of which levels are taken.
SpeedFinding SurveySpeed(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
                         double level_reach = LevelTrack::kReach);

/// Makes a finding finer: speed, level, spacing, evidence and proof.
void RefineFinding(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
                   SpeedFinding& finding);

/// How much more probable keying with dots of that length is than noise alone, with each of kSpacings. Levels are those
/// of `tuned`, the same tone mixed down as well as possible.
inline constexpr std::array kSpacings{1.0, 1.7, 2.8};
std::array<double, kSpacings.size()> SurveySpacing(const ToneSignal& tone, const ToneSignal& tuned,
                                                   ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
                                                   double dot);

/// When, between two times, one sender seems to have gone over to the next: each by his tone, mixed down, and his dots.
ToneSignal::Time SurveyChange(const ToneSignal& before, double dot_before, const ToneSignal& after, double dot_after,
                              ToneSignal::Time from, ToneSignal::Time to, double rate, float noise);

/// How many Hz the tone between two times is off 0 Hz, when its dots have that length: the best of `reach` steps to
/// either side, which are as fine as dashes of that length need.
double SurveyTone(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
                  double dot, int reach, double level_reach = LevelTrack::kReach);

}  // namespace kvx::audio
