#include "audio/fourier.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace kvx::audio {

Fourier::Fourier(std::size_t size) : reversed_(size) {
  for (std::size_t i = 1; i < size; ++i) reversed_[i] = reversed_[i / 2] / 2 + (i % 2) * size / 2;
  for (std::size_t i = 0; i < size / 2; ++i) {
    const double angle = -2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(size);
    turns_.push_back(std::complex<float>(std::polar(1.0, angle)));
  }
}

void Fourier::Transform(std::span<std::complex<float>> values) const {
  for (std::size_t i = 0; i < size(); ++i) {
    if (i < reversed_[i]) std::swap(values[i], values[reversed_[i]]);
  }
  for (std::size_t half = 1; half < size(); half *= 2) {
    for (std::size_t i = 0; i < half; ++i) {
      const float real = turns_[i * (size() / 2 / half)].real();
      const float imaginary = turns_[i * (size() / 2 / half)].imag();
      for (std::size_t at = i; at < size(); at += 2 * half) {
        const std::complex<float> other = values[at + half];
        // Spelled out: the operator would look for infinities.
        const std::complex<float> turned(real * other.real() - imaginary * other.imag(),
                                         real * other.imag() + imaginary * other.real());
        values[at + half] = values[at] - turned;
        values[at] += turned;
      }
    }
  }
}

std::vector<float> HannWindow(std::size_t size) {
  std::vector<float> window;
  const auto length = static_cast<double>(size);
  for (std::size_t i = 0; i < size; ++i) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(i) / length;
    window.push_back(static_cast<float>((1 - std::cos(angle)) / 2 / std::sqrt(0.375 * length)));
  }
  return window;
}

}  // namespace kvx::audio
