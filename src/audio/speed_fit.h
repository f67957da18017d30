#pragma once

#include <span>

#include "audio/key_detector.h"

namespace kvx::audio {

/// How well marks and the gaps between them agree with keying of some speed.
struct SpeedFit {
  double dot = 0;       ///< samples
  double spread = 0;    ///< of the lengths: standard deviation of their logarithm
  bool dashes = false;  ///< whether there are any: dots alone may be the clicks of a neighbour
  double score = 0;     ///< logarithm of how much likelier keying is than chance
};

/// Tries dots between `low` and `high`.
SpeedFit FitSpeed(std::span<const KeyedMark> marks, double low, double high);

}  // namespace kvx::audio
