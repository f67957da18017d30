#include "sim/signal_meter.h"

namespace kvx::sim {
namespace {

constexpr std::int64_t kStepMilliseconds = 400;
constexpr int kQuietest = 5;
constexpr int kSwing = 9;

std::uint64_t Scramble(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15ULL;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
  return value ^ (value >> 31);
}

}  // namespace

int SignalMeter::value() const {
  if (pinned_) return *pinned_;
  const std::int64_t elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(loop_.Now() - start_).count();
  const std::int64_t step = elapsed / kStepMilliseconds;
  const std::int64_t within = elapsed % kStepMilliseconds;
  const auto level_at = [](std::int64_t at) { return static_cast<std::int64_t>(Scramble(at) % (kSwing + 1)); };
  // The needle travels from one level to the next instead of jumping.
  const std::int64_t from = level_at(step);
  const std::int64_t to = level_at(step + 1);
  return kQuietest + static_cast<int>(from + (to - from) * within / kStepMilliseconds);
}

}  // namespace kvx::sim
