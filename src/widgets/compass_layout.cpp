#include "widgets/compass_layout.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kvx::widgets {
namespace {

constexpr double kTurn = 360;
constexpr double kLeastSpan = 3;  // degrees
constexpr double kRadian = std::numbers::pi / 180;

bool Overlap(const RoseArc& a, const RoseArc& b) {
  return a.from < b.from + b.span && b.from < a.from + a.span;
}

std::optional<RoseArc> ArcOf(const BearingRange& range) {
  const double from = std::max(range.from, 0.0);
  const double to = std::min(range.to, kTurn);
  if (!(from <= to) || from >= kTurn) return std::nullopt;
  return RoseArc{.from = from, .span = std::max(to - from, kLeastSpan)};
}

}  // namespace

RosePoint RoseAt(double bearing, double radius) {
  return {radius * std::sin(bearing * kRadian), -radius * std::cos(bearing * kRadian)};
}

int BearingOf(RosePoint point) {
  return TurnedBearing(std::atan2(point.x, -point.y) / kRadian, 0);
}

int TurnedBearing(double bearing, int by) {
  const int turned = static_cast<int>(std::lround(std::fmod(bearing, kTurn)) + by) % 360;
  return (turned + 360) % 360;
}

std::vector<std::optional<RoseArc>> PlaceArcs(const std::vector<BearingRange>& ranges) {
  std::vector<std::optional<RoseArc>> arcs;
  for (const BearingRange& range : ranges) {
    std::optional<RoseArc> arc = ArcOf(range);
    const auto taken = [&](const std::optional<RoseArc>& other) {
      return other && other->lane == arc->lane && Overlap(*other, *arc);
    };
    while (arc && std::any_of(arcs.begin(), arcs.end(), taken)) ++arc->lane;
    arcs.push_back(arc);
  }
  return arcs;
}

}  // namespace kvx::widgets
