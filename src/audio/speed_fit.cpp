#include "audio/speed_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace kvx::audio {
namespace {

constexpr double kStep = 1.04;
constexpr std::array kSpreads{0.06, 0.12, 0.22};
constexpr std::array kWeights{0.0, 0.25, -0.25};  // dots by which marks are longer and gaps shorter
constexpr double kOddWeight = 4;                  // what is to be said against another weight than none
constexpr double kShortest = 0.05;                // dots
constexpr double kInside = 1.75;                  // dots: a shorter gap is within a character, a longer mark a dash
constexpr double kFarOff = 0.6;                   // logarithm: such a length says nothing of the dot
constexpr double kFarGap = 5;                     // dots: what is longer tells nothing of the speed
constexpr double kNearDot = 0.35;                 // chance makes marks about as long as the detector's window
constexpr double kChance = 0.33;                  // its density by the logarithm of a length
constexpr double kChanceDot = 1.2;                // the same near a dot
constexpr double kStray = 0.03;                   // share of lengths that follow no rule
constexpr double kLeastInside = 0.25;             // of the gaps are within characters
constexpr double kDoubtful = 1;                   // the highest score when they are not: dots at a third of the speed?

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

/// Of some dot, spread and weight.
double Score(std::span<const KeyedMark> marks, double dot, double spread, double weight) {
  double score = weight == 0 ? 0 : -kOddWeight;
  int inside = 0, near = 0;
  for (std::size_t i = 0; i < marks.size(); ++i) {
    const double length = std::max(kShortest, marks[i].length() / dot - weight);
    score += MarkScore(length, spread);
    if (i == 0) continue;
    const double gap = std::max(kShortest, (marks[i].begin - marks[i - 1].end) / dot + weight);
    score += GapScore(gap, spread);
    if (gap < kFarGap) ++near;
    if (gap < kInside) ++inside;
  }
  const bool doubtful = marks.size() > 1 && (near == 0 || inside < kLeastInside * near);
  return doubtful ? std::min(score, kDoubtful) : score;
}

/// The dot and the spread that the lengths themselves show, taken as what the coarse ones say they are.
void Refine(std::span<const KeyedMark> marks, double weight, SpeedFit& fit) {
  const double first_dot = fit.dot;
  double length = 0, units = 0, squares = 0, count = 0;
  const auto take = [&](double dots) {
    const double unit = dots < kInside ? 1 : 3;
    const double off = std::log(std::max(kShortest, dots / unit));
    if (std::abs(off) > kFarOff) return;
    length += dots;
    units += unit;
    squares += off * off;
    ++count;
  };
  for (std::size_t i = 0; i < marks.size(); ++i) {
    const double mark = marks[i].length() / first_dot - weight;
    fit.dashes = fit.dashes || mark > kInside;
    take(mark);
    if (i == 0) continue;
    if (const double gap = (marks[i].begin - marks[i - 1].end) / first_dot + weight; gap < kFarGap) take(gap);
  }
  if (count < 2) return;
  fit.dot *= length / units;
  fit.spread = std::sqrt(squares / count);
}

}  // namespace

SpeedFit FitSpeed(std::span<const KeyedMark> marks, double low, double high) {
  SpeedFit best{.dot = low, .score = -1e9};
  double best_weight = 0;
  for (double dot = low; dot <= high; dot *= kStep) {
    for (const double weight : kWeights) {
      for (const double spread : kSpreads) {
        const double score = Score(marks, dot, spread, weight);
        if (score <= best.score) continue;
        best = {.dot = dot, .spread = spread, .score = score};
        best_weight = weight;
      }
    }
  }
  Refine(marks, best_weight, best);
  return best;
}

}  // namespace kvx::audio
