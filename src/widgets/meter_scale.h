#pragma once

#include <chrono>
#include <span>
#include <string>
#include <string_view>

namespace kvx::widgets {

// The dial of an S-meter as numbers: places on its sweep are shares from 0 (left) to 1 (right). S units are linear up
// to S9, decibels above it.

/// A mark of the dial: "5", "+20".
struct MeterMark {
  std::string_view caption;
  double sweep;
};
std::span<const MeterMark> SMarks();
/// Where S9 stands and the part above it begins.
inline constexpr double kNineSweep = 0.56;

/// Where a reading stands whose full scale is S9+60. Readings beyond the scale stop at its ends.
double SSweep(int value, int full_scale);
/// The reading in words: "S7", "S9", "S9+25" (to 5 dB).
std::string SText(int value, int full_scale);
/// A reading as a share of its full scale, 0 to 1; 0 without a scale.
double ShareOf(int value, int full_scale);

/// The needle on its way to a reading: up quickly, down slowly, as the eye likes it.
class NeedleMotion {
 public:
  void SetTarget(double sweep) { target_ = sweep; }
  /// Goes there at once.
  void Settle() { position_ = target_; }
  /// Moves on by so much time.
  void Advance(std::chrono::milliseconds time);

  double target() const { return target_; }
  double position() const { return position_; }
  bool settled() const { return position_ == target_; }

 private:
  double target_ = 0;
  double position_ = 0;
};

}  // namespace kvx::widgets
