#pragma once

#include <vector>

#include "audio/level_track.h"
#include "audio/tone_signal.h"

namespace kvx::audio {

/// How well every stretch of a tone fits to the key being down, its level and the noise being known.
class KeyedTone final {
 public:
  using Time = ToneSignal::Time;

  explicit KeyedTone(Time begin) : begin_(begin) {}

  /// Goes on up to a time.
  void Append(const ToneSignal& tone, const LevelTrack& levels, Time end);
  void DropBefore(Time time);
  /// The same, heard backwards.
  KeyedTone Reversed() const;
  /// The same up to a time, and so many samples of silence after that.
  KeyedTone Ended(Time time, Time silence) const;
  Time begin() const { return begin_; }
  Time end() const { return begin_ + static_cast<Time>(sums_.size()) - 1; }

  /// The logarithm of how much better the stretch fits to the key being down than up. The phase may be any.
  float KeyDown(Time from, Time to) const;
  /// The same when the level may suddenly be another one.
  float KeyDownOrChanged(Time from, Time to) const;

 private:
  struct Sum {
    std::complex<double> signal;
    double energy = 0;
  };
  struct Fit {
    float square;  ///< of the signal's amplitude
    float energy;
  };
  const Sum& At(Time time) const;
  Fit Between(Time from, Time to) const;

  Time begin_;
  std::vector<Sum> sums_{Sum{}};  ///< of all before a time: of the signal, as its amplitude and the noise weigh it
};

}  // namespace kvx::audio
