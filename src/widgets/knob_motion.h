#pragma once

#include <cstdint>

namespace kvx::widgets {

/// Dragging on the tuning knob: movement to the right counts up, to the left down; what does not make a whole step is
/// carried to the next movement. The drag may go beyond the knob.
class KnobMotion final {
 public:
  bool active() const { return pixels_per_step_ > 0; }
  /// Starts at x, or goes on from there at another rate. At the double rate half the way makes a step.
  void Press(double x, double pixels_per_step, bool double_rate);
  /// The steps since the last call; 0 while nothing is pressed.
  int Move(double x);
  void Release() { pixels_per_step_ = 0; }

 private:
  double anchor_ = 0;  // where the steps already told end
  double pixels_per_step_ = 0;
};

/// Counts whole notches of a wheel, 120 each, out of the small movements that touch pads and fine wheels report. What
/// is left of a notch is forgotten when the wheel turns back.
class NotchCounter final {
 public:
  int Add(int movement);
  void Reset() { rest_ = 0; }

 private:
  std::int64_t rest_ = 0;
};

inline constexpr int kKnobSteps = 36;  ///< in one revolution of the drawn knob

/// Where the drawn knob points, in degrees clockwise from the top, 0 to 359. The read-out counts against the frequency,
/// so that tuning up turns the knob clockwise.
double AngleOf(std::int64_t readout);

}  // namespace kvx::widgets
