#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace kvx::audio {

/// Takes clicks of up to about 4 ms out of audio: a piece of a millisecond that is far louder than most of those around
/// it is made as loud as they are. What comes out is kDelay later than what goes in.
class ClickLimiter final {
 public:
  static constexpr double kDelay = 0.005;  ///< seconds

  explicit ClickLimiter(double samples_per_second);

  /// Appends what the next samples give.
  void Feed(std::span<const float> samples, std::vector<float>& result);

 private:
  static constexpr std::size_t kPieces = 11;

  void TakePiece(std::vector<float>& result);

  std::size_t piece_;                      ///< samples
  std::vector<float> kept_;                ///< kPieces / 2 + 1 pieces: from the one that comes out next on
  std::vector<float> coming_;              ///< the piece that is not complete
  std::array<float, kPieces> energies_{};  ///< of the latest pieces, in a ring
  std::size_t next_ = 0;
};

}  // namespace kvx::audio
