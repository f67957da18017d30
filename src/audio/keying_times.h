#pragma once

#include <vector>

namespace kvx::audio {

/// What keying consists of.
enum class Piece : unsigned char { kDot, kDash, kElementGap, kLetterGap, kWordGap, kPause };

/// How a hand, or a keyer, keeps time; lengths in samples. It learns from pieces that have been read.
class KeyingTimes final {
 public:
  /// `spacing`: how much more than usual is put between characters and words.
  explicit KeyingTimes(double dot, double spacing = 1);

  /// A piece that has been read, as long as it is.
  void Learn(Piece piece, double length);
  double dot() const { return dot_; }
  double spacing() const { return spacing_; }
  /// The relative standard deviation of lengths.
  double spread() const { return spread_; }

  /// The logarithm of the chance that a piece is `steps` steps long, at that index; 0 is not used. Pieces are no
  /// longer than the vector.
  std::vector<float> LogChances(Piece piece, double samples_per_step) const;

 private:
  void Fit();
  double Units(Piece piece) const;
  double Expected(Piece piece) const;

  double first_dot_;
  double dot_;
  double longer_ = 0;  ///< marks are longer by this, and gaps shorter
  double spread_;
  double spacing_;
  double dash_ = 3;  ///< dots
  // Sums of the least squares for dot_ and longer_, and of the squared deviations.
  double units_squared_, signs_squared_, units_signs_ = 0, lengths_units_, lengths_signs_ = 0;
  double deviations_, count_;
};

}  // namespace kvx::audio
