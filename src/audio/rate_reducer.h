#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace kvx::audio {

/// Brings audio down to 8000 samples a second, or as few more as a whole share of its rate allows: enough for what a
/// receiver lets through, and cheaper for several decoders.
class RateReducer final {
 public:
  explicit RateReducer(double samples_per_second);

  /// Appends what the next samples give.
  void Feed(std::span<const float> samples, std::vector<float>& result);
  double rate() const { return rate_; }

 private:
  std::size_t factor_;
  double rate_;
  std::vector<float> taps_;
  std::vector<float> kept_;  ///< input samples that outputs to come still need
};

}  // namespace kvx::audio
