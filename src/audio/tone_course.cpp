#include "audio/tone_course.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kvx::audio {
namespace {

using Time = ToneSignal::Time;

constexpr double kPiece = 0.25;          // seconds
constexpr double kLeastDeviation = 0.4;  // radians, of one step: keying is never perfect
constexpr double kMostVariance = 0.7;    // of a phase that means anything
constexpr double kLoudest = 1.5;         // amplitudes of the tone: what is louder is a click
constexpr double kWander = 0.05;         // Hz in a second
constexpr double kBend = 0.12;           // Hz a second, in a second
constexpr double kSteepest = 2;          // Hz a second
constexpr double kSurprise = 3;          // deviations

/// How the phase turns from each stretch of `lag` samples to the next.
struct PhaseStep {
  std::complex<double> sum;
  double variance = 10;  ///< of its angle
};

PhaseStep Measure(const ToneSignal& tone, Time from, Time to, float noise, float power, Time lag) {
  PhaseStep step;
  const auto length = static_cast<double>(lag);
  const double loudest = power > 0 ? kLoudest * std::sqrt(power) * length : 1e9;
  const Time hop = std::max<Time>(1, lag / 2);
  int count = 0;
  for (Time time = from; time + 2 * lag <= to; time += hop, ++count) {
    std::complex<double> first(tone.Integral(time, time + lag));
    std::complex<double> second(tone.Integral(time + lag, time + 2 * lag));
    first *= std::min(1.0, loudest / (std::abs(first) + 1e-12));
    second *= std::min(1.0, loudest / (std::abs(second) + 1e-12));
    step.sum += second * std::conj(first);
  }
  const double noise_power = noise * length;
  const double size = std::abs(step.sum);
  if (size <= 0) return step;
  // Stretches overlap: neighbours tell half of the same.
  const double disturbance = 2 * (count * noise_power * noise_power / 2 + size * noise_power);
  step.variance = disturbance / (size * size) + kLeastDeviation * kLeastDeviation / count;
  return step;
}

}  // namespace

std::optional<ToneFit> FitTone(const ToneSignal& tone, Time from, Time to, double rate, float noise, Time lag) {
  struct Point {
    double time;
    std::complex<double> sum;
    double weight;
  };
  std::vector<Point> points;
  std::complex<double> all;
  const Time piece = std::max<Time>(std::lround(kPiece * rate), 3 * lag);
  for (Time time = from; time + piece <= to; time += piece) {
    const PhaseStep step = Measure(tone, time, time + piece, noise, 0, lag);
    if (step.variance > kMostVariance) continue;
    points.push_back({static_cast<double>(time + piece / 2), step.sum, 1 / step.variance});
    all += step.sum / std::abs(step.sum) / step.variance;
  }
  if (points.size() < 3) return std::nullopt;
  // Least squares for angle and its slope, about the middle.
  double weights = 0, times = 0;
  for (const Point& point : points) weights += point.weight, times += point.weight * point.time;
  const double middle = times / weights;
  double squares = 0, turned = 0, angles = 0;
  for (const Point& point : points) {
    const double angle = std::arg(point.sum * std::conj(all));
    squares += point.weight * (point.time - middle) * (point.time - middle);
    turned += point.weight * (point.time - middle) * angle;
    angles += point.weight * angle;
  }
  const double hertz = rate / (2 * std::numbers::pi * static_cast<double>(lag));  // for a radian
  ToneFit fit;
  fit.off = {hertz * (std::arg(all) + angles / weights), hertz * turned / squares, std::lround(middle)};
  fit.hertz_variance = hertz * hertz / weights;
  fit.slope_variance = hertz * hertz / squares;
  return fit;
}

void ToneTracker::Begin(const ToneCourse& course, double hertz_deviation, double slope_deviation) {
  course_ = course;
  hertz_variance_ = hertz_deviation * hertz_deviation;
  slope_variance_ = slope_deviation * slope_deviation;
  covariance_ = 0;
}

void ToneTracker::Track(const ToneSignal& tone, Time from, Time to, float noise, float power, Time lag) {
  const PhaseStep step = Measure(tone, from, to, noise, power, lag);
  const Time middle = (from + to) / 2;
  const auto passed = static_cast<double>(middle - course_.at);
  if (step.variance > kMostVariance || passed <= 0) return;
  course_ = {course_.HertzAt(middle), course_.slope, middle};
  hertz_variance_ += passed * (2 * covariance_ + passed * slope_variance_) + kWander * kWander * passed / rate_;
  covariance_ += passed * slope_variance_;
  slope_variance_ += kBend * kBend * passed / (rate_ * rate_ * rate_);
  const double hertz = rate_ / (2 * std::numbers::pi * static_cast<double>(lag));
  const double expected = hertz_variance_ + step.variance * hertz * hertz;
  const double most = kSurprise * std::sqrt(expected);
  const double off = std::clamp(hertz * std::arg(step.sum), -most, most);
  const double gain = hertz_variance_ / expected;
  const double slope_gain = covariance_ / expected;
  course_.hertz += gain * off;
  course_.slope = std::clamp(course_.slope + slope_gain * off, -kSteepest / rate_, kSteepest / rate_);
  slope_variance_ -= slope_gain * covariance_;
  covariance_ *= 1 - gain;
  hertz_variance_ *= 1 - gain;
}

}  // namespace kvx::audio
