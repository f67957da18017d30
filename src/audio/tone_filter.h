#pragma once

#include <complex>
#include <cstdint>
#include <span>
#include <vector>

namespace kvx::audio {

/// Takes a tone and what is near it out of audio: complex samples around 0 Hz, about kToneRate a second.
class ToneFilter final {
 public:
  static constexpr double kToneRate = 500;
  static constexpr double kPassband = 105;  ///< Hz on either side that come through whole

  ToneFilter(double samples_per_second, double hertz);

  /// Appends what the next samples give. An amplitude of 1 stays 1.
  void Feed(std::span<const float> samples, std::vector<std::complex<float>>& result);
  double rate() const { return rate_; }
  /// Goes on at another tone; what comes from now on is turned besides.
  void SetTone(double hertz, std::complex<double> turn);

 private:
  std::complex<float> Output() const;

  double samples_per_second_;
  int decimation_;
  double rate_;
  std::vector<float> real_taps_;
  std::vector<float> imaginary_taps_;
  std::vector<float> kept_;  ///< input samples that outputs to come still need
  std::size_t at_ = 0;       ///< of the first of them for the next output
  std::complex<double> turn_ = 1;
  std::complex<double> turn_step_;
};

}  // namespace kvx::audio
