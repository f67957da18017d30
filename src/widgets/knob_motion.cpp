#include "widgets/knob_motion.h"

#include <algorithm>

namespace kvx::widgets {
namespace {

constexpr std::int64_t kMovementOfNotch = 120;
constexpr int kMostSteps = 1000;  // of one movement: more is no hand's
constexpr std::int64_t kFirstReadout = 5500;
constexpr int kFirstPosition = 3;  // of kKnobSteps, at kFirstReadout: a little right of the top

}  // namespace

void KnobMotion::Press(double x, double pixels_per_step, bool double_rate) {
  anchor_ = x;
  pixels_per_step_ = std::max(1.0, double_rate ? pixels_per_step / 2 : pixels_per_step);
}

int KnobMotion::Move(double x) {
  if (!active()) return 0;
  const double way = (x - anchor_) / pixels_per_step_;
  const int steps = static_cast<int>(std::clamp<double>(way, -kMostSteps, kMostSteps));
  anchor_ += steps * pixels_per_step_;
  return steps;
}

int NotchCounter::Add(int movement) {
  if ((movement < 0) != (rest_ < 0)) rest_ = 0;
  rest_ += movement;
  const std::int64_t notches = rest_ / kMovementOfNotch;
  rest_ %= kMovementOfNotch;
  return static_cast<int>(notches);
}

double AngleOf(std::int64_t readout) {
  const std::int64_t turned = (kFirstPosition - readout % kKnobSteps + kFirstReadout % kKnobSteps) % kKnobSteps;
  return 360.0 / kKnobSteps * static_cast<double>((turned + kKnobSteps) % kKnobSteps);
}

}  // namespace kvx::widgets
