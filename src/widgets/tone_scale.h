#pragma once

#include <string>
#include <vector>

namespace kvx::widgets {

/// The audio frequencies along the lower edge of a display, in hertz, on so many pixels. Empty when its limits or the
/// room hold nothing.
class ToneScale {
 public:
  ToneScale() = default;
  ToneScale(double from, double to, double width) : from_(from), to_(to), width_(width) {}

  bool empty() const { return !(to_ > from_) || width_ < 1; }
  double from() const { return from_; }
  double to() const { return to_; }
  double width() const { return width_; }
  double hertz_per_pixel() const { return empty() ? 0 : (to_ - from_) / width_; }

  /// Outside 0 to width() for a tone beyond the limits.
  double XOf(double hertz) const { return empty() ? 0 : (hertz - from_) / hertz_per_pixel(); }
  /// Never beyond the limits.
  double HertzAt(double x) const;
  /// What a key press moves by: 1, 2 or 5 of some power of ten, about 1/200 of what is shown, at least 1 Hz.
  double KeyStep() const;
  /// `factor` times as much from 0 to `highest`, with `about` staying where it is; whole hertz, at least 20.
  ToneScale Zoomed(double about, double factor, double highest) const;
  /// As much as now, moved by so much and held between 0 and `highest`.
  ToneScale Moved(double hertz, double highest) const;

 private:
  double from_ = 0;
  double to_ = 0;
  double width_ = 0;
};

/// The levels along the height of a display, the reference at its upper edge.
class LevelScale {
 public:
  static constexpr int kDivisions = 10;

  LevelScale() = default;
  LevelScale(double reference, double per_division, double height)
      : reference_(reference), per_division_(per_division), height_(height) {}

  bool empty() const { return !(per_division_ > 0) || height_ < 1; }
  double reference() const { return reference_; }
  double per_division() const { return per_division_; }
  double height() const { return height_; }
  double YOf(double decibels) const { return (reference_ - decibels) / (per_division_ * kDivisions) * height_; }

 private:
  double reference_ = 0;
  double per_division_ = 10;
  double height_ = 0;
};

/// A line of the grid. Those of a crowded scale have no label.
struct GridLine {
  double value = 0;
  double at = 0;  ///< pixels from the left, or from the top
  std::string label;
};

/// Lines at round frequencies, at least `room` pixels apart, each with its label.
std::vector<GridLine> ToneLines(const ToneScale& scale, double room);
/// A line for each division, with labels at least `room` pixels apart.
std::vector<GridLine> LevelLines(const LevelScale& scale, double room);

inline constexpr int kThresholdSteps = 1000;
/// The threshold's scale goes from the upper edge, 0, to the lower one, 1000.
double ThresholdY(int threshold, double height);
/// Outside 0 to 1000 for a place outside.
int ThresholdAt(double y, double height);

}  // namespace kvx::widgets
