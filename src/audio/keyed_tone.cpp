#include "audio/keyed_tone.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace kvx::audio {
namespace {

constexpr float kOtherLevel = -3.5F;  // logarithm of the chance that the level has changed at once
constexpr double kSilence = 1;        // energy of a mark that is not there
constexpr int kTablePerUnit = 8;
constexpr int kTableEnd = 128;

std::array<float, kTablePerUnit * kTableEnd + 2> MakeTable() {
  std::array<float, kTablePerUnit * kTableEnd + 2> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    table[i] = static_cast<float>(std::log(std::cyl_bessel_i(0.0, static_cast<double>(i) / kTablePerUnit)));
  }
  return table;
}

const std::array kLogBessel = MakeTable();

/// The natural logarithm of the modified Bessel function I0.
float LogBesselI0(float x) {
  if (x >= kTableEnd) return x - 0.5F * std::log(2 * std::numbers::pi_v<float> * x);
  const float place = x * kTablePerUnit;
  const auto index = static_cast<std::size_t>(place);
  return kLogBessel[index] + (place - static_cast<float>(index)) * (kLogBessel[index + 1] - kLogBessel[index]);
}

}  // namespace

void KeyedTone::Append(const ToneSignal& tone, const LevelTrack& levels, Time to) {
  for (Time time = end(); time < to; ++time) {
    const ToneLevel level = levels.At(time);
    Sum sum = sums_.back();
    sum.signal += std::complex<double>(tone.Integral(time, time + 1)) *
                  (std::sqrt(level.power) / static_cast<double>(level.noise));
    sum.energy += level.power / level.noise;
    sums_.push_back(sum);
  }
}

void KeyedTone::DropBefore(Time time) {
  const Time gone = std::clamp<Time>(time - begin_, 0, end() - begin_);
  sums_.erase(sums_.begin(), sums_.begin() + gone);
  begin_ += gone;
}

KeyedTone KeyedTone::Reversed() const {
  KeyedTone reversed(begin_);
  reversed.sums_.clear();
  const Sum& all = sums_.back();
  for (auto sum = sums_.rbegin(); sum != sums_.rend(); ++sum) {
    reversed.sums_.push_back({all.signal - sum->signal, all.energy - sum->energy});
  }
  return reversed;
}

KeyedTone KeyedTone::Ended(Time time, Time silence) const {
  KeyedTone ended(begin_);
  ended.sums_.assign(sums_.begin(), sums_.begin() + (std::clamp(time, begin(), end()) - begin_) + 1);
  for (Time i = 0; i < silence; ++i) {
    ended.sums_.push_back({ended.sums_.back().signal, ended.sums_.back().energy + kSilence});
  }
  return ended;
}

const KeyedTone::Sum& KeyedTone::At(Time time) const {
  return sums_[static_cast<std::size_t>(std::clamp(time, begin(), end()) - begin_)];
}

KeyedTone::Fit KeyedTone::Between(Time from, Time to) const {
  const Sum& first = At(from);
  const Sum& last = At(to);
  const auto real = static_cast<float>(last.signal.real() - first.signal.real());
  const auto imaginary = static_cast<float>(last.signal.imag() - first.signal.imag());
  return {real * real + imaginary * imaginary, static_cast<float>(last.energy - first.energy)};
}

float KeyedTone::KeyDown(Time from, Time to) const {
  const Fit fit = Between(from, to);
  return LogBesselI0(2 * std::sqrt(fit.square)) - fit.energy;
}

float KeyedTone::KeyDownOrChanged(Time from, Time to) const {
  const Fit fit = Between(from, to);
  const float known = LogBesselI0(2 * std::sqrt(fit.square)) - fit.energy;
  if (fit.square < fit.energy) return known;  // no more than noise gives
  return std::max(known, kOtherLevel + fit.square / (1 + fit.energy) - std::log1p(fit.energy));
}

}  // namespace kvx::audio
