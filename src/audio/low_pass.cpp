#include "audio/low_pass.h"

#include <cmath>
#include <numbers>

namespace kvx::audio {
namespace {

constexpr double kBeta = 5.65;  // Kaiser's rule for 60 dB

}  // namespace

std::vector<double> LowPass(std::size_t count, double cutoff) {
  std::vector<double> taps(count);
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double from_middle = static_cast<double>(i) - static_cast<double>(count - 1) / 2;
    const double share = 2 * from_middle / static_cast<double>(count);
    const double angle = 2 * std::numbers::pi * cutoff * from_middle;
    const double sinc = angle == 0 ? 1 : std::sin(angle) / angle;
    taps[i] = sinc * std::cyl_bessel_i(0, kBeta * std::sqrt(1 - share * share));
    sum += taps[i];
  }
  for (double& tap : taps) tap /= sum;
  return taps;
}

}  // namespace kvx::audio
