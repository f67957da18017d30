#include "sim/five_byte_frames.h"

#include <utility>

namespace kvx::sim {
namespace {

constexpr std::chrono::milliseconds kLongestPause{200};

}  // namespace

FiveByteFrames::Taken FiveByteFrames::Take(char byte) {
  Taken taken;
  const TimePoint now = loop_.Now();
  if (!pending_.empty() && now - last_ > kLongestPause) taken.forgotten = std::exchange(pending_, {});
  last_ = now;
  pending_ += byte;
  if (pending_.size() == kLength) taken.frame = std::exchange(pending_, {});
  return taken;
}

}  // namespace kvx::sim
