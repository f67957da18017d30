#pragma once

#include <span>
#include <utility>
#include <vector>

#include "widgets/tone_scale.h"

namespace kvx::widgets {

/// What stands in each column of pixels: the highest level of the bins within it, and between two bins that are farther
/// apart than a pixel the straight line. Beyond the last bin `nothing`. `levels[k]` is at k * `bin_hertz`.
void ToColumns(std::span<const float> levels, double bin_hertz, const ToneScale& scale, float nothing,
               std::vector<float>& columns);

/// The tone that is meant by a place within `reach` hertz of it: the summit of the highest peak there, if it stands out
/// of what is around, else the place itself.
double ToneNear(std::span<const float> levels, double bin_hertz, double hertz, double reach);

/// A level and where it is.
struct ToneLevel {
  double hertz = 0;
  double decibels = 0;
};
/// The highest level from `from` to `to`; that of nothing is -140 dB.
ToneLevel StrongestTone(std::span<const float> levels, double bin_hertz, double from, double to);

/// Where a steady picture of a wave begins: its first way up through zero in the first half, or 0.
std::size_t ScopeStart(std::span<const float> samples);
/// The lowest and the highest sample of each of so many columns; the straight line between two that are farther apart.
void ToScope(std::span<const float> samples, int columns, std::vector<std::pair<float, float>>& ranges);
/// The smallest of 1, 0.5, 0.2, 0.1, ... that holds all samples.
float ScopeRange(std::span<const float> samples);

}  // namespace kvx::widgets
