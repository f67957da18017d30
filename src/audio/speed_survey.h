#pragma once

#include "audio/level_track.h"
#include "audio/tone_signal.h"

namespace kvx::audio {

/// What a stretch of a tone says of the speed at which it is keyed.
struct SpeedFinding {
  double dot = 0;         ///< samples
  double evidence = 0;    ///< logarithm: how much more probable keying at that speed is than noise alone
  double margin = 0;      ///< by how much that surpasses clearly other speeds
  double gain = 0;        ///< and the speed in use
  float level_scale = 1;  ///< what the levels told have to be multiplied with to fit best
};

/// Tries all speeds on the tone between two times. `rate`: samples a second; `noise`: as in ToneLevel. `current`: the
/// dot length in use, or 0.
SpeedFinding SurveySpeed(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
                         double current = 0);

/// Makes a finding finer: speed, level and evidence.
void RefineFinding(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
                   SpeedFinding& finding);

/// How many Hz the tone between two times is off 0 Hz, when its dots have that length: the best of `reach` steps to
/// either side, which are as fine as dashes of that length need.
double SurveyTone(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate, float noise,
                  double dot, int reach);

}  // namespace kvx::audio
