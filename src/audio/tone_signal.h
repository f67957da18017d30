#pragma once

#include <complex>
#include <cstdint>
#include <vector>

namespace kvx::audio {

/// One tone mixed down to 0 Hz, and its integral over any stretch of time. Times count its samples.
class ToneSignal final {
 public:
  using Time = std::int64_t;

  /// Begins at a time.
  void Restart(Time begin);
  void Append(std::complex<float> sample);
  void DropBefore(Time time);
  /// A part of it, with so many turns a sample taken out, and more by `bend` from sample to sample.
  ToneSignal Turned(Time from, Time to, double turns, double bend = 0) const;

  Time begin() const { return begin_; }
  Time end() const { return begin_ + static_cast<Time>(sums_.size()) - 1; }
  /// Times outside begin()..end() count as the nearer of them.
  std::complex<float> Integral(Time from, Time to) const { return std::complex<float>(SumAt(to) - SumAt(from)); }

 private:
  const std::complex<double>& SumAt(Time time) const;

  Time begin_ = 0;
  std::vector<std::complex<double>> sums_{0.0};  ///< of all samples before a time
};

/// How strong a tone is against the noise around it.
struct ToneLevel {
  float power = 0;  ///< the squared amplitude, key down
  float noise = 1;  ///< the noise's power in a band of one sample rate
};

}  // namespace kvx::audio
