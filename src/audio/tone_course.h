#pragma once

#include <optional>

#include "audio/tone_signal.h"

namespace kvx::audio {

/// Where a tone is, and how it drifts: in Hz from a middle, by time.
struct ToneCourse {
  double hertz = 0;  ///< at that time
  double slope = 0;  ///< Hz a sample
  ToneSignal::Time at = 0;

  double HertzAt(ToneSignal::Time time) const { return hertz + slope * static_cast<double>(time - at); }
};

/// How far a tone is off the course along which it was mixed down.
struct ToneFit {
  ToneCourse off;
  double hertz_variance = 0;
  double slope_variance = 0;
};

/// Measured by how the phase turns within `lag` samples, so up to half a turn; nothing when the noise hides it.
/// `noise`: as in ToneLevel.
std::optional<ToneFit> FitTone(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, double rate,
                               float noise, ToneSignal::Time lag);

/// Follows a drifting tone: weighs what it expects against what it measures.
class ToneTracker final {
 public:
  explicit ToneTracker(double rate) : rate_(rate) {}

  /// Begins on a course that is sure to within deviations in Hz and Hz a sample.
  void Begin(const ToneCourse& course, double hertz_deviation, double slope_deviation);
  /// A stretch of the tone that was mixed down along course(). `power`: of its marks, if known, else 0.
  void Track(const ToneSignal& tone, ToneSignal::Time from, ToneSignal::Time to, float noise, float power,
             ToneSignal::Time lag);
  const ToneCourse& course() const { return course_; }
  /// Moves the middle from which Hz are counted.
  void MoveMiddle(double hertz) { course_.hertz -= hertz; }

 private:
  double rate_;
  ToneCourse course_;
  double hertz_variance_ = 0;
  double slope_variance_ = 0;
  double covariance_ = 0;
};

}  // namespace kvx::audio
