#include "audio/rate_reducer.h"

#include <algorithm>

#include "audio/low_pass.h"

namespace kvx::audio {
namespace {

constexpr double kLeastRate = 8000;
constexpr std::size_t kSpan = 16;  // outputs that an input sample has a part in

}  // namespace

RateReducer::RateReducer(double samples_per_second)
    : factor_(std::max<std::size_t>(1, static_cast<std::size_t>(samples_per_second / kLeastRate))),
      rate_(samples_per_second / static_cast<double>(factor_)) {
  for (const double tap : LowPass(factor_ * kSpan, 0.5 / static_cast<double>(factor_))) {
    taps_.push_back(static_cast<float>(tap));
  }
}

void RateReducer::Feed(std::span<const float> samples, std::vector<float>& result) {
  if (factor_ == 1) {
    result.insert(result.end(), samples.begin(), samples.end());
    return;
  }
  kept_.insert(kept_.end(), samples.begin(), samples.end());
  std::size_t at = 0;
  for (; at + taps_.size() <= kept_.size(); at += factor_) {
    float sum = 0;
    for (std::size_t i = 0; i < taps_.size(); ++i) sum += taps_[i] * kept_[at + i];
    result.push_back(sum);
  }
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(at));
}

}  // namespace kvx::audio
