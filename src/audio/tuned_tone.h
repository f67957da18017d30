#pragma once

#include <complex>
#include <vector>

#include "audio/tone_course.h"
#include "audio/tone_signal.h"

namespace kvx::audio {

/// The neighbourhood of a tone, kept for some seconds, and the tone itself, mixed down to 0 Hz along its course and
/// filtered as narrowly as its speed lets it.
class TunedTone final {
 public:
  using Time = ToneSignal::Time;

  explicit TunedTone(double rate);

  /// The neighbourhood: a ToneFilter appends to it.
  std::vector<std::complex<float>>& samples() { return samples_; }
  const std::vector<std::complex<float>>& samples() const { return samples_; }
  Time begin() const { return begin_; }
  Time end() const { return begin_ + static_cast<Time>(samples_.size()); }

  /// For dots so many samples long; 0: any. What is mixed down from now on.
  void SetDot(double dot);
  /// Mixes all that is kept down anew.
  void Tune(const ToneCourse& course);
  /// Goes on along a course up to a time.
  void MixUpTo(const ToneCourse& course, Time end);
  const ToneSignal& tone() const { return tone_; }

  void DropBefore(Time time);
  /// Turns what is kept, so that its middle is so many Hz higher. The tone goes on as it is.
  void MoveMiddle(double hertz);
  /// How far that turns a sample of this time.
  std::complex<double> TurnOf(double hertz, Time time) const;

 private:
  double rate_;
  std::vector<std::complex<float>> samples_;
  Time begin_ = 0;
  std::vector<float> taps_;
  std::complex<double> turn_ = 1;
  std::vector<std::complex<float>> mixed_;
  ToneSignal tone_;
};

}  // namespace kvx::audio
