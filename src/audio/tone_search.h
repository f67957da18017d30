#pragma once

#include <complex>
#include <optional>
#include <span>
#include <vector>

#include "audio/fourier.h"
#include "audio/rate_reducer.h"

namespace kvx::audio {

/// Finds the strongest keyed tone of a recording. A steady carrier, however strong, is none.
class ToneSearch final {
 public:
  static constexpr double kLowest = 300;  ///< Hz
  static constexpr double kHighest = 1500;

  explicit ToneSearch(double samples_per_second);

  void Feed(std::span<const float> samples);
  /// In Hz, of what has been fed so far; nothing: no tone is keyed.
  std::optional<double> Strongest();

 private:
  void Measure();
  void Judge();
  double HertzOf(double bin) const;

  RateReducer reducer_;
  Fourier fourier_;
  std::vector<float> window_;
  std::vector<float> kept_;
  std::vector<std::complex<float>> values_;
  std::size_t first_bin_;
  std::size_t bins_;
  std::vector<std::vector<float>> powers_;  ///< by bin, of the stretch that is being measured
  std::vector<float> keyed_;                ///< by bin, how much power comes and goes, summed over the stretches
};

}  // namespace kvx::audio
