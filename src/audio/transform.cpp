#include "audio/transform.h"

#include <bit>
#include <cassert>
#include <cmath>
#include <cstring>

// This file is compiled for more than one kind of processor where the system can choose among them at run time.
#if defined(__x86_64__) && defined(__gnu_linux__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define KVX_FOR_EACH_PROCESSOR __attribute__((target_clones("arch=x86-64-v3", "default")))
#else
#define KVX_FOR_EACH_PROCESSOR
#endif

namespace kvx::audio {
namespace {

constexpr std::size_t kFirst = 8;  // points that the first three stages join
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

/// Eight values side by side.
using Lanes = float __attribute__((vector_size(kFirst * sizeof(float))));

/// One of the first three stages, in every lane.
template <std::size_t half>
[[gnu::always_inline]] inline void JoinLanes(Lanes* real, Lanes* imaginary, const float* cosines, const float* sines) {
  for (std::size_t begin = 0; begin < kFirst; begin += 2 * half) {
    for (std::size_t k = begin; k < begin + half; ++k) {
      const float cosine = cosines[k - begin];
      const float sine = sines[k - begin];
      const Lanes turned_real = real[k + half] * cosine + imaginary[k + half] * sine;
      const Lanes turned_imaginary = imaginary[k + half] * cosine - real[k + half] * sine;
      real[k + half] = real[k] - turned_real;
      imaginary[k + half] = imaginary[k] - turned_imaginary;
      real[k] += turned_real;
      imaginary[k] += turned_imaginary;
    }
  }
}

/// Rows become columns: three perfect shuffles of the rows do it.
[[gnu::always_inline]] inline void Transpose(Lanes* rows) {
  for (int round = 0; round < 3; ++round) {
    Lanes shuffled[kFirst];
    for (std::size_t i = 0; i < kFirst / 2; ++i) {
      shuffled[2 * i] = __builtin_shufflevector(rows[i], rows[i + 4], 0, 8, 1, 9, 2, 10, 3, 11);
      shuffled[2 * i + 1] = __builtin_shufflevector(rows[i], rows[i + 4], 4, 12, 5, 13, 6, 14, 7, 15);
    }
    std::memcpy(rows, shuffled, sizeof shuffled);
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

// The points that the first three stages join are size / 8 apart in the samples: done there for eight at a time, turned
// from columns into rows, and put in reversed order then, they are as quick as later stages.
KVX_FOR_EACH_PROCESSOR
void Transform::FirstStages(const float* samples) {
  const std::size_t stride = size_ / kFirst;
  constexpr std::size_t kReversedThree[kFirst] = {0, 4, 2, 6, 1, 5, 3, 7};
  for (std::size_t from = 0; from < stride; from += kFirst) {
    Lanes real[kFirst];
    Lanes imaginary[kFirst];
    for (std::size_t point = 0; point < kFirst; ++point) {
      std::memcpy(&real[point], samples + kReversedThree[point] * stride + from, sizeof(Lanes));
      imaginary[point] = Lanes{};
    }
    JoinLanes<1>(real, imaginary, &cosines_[1], &sines_[1]);
    JoinLanes<2>(real, imaginary, &cosines_[2], &sines_[2]);
    JoinLanes<4>(real, imaginary, &cosines_[4], &sines_[4]);
    Transpose(real);
    Transpose(imaginary);
    for (std::size_t lane = 0; lane < kFirst; ++lane) {
      const std::size_t to = reversed_[from + lane] * kFirst;
      std::memcpy(&real_[to], &real[lane], sizeof(Lanes));
      std::memcpy(&imaginary_[to], &imaginary[lane], sizeof(Lanes));
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
