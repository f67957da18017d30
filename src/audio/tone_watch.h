#pragma once

#include <complex>
#include <span>
#include <vector>

#include "audio/fourier.h"

namespace kvx::audio {

/// Watches the neighbourhood of a tone: where in it the strongest one is, and how much noise.
class ToneWatch final {
 public:
  explicit ToneWatch(double rate);

  /// The next samples of a ToneFilter.
  void Feed(std::span<const std::complex<float>> samples);
  bool ready() const { return count_ > 0; }
  /// The strongest tone within a reach, in Hz from the middle; no more than kReach.
  double Strongest(double reach) const;
  /// The noise's power in a band of one sample rate, away from a tone.
  float Noise(double tone) const;

  static constexpr double kReach = 56;  ///< Hz

 private:
  void Measure();
  double HertzOf(std::size_t bin) const;

  double rate_;
  std::vector<std::complex<float>> kept_;
  std::vector<float> window_;
  Fourier fourier_;
  std::vector<std::complex<float>> values_;
  std::vector<float> powers_;  ///< averaged, by bin, lowest frequency first
  int count_ = 0;
};

}  // namespace kvx::audio
