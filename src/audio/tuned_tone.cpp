#include "audio/tuned_tone.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "audio/low_pass.h"

namespace kvx::audio {
namespace {

constexpr double kWidest = 92;  // Hz
constexpr double kNarrowest = 32;
constexpr double kCutoffDots = 2.2;      // the cutoff is that divided by the length of a dot
constexpr std::size_t kFewTaps = 21;     // of the widest
constexpr std::size_t kManyTaps = 41;    // of the narrowest
constexpr ToneSignal::Time kPiece = 32;  // samples along which the course counts as level

}  // namespace

TunedTone::TunedTone(double rate) : rate_(rate) {
  SetDot(0);
}

void TunedTone::SetDot(double dot) {
  const double cutoff = dot > 0 ? std::clamp(kCutoffDots * rate_ / dot, kNarrowest, kWidest) : kWidest;
  taps_.clear();
  const double narrow = (kWidest - cutoff) / (kWidest - kNarrowest);
  const auto more = 2 * static_cast<std::size_t>(narrow * static_cast<double>(kManyTaps - kFewTaps) / 2);
  for (const double tap : LowPass(kFewTaps + more, cutoff / rate_)) taps_.push_back(static_cast<float>(tap));
}

void TunedTone::Tune(const ToneCourse& course) {
  const Time end = this->end();
  turn_ = 1;
  mixed_.clear();
  tone_.Restart(begin_);
  MixUpTo(course, end);
}

void TunedTone::MixUpTo(const ToneCourse& course, Time end) {
  // The filter's delay is made up for, but at the end.
  for (Time piece = tone_.end(); piece < end; piece += kPiece) {
    const Time last = std::min(end, piece + kPiece);
    const double hertz = course.HertzAt((piece + last) / 2);
    const std::complex<double> step = std::polar(1.0, -2 * std::numbers::pi * hertz / rate_);
    for (Time time = piece; time < last; ++time) {
      mixed_.push_back(samples_[static_cast<std::size_t>(time - begin_)] * std::complex<float>(turn_));
      turn_ *= step;
      float real = 0, imaginary = 0;
      const std::size_t count = std::min(mixed_.size(), taps_.size());
      for (std::size_t i = 0; i < count; ++i) {
        real += taps_[i] * mixed_[mixed_.size() - 1 - i].real();
        imaginary += taps_[i] * mixed_[mixed_.size() - 1 - i].imag();
      }
      tone_.Append({real, imaginary});
    }
  }
  turn_ /= std::abs(turn_);
  if (mixed_.size() > kManyTaps) mixed_.erase(mixed_.begin(), mixed_.end() - static_cast<std::ptrdiff_t>(kManyTaps));
}

void TunedTone::DropBefore(Time time) {
  const Time gone = std::clamp<Time>(time - begin_, 0, static_cast<Time>(samples_.size()));
  samples_.erase(samples_.begin(), samples_.begin() + gone);
  begin_ += gone;
  tone_.DropBefore(begin_);
}

std::complex<double> TunedTone::TurnOf(double hertz, Time time) const {
  return std::polar(1.0, -2 * std::numbers::pi * std::fmod(hertz / rate_ * static_cast<double>(time), 1.0));
}

void TunedTone::MoveMiddle(double hertz) {
  for (Time time = begin_; time < end(); ++time) {
    samples_[static_cast<std::size_t>(time - begin_)] *= std::complex<float>(TurnOf(hertz, time));
  }
  turn_ *= std::conj(TurnOf(hertz, tone_.end()));
}

}  // namespace kvx::audio
