#include "sim/rig_output.h"

#include <algorithm>
#include <utility>

namespace kvx::sim {
namespace {

constexpr std::size_t kMostQueuedBytes = 64 * 1024;

}  // namespace

void RigOutput::Send(std::string_view bytes) {
  const std::string all = std::exchange(noise_, {}) + std::string(bytes);
  if (pieces_.empty() && delay_ == Duration{0} && gap_ == Duration{0}) {
    deliver_(all);
    return;
  }
  TimePoint when = loop_.Now() + delay_;
  if (!pieces_.empty()) when = std::max(when, pieces_.back().when + gap_);
  if (gap_ == Duration{0}) {
    Queue(when, all);
  } else {
    for (const char byte : all) {
      Queue(when, std::string(1, byte));
      when += gap_;
    }
  }
  Arm();
}

void RigOutput::Queue(TimePoint when, std::string bytes) {
  if (queued_bytes_ + bytes.size() > kMostQueuedBytes) return;
  queued_bytes_ += bytes.size();
  pieces_.push_back({when, std::move(bytes)});
}

void RigOutput::Arm() {
  if (timer_ != 0 || pieces_.empty()) return;
  timer_ = loop_.StartTimer(pieces_.front().when, [this] {
    timer_ = 0;
    const Piece piece = std::move(pieces_.front());
    pieces_.pop_front();
    queued_bytes_ -= piece.bytes.size();
    Arm();
    deliver_(piece.bytes);
  });
}

void RigOutput::Clear() {
  loop_.StopTimer(std::exchange(timer_, 0));
  pieces_.clear();
  queued_bytes_ = 0;
  noise_.clear();
}

}  // namespace kvx::sim
