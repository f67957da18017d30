#pragma once

#include <complex>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace kvx::audio {

/// A tone that was keyed: times in samples since the first, between which it was above half its strength.
struct KeyedMark {
  double begin = 0;
  double end = 0;
  float level = 0;  ///< amplitude

  double length() const { return end - begin; }
};

/// Finds the marks of one tone by its strength, averaged over most of a dot of a certain length: best for that speed.
/// Follows the tone's level as it fades; what is not well above the noise is no mark.
class KeyDetector final {
 public:
  /// Lengths in samples.
  KeyDetector(double dot, std::int64_t begin);

  /// The next sample of the tone at 0 Hz; the noise's power in a band of one sample rate, by how many times its root
  /// mean square a mark must exceed the averaged noise, and the least amplitude.
  void Feed(std::complex<float> sample, float noise, float margin, float squelch);

  double dot() const { return dot_; }
  /// The latest marks that begin after a time, `most` at most.
  std::vector<KeyedMark> MarksAfter(double time, std::size_t most) const;
  std::int64_t marks_seen() const { return marks_seen_; }
  /// Until when it is known that there has been no tone since the last mark.
  double silent_until() const;
  float level() const { return level_; }
  /// Root mean square of the noise, as averaged here, when it has this power.
  float NoiseLevel(float noise) const;

 private:
  void Measure(float strength, float floor);
  void EndMark();
  float StrengthAt(std::int64_t time) const { return strengths_[static_cast<std::size_t>(time - strengths_begin_)]; }
  double Edge(std::int64_t time, std::int64_t outward, float half) const;
  float Strongest(std::int64_t from, std::int64_t to) const;

  double dot_;
  std::size_t window_;
  std::int64_t now_;                         ///< of the next strength
  std::vector<std::complex<float>> inside_;  ///< the window's samples, in a ring
  std::size_t next_ = 0;
  std::complex<double> sum_;
  std::deque<float> strengths_;
  std::int64_t strengths_begin_;
  float level_ = 0;   ///< of the tone, key down
  float longer_ = 0;  ///< the same over a longer time
  bool down_ = false;
  std::optional<std::int64_t> down_at_;  ///< when the mark that is not complete began
  std::int64_t up_at_ = 0;               ///< and when it ended, if not down
  std::deque<KeyedMark> marks_;
  std::int64_t marks_seen_ = 0;
};

}  // namespace kvx::audio
