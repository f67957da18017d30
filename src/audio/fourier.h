#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

namespace kvx::audio {

/// The discrete Fourier transform of a fixed size, a power of two, with its tables. For what the decoders look at; the
/// display has a transform of its own.
class Fourier final {
 public:
  explicit Fourier(std::size_t size);

  /// In place.
  void Transform(std::span<std::complex<float>> values) const;
  std::size_t size() const { return reversed_.size(); }

 private:
  std::vector<std::size_t> reversed_;
  std::vector<std::complex<float>> turns_;
};

/// The powers of a windowed piece of white noise are, on average, its power a sample.
std::vector<float> HannWindow(std::size_t size);

}  // namespace kvx::audio
