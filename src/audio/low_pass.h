#pragma once

#include <cstddef>
#include <vector>

namespace kvx::audio {

/// The coefficients of a low-pass filter, symmetric and with a sum of 1: a sinc under Kaiser's window, 60 dB down
/// beyond its slope, which is 3.6 / count wide. `cutoff`, the slope's middle, is a share of the sample rate.
std::vector<double> LowPass(std::size_t count, double cutoff);

}  // namespace kvx::audio
