#pragma once

#include <complex>
#include <span>
#include <vector>

#include "audio/fourier.h"

namespace kvx::audio {

/// A tone that stands out of the noise on both of its sides.
struct Peak {
  double hertz = 0;
  double power = 0;  ///< averaged over some seconds, keyed or not; comparable with another peak's
};

/// Watches the passband for tones.
class PassbandWatch final {
 public:
  static constexpr double kLowest = 300;
  static constexpr double kHighest = 2800;

  explicit PassbandWatch(double samples_per_second);

  void Feed(std::span<const float> samples);
  /// Strongest first; without what the keying of a stronger one, or its overtones, may be.
  std::vector<Peak> Peaks() const;

 private:
  void Measure();
  double Floor(std::size_t bin) const;

  double rate_;
  Fourier fourier_;
  std::vector<float> window_;
  std::vector<float> kept_;
  std::vector<std::complex<float>> values_;
  std::vector<float> powers_;  ///< averaged, by bin
  int count_ = 0;
};

}  // namespace kvx::audio
