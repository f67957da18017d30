#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kvx::platform {

/// Turns samples of one rate into samples of another: a sinc under Kaiser's window, 80 dB down from half the lower rate
/// on; what is below 0.42 of it comes through unchanged, and in its time. Equal rates pass sample by sample.
class Resampler final {
 public:
  Resampler(int from, int to);

  /// Appends what can be told from the samples so far.
  void Feed(std::span<const float> samples, std::vector<float>& result);
  /// Appends the rest; silence follows. Altogether there are as many samples as the time needs, rounded up.
  void Finish(std::vector<float>& result);

 private:
  void Produce(std::int64_t known, std::vector<float>& result);

  std::int64_t from_;
  std::int64_t to_;
  std::int64_t reach_ = 0;     ///< samples on either side that make one of the result
  std::vector<float> kernel_;  ///< by kPhases parts of a sample, from its middle on
  std::vector<float> kept_;
  std::int64_t kept_begin_ = 0;  ///< which sample the first of kept_ is
  std::int64_t fed_ = 0;
  std::int64_t made_ = 0;
};

}  // namespace kvx::platform
