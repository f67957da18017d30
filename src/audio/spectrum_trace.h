#pragma once

#include <span>
#include <vector>

#include "audio/spectrum_settings.h"

namespace kvx::audio {

/// The line of the display: one level a bin, in dB, renewed by each buffer as its mode says.
class SpectrumTrace final {
 public:
  /// The levels of the next buffer; of another number of bins than before, or the first ever, they are taken as they
  /// are. `average`: AV, 1 and above; 1 is the same as normal.
  void Update(std::span<const float> levels, TraceMode mode, int average);
  void Clear() { values_.clear(); }
  const std::vector<float>& values() const { return values_; }  ///< empty before the first buffer

 private:
  std::vector<float> values_;
};

/// A stored trace as it is displayed, `offset` dB higher.
std::vector<float> ShiftedTrace(std::span<const float> trace, float offset);
/// Trace 1 less trace 2; of the bins that both have.
std::vector<float> TraceDifference(std::span<const float> trace1, std::span<const float> trace2);

/// The sum of a window's values makes 2, so that a tone of amplitude 1 has a level of 0 dB.
std::vector<float> DisplayWindow(int size);

inline constexpr int kFullLoudness = 100;

/// How loud the strongest tone between two frequencies is, 0..kFullLoudness, which is full scale; 0 is 100 dB
/// below.
int ToneLoudness(std::span<const float> levels, int samples_per_second, double low, double high);

}  // namespace kvx::audio
