#include "widgets/compass_layout.h"

#include <gtest/gtest.h>

#include <string>

namespace kvx::widgets {
namespace {

TEST(CompassLayout, BearingsRunClockwiseFromNorthAndRoundIt) {
  struct Row {
    double x, y;
    int bearing;
  };
  for (const Row& row : {Row{0, -1, 0}, Row{1, 0, 90}, Row{0, 1, 180}, Row{-1, 0, 270}, Row{1, -1, 45},
                         Row{-0.001, -1, 0}, Row{-0.017, -1, 359}})
    EXPECT_EQ(BearingOf({row.x, row.y}), row.bearing) << row.x << " " << row.y;
  for (const int bearing : {0, 1, 89, 181, 359}) EXPECT_EQ(BearingOf(RoseAt(bearing, 100)), bearing);
  EXPECT_EQ(TurnedBearing(0, -1), 359);
  EXPECT_EQ(TurnedBearing(355, 10), 5);
  EXPECT_EQ(TurnedBearing(359.6, 0), 0);
}

TEST(CompassLayout, RangesThatOverlapGetLanesOfTheirOwn) {
  struct Row {
    std::vector<BearingRange> ranges;
    std::string arcs;  ///< "from+span/lane" of each, "-" for none
  };
  for (const Row& row : {
           Row{{{0, 90}, {90, 180}, {180, 270}, {270, 359}}, "0+90/0 90+90/0 180+90/0 270+89/0 "},
           Row{{{0, 100}, {90, 180}, {95, 120}, {200, 210}}, "0+100/0 90+90/1 95+25/2 200+10/0 "},
           Row{{{0, 0}, {0, 0}, {50, 40}, {-20, 400}}, "0+3/0 0+3/1 - 0+360/2 "},
           Row{{{-30, -10}, {360, 400}, {45.5, 45.5}}, "- - 45+3/0 "},
       }) {
    std::string arcs;
    for (const auto& arc : PlaceArcs(row.ranges)) {
      const auto whole = [](double degrees) { return std::to_string(static_cast<int>(degrees)); };
      arcs += arc ? whole(arc->from) + "+" + whole(arc->span) + "/" + std::to_string(arc->lane) + " " : "- ";
    }
    EXPECT_EQ(arcs, row.arcs);
  }
}

}  // namespace
}  // namespace kvx::widgets
