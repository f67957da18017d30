#pragma once

#include <optional>
#include <vector>

namespace kvx::widgets {

// A compass rose as numbers: bearings are degrees clockwise from north, points stand around the centre with y
// downwards.

struct RosePoint {
  double x = 0;
  double y = 0;
};

RosePoint RoseAt(double bearing, double radius);
/// The whole bearing, 0 to 359, in which a point stands.
int BearingOf(RosePoint point);
/// A bearing turned by so many degrees, past north as well; whole.
int TurnedBearing(double bearing, int by);

/// The bearings from one to the other, both included. `to` below `from` holds none.
struct BearingRange {
  double from = 0;
  double to = 0;

  bool Holds(double bearing) const { return from <= bearing && bearing <= to; }
  bool operator==(const BearingRange&) const = default;
};

/// A range on the rose. Lane 0 is the outermost.
struct RoseArc {
  double from = 0;
  double span = 0;
  int lane = 0;
};

/// The arc of each range: in the outermost lane that no range before it needs there, cut to one turn, and wide enough
/// to be seen. Nothing for a range that holds no bearing of a turn.
std::vector<std::optional<RoseArc>> PlaceArcs(const std::vector<BearingRange>& ranges);

}  // namespace kvx::widgets
