#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "core/loop.h"

namespace kvx::platform {

/// The samples of a sound output that wait to be heard.
class SoundQueue final {
 public:
  /// False, and nothing more waits, when a minute of sound waits already.
  bool Append(std::span<const std::int16_t> samples, int samples_per_second);
  /// Drops what waits, but for some samples in which a sound that is under way fades out: it ends without a click.
  void Fade(int samples_per_second);
  void Clear() { samples_.clear(); }
  /// The next ones, that many at most.
  std::vector<std::int16_t> Take(std::size_t most);
  std::size_t waiting() const { return samples_.size(); }
  Duration Length(int samples_per_second) const;

 private:
  std::deque<std::int16_t> samples_;
};

}  // namespace kvx::platform
