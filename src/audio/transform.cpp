#include "audio/transform.h"

#include <bit>
#include <cassert>
#include <cmath>

// This file is compiled for more than one kind of processor where the system can choose among them at run time.
#if defined(__x86_64__) && defined(__gnu_linux__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define KVX_FOR_EACH_PROCESSOR __attribute__((target_clones("arch=x86-64-v3", "default")))
#else
#define KVX_FOR_EACH_PROCESSOR
#endif

namespace kvx::audio {
namespace {

constexpr std::size_t kFirst = 8;  // points that the first three stages join
constexpr std::size_t kLanes = 8;  // of these side by side
constexpr float kFloor = 1e-7F;

std::size_t Reversed(std::size_t number, int bits) {
  std::size_t result = 0;
  for (int bit = 0; bit < bits; ++bit) result = result << 1 | (number >> bit & 1);
  return result;
}

/// Joins two transforms of `half` points, the one behind the other.
KVX_FOR_EACH_PROCESSOR
void Join(float* __restrict real, float* __restrict imaginary, std::size_t half, const float* __restrict cosines,
          const float* __restrict sines) {
  float* __restrict real2 = real + half;
  float* __restrict imaginary2 = imaginary + half;
  for (std::size_t k = 0; k < half; ++k) {
    const float turned_real = real2[k] * cosines[k] + imaginary2[k] * sines[k];
    const float turned_imaginary = imaginary2[k] * cosines[k] - real2[k] * sines[k];
    real2[k] = real[k] - turned_real;
    imaginary2[k] = imaginary[k] - turned_imaginary;
    real[k] += turned_real;
    imaginary[k] += turned_imaginary;
  }
}

}  // namespace

Transform::Transform(int size)
    : size_(static_cast<std::size_t>(size)),
      reversed_(size_ / kFirst),
      cosines_(size_),
      sines_(size_),
      real_(size_),
      imaginary_(size_) {
  assert(std::has_single_bit(size_) && size >= kSmallest && size <= kLargest);
  const int bits = std::countr_zero(reversed_.size());
  for (std::size_t i = 0; i < reversed_.size(); ++i) reversed_[i] = static_cast<std::uint16_t>(Reversed(i, bits));
  for (std::size_t half = 1; half < size_; half *= 2) {
    for (std::size_t k = 0; k < half; ++k) {
      const double angle = kPi * static_cast<double>(k) / static_cast<double>(half);
      cosines_[half + k] = static_cast<float>(std::cos(angle));
      sines_[half + k] = static_cast<float>(std::sin(angle));
    }
  }
}

void Transform::Run(std::span<const float> samples) {
  assert(samples.size() == size_);
  FirstStages(samples.data());
  for (std::size_t half = kFirst; half < size_; half *= 2) {
    for (std::size_t begin = 0; begin < size_; begin += 2 * half)
      Join(&real_[begin], &imaginary_[begin], half, &cosines_[half], &sines_[half]);
  }
}

// The points that the first three stages join are size / 8 apart in the samples: done there for many at a time, and
// put in reversed order then, they are as quick as later stages.
KVX_FOR_EACH_PROCESSOR
void Transform::FirstStages(const float* samples) {
  const std::size_t stride = size_ / kFirst;
  constexpr std::size_t kReversedThree[kFirst] = {0, 4, 2, 6, 1, 5, 3, 7};
  for (std::size_t from = 0; from < stride; from += kLanes) {
    float real[kFirst][kLanes];
    float imaginary[kFirst][kLanes] = {};
    for (std::size_t point = 0; point < kFirst; ++point) {
      for (std::size_t lane = 0; lane < kLanes; ++lane)
        real[point][lane] = samples[kReversedThree[point] * stride + from + lane];
    }
    for (std::size_t half = 1; half < kFirst; half *= 2) {
      for (std::size_t i = 0; i < kFirst / 2; ++i) {
        const std::size_t k = i % half;
        const std::size_t first = i / half * 2 * half + k;
        const std::size_t second = first + half;
        const float cosine = cosines_[half + k];
        const float sine = sines_[half + k];
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
          const float turned_real = real[second][lane] * cosine + imaginary[second][lane] * sine;
          const float turned_imaginary = imaginary[second][lane] * cosine - real[second][lane] * sine;
          real[second][lane] = real[first][lane] - turned_real;
          imaginary[second][lane] = imaginary[first][lane] - turned_imaginary;
          real[first][lane] += turned_real;
          imaginary[first][lane] += turned_imaginary;
        }
      }
    }
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const std::size_t to = reversed_[from + lane] * kFirst;
      for (std::size_t point = 0; point < kFirst; ++point) {
        real_[to + point] = real[point][lane];
        imaginary_[to + point] = imaginary[point][lane];
      }
    }
  }
}

// The logarithm is a series in z = (m - 1) / (m + 1) of a mantissa m between sqrt(1/2) and sqrt(2): 2 (z + z^3 / 3 +
// ...), within a millionth of it and several values at a time.
KVX_FOR_EACH_PROCESSOR
void LevelsOf(std::span<const float> real, std::span<const float> imaginary, std::span<float> levels) {
  constexpr float kDecibels = 8.6858896F;  // 20 / Log(10)
  constexpr float kLog2 = 0.69314718F;
  constexpr std::uint32_t kRootHalf = 0x3F3504F3;  // the bits of sqrt(1/2)
  const std::size_t count = levels.size();
  const float* __restrict re = real.data();
  const float* __restrict im = imaginary.data();
  float* __restrict out = levels.data();
  for (std::size_t k = 0; k < count; ++k) {
    const float value = std::sqrt(re[k] * re[k] + im[k] * im[k]) + kFloor;
    const auto bits = std::bit_cast<std::int32_t>(value) - static_cast<std::int32_t>(kRootHalf);
    const std::int32_t exponent = bits >> 23;
    const auto mantissa = std::bit_cast<float>((bits & 0x7FFFFF) + static_cast<std::int32_t>(kRootHalf));
    const float z = (mantissa - 1) / (mantissa + 1);
    const float square = z * z;
    const float series = 2 * z * (1 + square * (1 / 3.F + square * (1 / 5.F + square * (1 / 7.F + square / 9))));
    out[k] = kDecibels * (static_cast<float>(exponent) * kLog2 + series);
  }
}

}  // namespace kvx::audio
