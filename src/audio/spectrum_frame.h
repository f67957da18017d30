#pragma once

#include <cstdint>
#include <vector>

namespace kvx::audio {

/// One transformed buffer, as the display takes it.
struct SpectrumFrame {
  std::int64_t number = 0;  ///< 1 is the first of this run
  int samples_per_second = 0;
  int bins = 0;               ///< N; there are N / 2 + 1 levels
  std::vector<float> trace;   ///< dB, by bin
  std::vector<float> levels;  ///< dB, by bin, of this buffer alone: the waterfall's line
  std::vector<float> scope;   ///< the buffer's samples, -1..1
};

}  // namespace kvx::audio
