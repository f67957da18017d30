#include "audio/click_limiter.h"

#include <algorithm>
#include <cmath>

namespace kvx::audio {
namespace {

constexpr double kPieceSeconds = 0.001;
constexpr float kMostEnergy = 9;  // of the middle one of the energies around

}  // namespace

ClickLimiter::ClickLimiter(double samples_per_second)
    : piece_(std::max<std::size_t>(1, static_cast<std::size_t>(std::lround(kPieceSeconds * samples_per_second)))),
      kept_(kPieces / 2 * piece_) {}

void ClickLimiter::Feed(std::span<const float> samples, std::vector<float>& result) {
  while (!samples.empty()) {
    const std::size_t count = std::min(samples.size(), piece_ - coming_.size());
    coming_.insert(coming_.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count));
    samples = samples.subspan(count);
    if (coming_.size() == piece_) TakePiece(result);
  }
}

void ClickLimiter::TakePiece(std::vector<float>& result) {
  float energy = 0;
  for (const float sample : coming_) energy += sample * sample;
  energies_[next_] = energy;
  const float own = energies_[(next_ + kPieces - kPieces / 2) % kPieces];
  next_ = (next_ + 1) % kPieces;
  kept_.insert(kept_.end(), coming_.begin(), coming_.end());
  coming_.clear();

  std::array<float, kPieces> sorted = energies_;
  std::nth_element(sorted.begin(), sorted.begin() + kPieces / 2, sorted.end());
  const float middle = sorted[kPieces / 2];
  const float factor = own > kMostEnergy * middle ? std::sqrt(middle / own) : 1.0F;
  const auto end = kept_.begin() + static_cast<std::ptrdiff_t>(piece_);
  for (auto sample = kept_.begin(); sample != end; ++sample) result.push_back(factor * *sample);
  kept_.erase(kept_.begin(), end);
}

}  // namespace kvx::audio
