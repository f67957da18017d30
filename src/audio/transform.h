#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kvx::audio {

/// A fast Fourier transform of one size, radix 2 and in place: Log(size) / Log(2) stages of two-point butterflies
/// behind a bit reversal. Its angles count pi as 3.14159; what that changes is 100 dB
/// below the strongest tone, or less.
class Transform final {
 public:
  static constexpr double kPi = 3.14159;
  static constexpr int kSmallest = 64;
  static constexpr int kLargest = 16384;

  /// `size`: a power of two, kSmallest to kLargest.
  explicit Transform(int size);

  int size() const { return static_cast<int>(size_); }
  /// Transforms `size` samples; their imaginary parts count as zero. Allocates nothing.
  void Run(std::span<const float> samples);
  /// The bins from 0 to size / 2; those above are not computed.
  std::span<const float> real() const { return std::span(real_).first(size_ / 2 + 1); }
  std::span<const float> imaginary() const { return std::span(imaginary_).first(size_ / 2 + 1); }

 private:
  void FirstStages(const float* samples);

  std::size_t size_;
  std::vector<std::uint16_t> reversed_;  ///< numbers up to size / kFirst, their bits in reverse order
  std::vector<float> cosines_;           ///< of a stage with butterflies `half` apart from [half] on
  std::vector<float> sines_;
  std::vector<float> real_;
  std::vector<float> imaginary_;
};

/// The level of each bin in dB: 20 * Log(magnitude + 1e-7) / Log(10), so that silence is -140 dB. All three of one
/// size.
void LevelsOf(std::span<const float> real, std::span<const float> imaginary, std::span<float> levels);

}  // namespace kvx::audio
