#include "audio/speed_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace kvx::audio {
namespace {

constexpr double kStep = 1.04;
constexpr std::array kSpreads{0.06, 0.12, 0.22};
constexpr double kFarGap = 5;          // dots: what is longer tells nothing of the speed
constexpr double kNearDot = 0.35;      // chance makes marks about as long as the detector's window
constexpr double kChance = 0.33;       // its density by the logarithm of a length
constexpr double kChanceDot = 1.2;     // the same near a dot
constexpr double kStray = 0.03;        // share of lengths that follow no rule
constexpr double kLeastInside = 0.25;  // of the gaps are within characters
constexpr double kDoubtful = 1;        // the highest score when they are not: dots at a third of the speed?

double Normal(double x, double spread) {
  return std::exp(-x * x / (2 * spread * spread)) / (spread * std::sqrt(2 * std::numbers::pi));
}

double MarkScore(double units, double spread) {
  const double x = std::log(units);
  const double likely = 0.55 * Normal(x, spread) + 0.45 * Normal(x - std::log(3), spread);
  const double chance = std::abs(x) < kNearDot ? kChanceDot : kChance;
  return std::log((1 - kStray) * likely / chance + kStray);
}

double GapScore(double units, double spread) {
  if (units > kFarGap) return 0;
  const double x = std::log(units);
  const double likely = 0.62 * Normal(x, spread) + 0.28 * Normal(x - std::log(3), spread);
  return std::log((1 - kStray) * likely / kChance + kStray);
}

/// The dot and the spread that the lengths themselves show, taken as what the coarse ones say they are.
void Refine(std::span<const KeyedMark> marks, SpeedFit& fit) {
  double length = 0, units = 0, squares = 0, count = 0;
  const auto take = [&](double samples, bool mark) {
    const double unit = samples / fit.dot < std::sqrt(3.0) ? 1 : 3;
    const double off = std::log(std::max(0.05, samples / fit.dot / unit));
    if (std::abs(off) > 0.6 || (!mark && samples > kFarGap * fit.dot)) return;
    length += samples;
    units += unit;
    squares += off * off;
    ++count;
  };
  for (std::size_t i = 0; i < marks.size(); ++i) {
    take(marks[i].length(), true);
    if (i > 0) take(marks[i].begin - marks[i - 1].end, false);
  }
  if (count < 2) return;
  fit.dot = length / units;
  fit.spread = std::sqrt(squares / count);
}

}  // namespace

SpeedFit FitSpeed(std::span<const KeyedMark> marks, double low, double high) {
  SpeedFit best{.dot = low, .score = -1e9};
  for (double dot = low; dot <= high; dot *= kStep) {
    for (const double spread : kSpreads) {
      double score = 0;
      int inside = 0, near = 0;
      for (std::size_t i = 0; i < marks.size(); ++i) {
        score += MarkScore(marks[i].length() / dot, spread);
        if (i == 0) continue;
        const double gap = std::max(0.05, (marks[i].begin - marks[i - 1].end) / dot);
        score += GapScore(gap, spread);
        if (gap < kFarGap) ++near;
        if (gap < 1.8) ++inside;
      }
      if (marks.size() > 1 && (near == 0 || inside < kLeastInside * near)) score = std::min(score, kDoubtful);
      if (score > best.score) best = {dot, spread, score};
    }
  }
  Refine(marks, best);
  return best;
}

}  // namespace kvx::audio
