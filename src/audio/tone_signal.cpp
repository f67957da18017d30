#include "audio/tone_signal.h"

#include <algorithm>
#include <numbers>

namespace kvx::audio {
void ToneSignal::Restart(Time begin) {
  begin_ = begin;
  sums_.assign(1, 0.0);
}

void ToneSignal::Append(std::complex<float> sample) {
  sums_.push_back(sums_.back() + std::complex<double>(sample));
}

void ToneSignal::DropBefore(Time time) {
  const Time gone = std::clamp<Time>(time - begin_, 0, end() - begin_);
  sums_.erase(sums_.begin(), sums_.begin() + gone);
  begin_ += gone;
}

ToneSignal ToneSignal::Turned(Time from, Time to, double turns, double bend) const {
  ToneSignal turned;
  turned.Restart(from);
  std::complex<double> step = std::polar(1.0, -2 * std::numbers::pi * turns);
  const std::complex<double> bent = std::polar(1.0, -2 * std::numbers::pi * bend);
  std::complex<double> turn = 1;
  for (Time time = from; time < to; ++time) {
    turned.Append(Integral(time, time + 1) * std::complex<float>(turn));
    turn *= step;
    step *= bent;
  }
  return turned;
}

const std::complex<double>& ToneSignal::SumAt(Time time) const {
  return sums_[static_cast<std::size_t>(std::clamp(time, begin(), end()) - begin_)];
}

}  // namespace kvx::audio
