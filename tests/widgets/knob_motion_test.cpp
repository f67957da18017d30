#include "widgets/knob_motion.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace kvx::widgets {
namespace {

std::vector<int> Moves(KnobMotion& motion, const std::vector<double>& path) {
  std::vector<int> steps;
  for (const double x : path) steps.push_back(motion.Move(x));
  return steps;
}

TEST(KnobMotion, CarriesFractionsBothWaysAndDoublesTheRate) {
  KnobMotion motion;
  EXPECT_EQ(Moves(motion, {50, 90}), (std::vector{0, 0}));  // nothing pressed
  motion.Press(100, 4, false);
  EXPECT_EQ(Moves(motion, {103, 104, 111, 112, 109, 108, 100}), (std::vector{0, 1, 1, 1, 0, -1, -2}));
  EXPECT_EQ(Moves(motion, {-300, 100.5}), (std::vector{-100, 100}));  // far beyond the knob and back
  motion.Press(100, 4, true);
  EXPECT_EQ(Moves(motion, {101, 102, 112, 96}), (std::vector{0, 1, 5, -8}));
  motion.Release();
  EXPECT_EQ(Moves(motion, {500}), (std::vector{0}));
  motion.Press(500, 4, false);  // starts anew where it is pressed
  EXPECT_EQ(Moves(motion, {503, 504}), (std::vector{0, 1}));
}

TEST(KnobMotion, StaysBoundedWithSenselessNumbers) {
  KnobMotion motion;
  motion.Press(0, 0, false);
  EXPECT_EQ(motion.Move(10), 10);
  EXPECT_EQ(motion.Move(1e300), 1000);
}

TEST(NotchCounter, AddsSmallMovementsToNotchesAndForgetsTheRestWhenTurnedBack) {
  NotchCounter notches;
  std::vector<int> told;
  for (const int movement : {120, -120, 240, 60, 60, 119, -1, -118, -1, 100, 40, 0, 100})
    told.push_back(notches.Add(movement));
  EXPECT_EQ(told, (std::vector{1, -1, 2, 0, 1, 0, 0, 0, -1, 0, 1, 0, 1}));
  notches.Add(std::numeric_limits<int>::max());
  EXPECT_GT(notches.Add(std::numeric_limits<int>::max()), 17'000'000);
}

TEST(AngleOf, TurnsClockwiseAsTheReadoutFallsAndGoesRound) {
  EXPECT_EQ(AngleOf(5500), 30);
  EXPECT_EQ(AngleOf(5499), 40);
  EXPECT_EQ(AngleOf(5503), 0);
  EXPECT_EQ(AngleOf(5504), 350);
  EXPECT_EQ(AngleOf(5500 - kKnobSteps), 30);
  for (const std::int64_t readout : {-1'000'000'000'000'000LL, -1LL, 0LL, 1'000'000'000'000'000LL}) {
    EXPECT_GE(AngleOf(readout), 0) << readout;
    EXPECT_LT(AngleOf(readout), 360) << readout;
    EXPECT_EQ(AngleOf(readout), AngleOf(readout + kKnobSteps)) << readout;
  }
}

}  // namespace
}  // namespace kvx::widgets
