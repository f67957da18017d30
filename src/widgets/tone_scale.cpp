#include "widgets/tone_scale.h"

#include <algorithm>
#include <cmath>

namespace kvx::widgets {
namespace {

constexpr double kKeySteps = 200;
constexpr double kLeastSpan = 20;  // Hz
constexpr int kMostLines = 1000;

/// The smallest of 1, 2, 5, 10, 20, ... that is no less.
double RoundStep(double least) {
  double power = 1;
  while (power * 10 <= least) power *= 10;
  for (const double digit : {1.0, 2.0, 5.0}) {
    if (digit * power >= least) return digit * power;
  }
  return 10 * power;
}

}  // namespace

double ToneScale::HertzAt(double x) const {
  return from_ + std::clamp(x, 0.0, std::max(width_, 0.0)) * hertz_per_pixel();
}

double ToneScale::KeyStep() const {
  return RoundStep((to_ - from_) / kKeySteps);
}

ToneScale ToneScale::Zoomed(double about, double factor, double highest) const {
  const double span = std::clamp(std::round((to_ - from_) * factor), kLeastSpan, std::max(highest, kLeastSpan));
  const double share = (std::clamp(about, from_, to_) - from_) / (to_ - from_);
  const double from = std::round(std::clamp(about - share * span, 0.0, std::max(highest - span, 0.0)));
  return {from, from + span, width_};
}

ToneScale ToneScale::Moved(double hertz, double highest) const {
  const double span = to_ - from_;
  const double from = std::round(std::clamp(from_ + hertz, 0.0, std::max(highest - span, 0.0)));
  return {from, from + span, width_};
}

std::vector<GridLine> ToneLines(const ToneScale& scale, double room) {
  std::vector<GridLine> lines;
  if (scale.empty()) return lines;
  const double step = RoundStep(std::max(room, 1.0) * scale.hertz_per_pixel());
  for (double hertz = std::ceil(scale.from() / step) * step; hertz <= scale.to(); hertz += step) {
    if (lines.size() == kMostLines) break;
    lines.push_back({hertz, scale.XOf(hertz), std::to_string(std::llround(hertz))});
  }
  return lines;
}

std::vector<GridLine> LevelLines(const LevelScale& scale, double room) {
  std::vector<GridLine> lines;
  if (scale.empty()) return lines;
  const double division = scale.height() / LevelScale::kDivisions;
  const int every = std::max(static_cast<int>(std::ceil(room / division)), 1);
  for (int i = 0; i < LevelScale::kDivisions; ++i) {
    const double level = scale.reference() - i * scale.per_division();
    GridLine line{level, i * division, {}};
    if (i % every == 0) line.label = std::to_string(std::llround(level)) + " dB";
    lines.push_back(line);
  }
  return lines;
}

double ThresholdY(int threshold, double height) {
  return threshold * height / kThresholdSteps;
}

int ThresholdAt(double y, double height) {
  return height > 0 ? static_cast<int>(std::floor(y * kThresholdSteps / height)) : -1;
}

}  // namespace kvx::widgets
