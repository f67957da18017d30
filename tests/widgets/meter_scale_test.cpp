#include "widgets/meter_scale.h"

#include <gtest/gtest.h>

namespace kvx::widgets {
namespace {

using std::chrono_literals::operator""ms;

TEST(MeterScale, EveryRigsReadingsAreToldInSUnitsAndDecibels) {
  struct Row {
    int value;
    int full_scale;
    const char* text;
    double sweep;
  };
  constexpr Row kRows[] = {
      // Dots of a Kenwood: 15 is S9, 20 and 25 are 20 and 40 dB above.
      {0, 30, "S0", 0},
      {5, 30, "S3", 0.1867},
      {15, 30, "S9", 0.56},
      {20, 30, "S9+20", 0.7067},
      {25, 30, "S9+40", 0.8533},
      {30, 30, "S9+60", 1},
      // An Icom's 0120 is S9.
      {120, 241, "S9", 0.5577},
      {241, 241, "S9+60", 1},
      {128, 255, "S9", 0.5617},
      {130, 255, "S9", 0.5686},
      {38, 77, "S9", 0.5527},
      {60, 77, "S9+35", 0.8057},
      // Four bits count S units up to 9, then 10 dB each.
      {7, 15, "S7", 0.4356},
      {9, 15, "S9", 0.56},
      {10, 15, "S9+10", 0.6333},
      {15, 15, "S9+60", 1},
      // Outside of the scale, and without one.
      {-3, 30, "S0", 0},
      {99, 30, "S9+60", 1},
      {5, 0, "S0", 0},
      {5, -1, "S0", 0},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::to_string(row.value) + " of " + std::to_string(row.full_scale));
    EXPECT_EQ(SText(row.value, row.full_scale), row.text);
    EXPECT_NEAR(SSweep(row.value, row.full_scale), row.sweep, 0.0001);
  }
}

TEST(MeterScale, TheMarksStandWhereTheirReadingsDo) {
  // A fine scale on which every mark has a reading of its own.
  constexpr int kFull = 36000;
  for (const MeterMark& mark : SMarks()) {
    const std::string caption(mark.caption);
    const bool over = caption.front() == '+';
    const int number = std::stoi(caption);
    const int reading = over ? kFull / 2 + number * kFull / 120 : number * kFull / 18;
    EXPECT_NEAR(SSweep(reading, kFull), mark.sweep, 1e-9) << caption;
    EXPECT_EQ(SText(reading, kFull), over ? "S9" + caption : "S" + caption);
  }
}

TEST(MeterScale, SharesStayWithinTheScale) {
  EXPECT_DOUBLE_EQ(ShareOf(64, 256), 0.25);
  EXPECT_DOUBLE_EQ(ShareOf(-1, 256), 0);
  EXPECT_DOUBLE_EQ(ShareOf(300, 256), 1);
  EXPECT_DOUBLE_EQ(ShareOf(3, 0), 0);
}

TEST(NeedleMotion, RisesFasterThanItFallsAndComesToRest) {
  const auto frames = [](double from, double to) {
    NeedleMotion needle;
    needle.SetTarget(from);
    needle.Settle();
    needle.SetTarget(to);
    double last = from;
    int count = 0;
    for (; !needle.settled() && count < 1000; ++count) {
      needle.Advance(35ms);
      EXPECT_LE(std::abs(needle.position() - to), std::abs(last - to));  // never back, never beyond
      EXPECT_GE((to - needle.position()) * (to - from), 0);
      last = needle.position();
    }
    EXPECT_EQ(needle.position(), to);
    return count;
  };
  const int rise = frames(0, 1);
  const int fall = frames(1, 0);
  EXPECT_LE(rise, 15);
  EXPECT_GT(fall, 2 * rise);
  EXPECT_LE(fall, 60);
}

}  // namespace
}  // namespace kvx::widgets
