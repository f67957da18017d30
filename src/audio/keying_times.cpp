#include "audio/keying_times.h"

#include <algorithm>
#include <cmath>

namespace kvx::audio {
namespace {

constexpr double kFirstSpread = 0.12;
constexpr double kLeastSpread = 0.03;
constexpr double kMostSpread = 0.28;
constexpr double kEdgeSpread = 0.08;   // dots: where an edge is found
constexpr double kMostBias = 0.25;     // dots
constexpr double kMostDrift = 0.3;     // from the speed that was told at first
constexpr double kForgetting = 0.985;  // a piece
constexpr double kFirstUnits = 6;      // weights of what is supposed at first
constexpr double kFirstSigns = 40;
constexpr double kFirstCount = 16;
constexpr double kLearning = 0.03;     // of a hand's own proportions, a piece
constexpr double kShortestDash = 2.5;  // dots
constexpr double kLongestDash = 4;
constexpr double kLeastSpacing = 0.8;
constexpr double kMostSpacing = 3.2;
constexpr double kStray = 0.06;  // pieces whose length follows no rule

double Sign(Piece piece) {
  return piece == Piece::kDot || piece == Piece::kDash ? 1 : -1;
}

double Bell(double off, double spread) {
  return std::exp(-off * off / (2 * spread * spread)) / (spread * 2.5066);
}

}  // namespace

KeyingTimes::KeyingTimes(double dot, double spacing)
    : first_dot_(dot),
      dot_(dot),
      spread_(kFirstSpread),
      spacing_(spacing),
      units_squared_(kFirstUnits),
      signs_squared_(kFirstSigns),
      lengths_units_(kFirstUnits * dot),
      deviations_(kFirstCount * kFirstSpread * kFirstSpread),
      count_(kFirstCount) {}

double KeyingTimes::Units(Piece piece) const {
  switch (piece) {
    case Piece::kDot:
    case Piece::kElementGap:
      return 1;
    case Piece::kDash:
      return dash_;
    case Piece::kLetterGap:
      return 1 + 2 * spacing_;
    default:
      return 1 + 6 * spacing_;
  }
}

double KeyingTimes::Expected(Piece piece) const {
  return std::max(Units(piece) * dot_ + Sign(piece) * longer_, 0.3 * dot_);
}

void KeyingTimes::Learn(Piece piece, double length) {
  if (piece == Piece::kPause || piece == Piece::kWordGap) return;
  const double units = Units(piece);
  const double deviation = (length - Expected(piece)) / (units * dot_);
  for (double* sum :
       {&units_squared_, &signs_squared_, &units_signs_, &lengths_units_, &lengths_signs_, &deviations_, &count_}) {
    *sum *= kForgetting;
  }
  // Each piece weighs as its spread lets it.
  const double weight = 1 / (units * units + 0.5);
  units_squared_ += weight * units * units;
  units_signs_ += weight * units * Sign(piece);
  signs_squared_ += weight;
  lengths_units_ += weight * units * length;
  lengths_signs_ += weight * Sign(piece) * length;
  const double edges = 2 * kEdgeSpread * kEdgeSpread / (units * units);
  deviations_ += std::clamp(deviation * deviation - edges / 4, 0.0, 0.2);
  ++count_;
  const double own = (length - Sign(piece) * longer_) / dot_;
  if (piece == Piece::kDash) dash_ = std::clamp(dash_ + kLearning * (own - dash_), kShortestDash, kLongestDash);
  if (piece == Piece::kLetterGap) {
    spacing_ = std::clamp(spacing_ + kLearning * ((own - 1) / 2 - spacing_), kLeastSpacing, kMostSpacing);
  }
  Fit();
}

void KeyingTimes::Fit() {
  const double determinant = units_squared_ * signs_squared_ - units_signs_ * units_signs_;
  dot_ = (lengths_units_ * signs_squared_ - lengths_signs_ * units_signs_) / determinant;
  longer_ = (lengths_signs_ * units_squared_ - lengths_units_ * units_signs_) / determinant;
  dot_ = std::clamp(dot_, (1 - kMostDrift) * first_dot_, (1 + kMostDrift) * first_dot_);
  longer_ = std::clamp(longer_, -kMostBias * dot_, kMostBias * dot_);
  spread_ = std::clamp(std::sqrt(deviations_ / count_), kLeastSpread, kMostSpread);
}

std::vector<float> KeyingTimes::LogChances(Piece piece, double samples_per_step) const {
  const double units = Units(piece);
  const double expected = Expected(piece) / dot_;
  const double spread = std::hypot(spread_ * units, kEdgeSpread);
  const double reach = std::clamp(4 * spread, 0.5 * std::sqrt(units), 4.2);
  const double step = samples_per_step / dot_;
  const auto longest = static_cast<std::size_t>(std::ceil((expected + reach) / step));
  std::vector<float> chances(longest + 1);
  for (std::size_t i = 1; i <= longest; ++i) {
    const double off = static_cast<double>(i) * step - expected;
    const double chance = (1 - kStray) * Bell(off, spread) + kStray * Bell(off, 2.5 * spread);
    chances[i] = std::abs(off) > reach ? -1e9F : static_cast<float>(std::log(chance * step + 1e-12));
  }
  return chances;
}

}  // namespace kvx::audio
