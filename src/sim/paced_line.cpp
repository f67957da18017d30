#include "sim/paced_line.h"

#include <algorithm>
#include <utility>

namespace kvx::sim {
namespace {

constexpr std::size_t kMostWaiting = 64 * 1024;

}  // namespace

void PacedLine::Push(std::string_view bytes) {
  if (bytes_.empty()) next_ = std::max(next_, loop_.Now() + byte_time_);
  bytes_ += bytes.substr(0, kMostWaiting - bytes_.size());
  Arm();
}

void PacedLine::Arm() {
  if (timer_ == 0 && !bytes_.empty()) timer_ = loop_.StartTimer(next_, [this] { Deliver(); });
}

// A loop that wakes late finds several bytes through and hands them over together.
void PacedLine::Deliver() {
  timer_ = 0;
  std::size_t through = 0;
  while (through < bytes_.size() && next_ <= loop_.Now()) {
    ++through;
    next_ += byte_time_;
  }
  const std::string passed = bytes_.substr(0, through);
  bytes_.erase(0, through);
  Arm();
  if (!passed.empty()) deliver_(passed);
}

void PacedLine::Clear() {
  bytes_.clear();
  loop_.StopTimer(std::exchange(timer_, 0));
}

}  // namespace kvx::sim
