#include "audio/key_detector.h"

#include <algorithm>
#include <cmath>

namespace kvx::audio {
namespace {

constexpr double kWindow = 0.72;  // dots
constexpr std::size_t kMostMarks = 64;
constexpr double kLongestMark = 14;   // dots: what is longer is a carrier
constexpr double kShortestGap = 0.4;  // dots: what is shorter is a drop-out
constexpr float kOn = 0.5F;           // of the level
constexpr float kOff = 0.48F;
constexpr float kOffFloor = 0.8F;     // of the floor
constexpr float kFadeDecibels = 8;    // a second: how fast a signal may fade between its marks
constexpr float kDeepestFade = 0.3F;  // of the longer level
constexpr float kRate = 500;

}  // namespace

KeyDetector::KeyDetector(double dot, std::int64_t begin)
    : dot_(dot),
      window_(std::max<std::size_t>(3, static_cast<std::size_t>(std::lround(kWindow * dot)))),
      now_(begin - static_cast<std::int64_t>(window_ / 2)),
      inside_(window_),
      strengths_begin_(now_) {}

float KeyDetector::NoiseLevel(float noise) const {
  return std::sqrt(noise / static_cast<float>(window_));
}

std::vector<KeyedMark> KeyDetector::MarksAfter(double time, std::size_t most) const {
  auto first = std::find_if(marks_.begin(), marks_.end(), [&](const KeyedMark& mark) { return mark.begin > time; });
  first += std::max<std::ptrdiff_t>(0, (marks_.end() - first) - static_cast<std::ptrdiff_t>(most));
  return {first, marks_.end()};
}

double KeyDetector::silent_until() const {
  return static_cast<double>(down_at_.value_or(now_));
}

void KeyDetector::Feed(std::complex<float> sample, float noise, float margin, float squelch) {
  sum_ += std::complex<double>(sample) - std::complex<double>(inside_[next_]);
  inside_[next_] = sample;
  next_ = (next_ + 1) % window_;
  const float floor = std::max(margin * NoiseLevel(noise), squelch);
  Measure(static_cast<float>(std::abs(sum_)) / static_cast<float>(window_), floor);
}

void KeyDetector::Measure(float strength, float floor) {
  strengths_.push_back(strength);
  const std::int64_t time = now_++;
  const float quick = 2.0F / static_cast<float>(window_);
  if (strength > level_ && strength > floor) {
    level_ += std::min(1.0F, level_ < floor ? 1.0F : quick) * (strength - level_);
  } else if (down_) {
    level_ += 0.25F * quick * (strength - level_);
  } else {
    static const float decay = std::pow(10.0F, -kFadeDecibels / 20 / kRate);
    level_ = std::max(level_ * decay, kDeepestFade * longer_);
  }

  if (!down_ && strength > std::max(floor, kOn * level_)) {
    down_ = true;
    if (!down_at_) down_at_ = time;
  } else if (down_ && strength < std::max(kOffFloor * floor, kOff * level_)) {
    down_ = false;
    up_at_ = time;
  }
  if (down_at_ && !down_ && static_cast<double>(time - up_at_) >= kShortestGap * dot_) EndMark();

  const auto most = static_cast<std::size_t>((kLongestMark + 2) * dot_);
  if (strengths_.size() > 2 * most) {
    const std::size_t gone = strengths_.size() - most;
    strengths_.erase(strengths_.begin(), strengths_.begin() + static_cast<std::ptrdiff_t>(gone));
    strengths_begin_ += static_cast<std::int64_t>(gone);
  }
}

float KeyDetector::Strongest(std::int64_t from, std::int64_t to) const {
  float best = 0;
  for (std::int64_t time = std::max(from, strengths_begin_); time <= std::min(to, now_ - 1); ++time) {
    best = std::max(best, StrengthAt(time));
  }
  return best;
}

/// Where the strength passes `half`, near a time that is about there; `outward` is the direction out of the mark.
double KeyDetector::Edge(std::int64_t time, std::int64_t outward, float half) const {
  const auto known = [&](std::int64_t t) { return t >= strengths_begin_ && t < now_; };
  const auto reach = static_cast<std::int64_t>(window_);
  const std::int64_t start = time;
  while (known(time + outward) && std::abs(time - start) < reach && StrengthAt(time) >= half) time += outward;
  while (known(time - outward) && std::abs(time - start) < 2 * reach && StrengthAt(time - outward) < half) {
    time -= outward;
  }
  if (!known(time - outward)) return static_cast<double>(time);
  const float inside = StrengthAt(time - outward), outside = StrengthAt(time);
  const float share = inside > outside ? std::clamp((inside - half) / (inside - outside), 0.0F, 1.0F) : 1.0F;
  return static_cast<double>(time - outward) + static_cast<double>(outward) * static_cast<double>(share);
}

void KeyDetector::EndMark() {
  const std::int64_t begin = *down_at_, end = up_at_;
  down_at_.reset();
  if (static_cast<double>(end - begin) > kLongestMark * dot_) return;
  const auto near = static_cast<std::int64_t>(window_) * 3 / 2;
  const float first = Strongest(begin, std::min(begin + near, end));
  const float last = Strongest(std::max(end - near, begin), end);
  KeyedMark mark{.begin = Edge(begin, -1, first / 2), .end = Edge(end, 1, last / 2), .level = std::max(first, last)};
  if (mark.length() < 0.35 * dot_) return;
  longer_ += (longer_ == 0 ? 1.0F : 0.15F) * (mark.level - longer_);
  if (marks_.size() == kMostMarks) marks_.pop_front();
  marks_.push_back(mark);
  ++marks_seen_;
}

}  // namespace kvx::audio
