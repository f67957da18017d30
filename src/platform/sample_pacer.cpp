#include "platform/sample_pacer.h"

#include <utility>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr int kChunksPerSecond = 50;
constexpr Duration kMostBehind = 1s;

}  // namespace

SamplePacer::SamplePacer(Loop& loop, std::function<void(std::size_t)> give) : loop_(loop), give_(std::move(give)) {}

void SamplePacer::Start(int samples_per_second) {
  Stop();
  rate_ = samples_per_second;
  start_ = loop_.Now();
  asked_ = 0;
  timer_ = loop_.StartTimer(Due(), [this] { Fire(); });
}

void SamplePacer::Stop() {
  loop_.StopTimer(timer_);
  timer_ = 0;
  rate_ = 0;
}

/// When the next chunk's last sample has been.
TimePoint SamplePacer::Due() const {
  const std::int64_t samples = asked_ + rate_ / kChunksPerSecond;
  return start_ + std::chrono::seconds(samples / rate_) + Duration(samples % rate_ * 1'000'000'000 / rate_);
}

void SamplePacer::Fire() {
  asked_ += rate_ / kChunksPerSecond;
  const Duration behind = loop_.Now() - Due();
  if (behind > kMostBehind) start_ += behind;
  timer_ = loop_.StartTimer(Due(), [this] { Fire(); });
  const auto give = give_;
  give(static_cast<std::size_t>(rate_ / kChunksPerSecond));
}

}  // namespace kvx::platform
