#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "audio/best_decoder.h"
#include "audio/callsign_picker.h"
#include "audio/heard_signal.h"
#include "audio/letter_model.h"
#include "audio/passband_watch.h"
#include "audio/rate_reducer.h"

namespace kvx::audio {

/// Finds the keyed tones in the passband and reads up to kMost of them at the same time. A tone is listed when it has
/// proved to be keying, and until it has been silent for a while. Not for use by two threads at once.
class SignalFinder final {
 public:
  static constexpr std::size_t kMost = 8;
  static constexpr std::size_t kLongestText = 1000;

  /// `letters` outlives the finder.
  SignalFinder(double samples_per_second, const LetterModel& letters);

  /// The next samples, -1..1, in blocks of any size.
  void Feed(std::span<const float> samples);
  /// There are no more samples: reads what is left.
  void Finish();
  /// Lowest tone first.
  const std::vector<HeardSignal>& signals() const { return signals_; }

  /// signals() has changed.
  std::function<void()> on_change;

 private:
  /// A tone with its decoder: on trial until it is listed.
  struct Follower {
    BestDecoder decoder;
    CallsignPicker picker;
    HeardSignal heard;
    std::int64_t since = 0;    ///< when it began, in samples
    std::int64_t present = 0;  ///< when it was last being sent
    int characters = 0;
    bool listed = false;
    /// The last characters, and when they ended in seconds of the finder's time.
    std::deque<std::pair<std::string, double>> last;

    Follower(double rate, double hertz, const LetterModel& letters, std::int64_t begin);
  };
  /// A tone that proved to be no keying; it is not tried again until then.
  struct Refusal {
    double hertz;
    std::int64_t until;
  };

  void Step(std::span<const float> samples);
  void Follow(Follower& follower) const;
  void Drop();
  void List();
  std::size_t Listed() const;
  static bool Echoes(const Follower& weaker, const Follower& stronger);
  void LookForSignals();
  bool Known(double hertz) const;
  void Publish();
  std::int64_t Samples(double seconds) const;

  const LetterModel& letters_;
  RateReducer reducer_;
  PassbandWatch watch_;
  std::vector<float> recent_;  ///< the last seconds, so that a new decoder reads from the signal's beginning
  std::vector<float> reduced_;
  std::int64_t now_ = 0;
  std::int64_t next_look_ = 0;
  std::vector<std::unique_ptr<Follower>> followers_;
  std::vector<Refusal> refusals_;
  int last_number_ = 0;
  std::vector<HeardSignal> signals_;
};

}  // namespace kvx::audio
