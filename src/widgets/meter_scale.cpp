#include "widgets/meter_scale.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kvx::widgets {
namespace {

constexpr int kNine = 9;
constexpr int kTopDecibels = 60;
constexpr int kDecibelStep = 5;

constexpr double UnitSweep(double units) {
  return kNineSweep * units / kNine;
}
constexpr double DecibelSweep(double decibels) {
  return kNineSweep + (1 - kNineSweep) * decibels / kTopDecibels;
}

constexpr std::array kMarks{MeterMark{"1", UnitSweep(1)},       MeterMark{"3", UnitSweep(3)},
                            MeterMark{"5", UnitSweep(5)},       MeterMark{"7", UnitSweep(7)},
                            MeterMark{"9", UnitSweep(9)},       MeterMark{"+20", DecibelSweep(20)},
                            MeterMark{"+40", DecibelSweep(40)}, MeterMark{"+60", DecibelSweep(60)}};

/// Rigs put S9 at about half of their scale; one that answers with four bits counts the S units themselves.
constexpr int kFourBits = 15;
constexpr double NineOf(int full_scale) {
  return full_scale == kFourBits ? kNine : full_scale / 2.0;
}

/// A reading as S units and the decibels above S9.
struct Strength {
  double units = 0;
  double decibels = 0;
};

Strength StrengthOf(int value, int full_scale) {
  if (full_scale <= 0) return {};
  const double nine = NineOf(full_scale);
  const double reading = std::clamp<double>(value, 0, full_scale);
  if (reading <= nine) return {.units = kNine * reading / nine};
  return {.units = kNine, .decibels = kTopDecibels * (reading - nine) / (full_scale - nine)};
}

// The time in which the needle covers all but a third of its way.
constexpr double kAttackMilliseconds = 45;
constexpr double kDecayMilliseconds = 220;
constexpr double kNear = 0.002;  // less than a pixel on any dial

}  // namespace

std::span<const MeterMark> SMarks() {
  return kMarks;
}

double SSweep(int value, int full_scale) {
  const Strength strength = StrengthOf(value, full_scale);
  return strength.decibels > 0 ? DecibelSweep(strength.decibels) : UnitSweep(strength.units);
}

std::string SText(int value, int full_scale) {
  const Strength strength = StrengthOf(value, full_scale);
  const int decibels = static_cast<int>(std::lround(strength.decibels / kDecibelStep)) * kDecibelStep;
  if (decibels > 0) return "S9+" + std::to_string(decibels);
  return "S" + std::to_string(std::lround(strength.units));
}

double ShareOf(int value, int full_scale) {
  if (full_scale <= 0) return 0;
  return std::clamp(static_cast<double>(value) / full_scale, 0.0, 1.0);
}

void NeedleMotion::Advance(std::chrono::milliseconds time) {
  const double constant = target_ > position_ ? kAttackMilliseconds : kDecayMilliseconds;
  position_ = target_ + (position_ - target_) * std::exp(-static_cast<double>(time.count()) / constant);
  if (std::abs(position_ - target_) < kNear) position_ = target_;
}

}  // namespace kvx::widgets
