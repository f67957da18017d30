#include "sim/receiver_input.h"

#include <algorithm>
#include <utility>

#include "platform/samples.h"
#include "sim/demo_band.h"

namespace kvx::sim {
namespace {

using namespace std::chrono_literals;

constexpr int kRate = 8000;  // of a receiver: nothing above 4 kHz comes out of it
constexpr std::size_t kBlock = kRate / 50;
constexpr Duration kToneDelay = 100ms;  // edges are told a little late
constexpr Duration kHang = 300ms;       // after the key the receiver stays mute
constexpr Duration kMostBehind = 1s;    // of a loop that was busy
constexpr float kVolume = 0.6F;         // several stations at a time fit
constexpr float kToneLoudness = 0.5F;
constexpr float kFade = 0.004F;  // a sample

}  // namespace

ReceiverInput::ReceiverInput(Loop& loop, OwnStation& own)
    : loop_(loop), own_(own), pacer_(loop, [this](std::size_t count) { Give(count); }) {}

Status ReceiverInput::Open(int samples_per_second) {
  Close();
  audio_.emplace(DemoReceiver(kRate), DemoBand());
  resampler_.emplace(kRate, samples_per_second);
  samples_.clear();
  start_ = loop_.Now();
  heard_ = 0;
  tone_.reset();
  tone_samples_.clear();
  key_ = false;
  own_.TakeEdges();
  pacer_.Start(samples_per_second);
  return Ok();
}

/// What is called last may destroy this source.
void ReceiverInput::Give(std::size_t count) {
  while (samples_.size() < count) Hear();
  const std::vector<std::int16_t> chunk = platform::To16Bits(std::span(samples_).first(count));
  samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(count));
  const auto give = on_samples;
  if (give) give(chunk);
}

void ReceiverInput::Hear() {
  if (own_.dial_hertz) audio_->Shift(-own_.dial_hertz());
  std::vector<float> block(kBlock);
  audio_->Render(block);
  heard_ += static_cast<std::int64_t>(kBlock);
  AddOwnTone(block);
  resampler_->Feed(block, samples_);
}

void ReceiverInput::AddOwnTone(std::vector<float>& block) {
  const Duration behind = loop_.Now() - (start_ + Duration(heard_ * 1'000'000'000 / kRate));
  if (behind > kMostBehind) start_ += behind;
  const TimePoint now = start_ + Duration(heard_ * 1'000'000'000 / kRate) - kToneDelay;
  for (const OwnStation::Edge& edge : own_.TakeEdges()) {
    if (!tone_) tone_.emplace(kRate, edge.tone_hertz, now - Duration(std::chrono::seconds(1)) * kBlock / kRate);
    tone_->Key(edge.down, edge.when);
    key_ = edge.down;
    tone_ends_ = edge.when + kHang;
  }
  const bool mute = tone_ && (key_ || now < tone_ends_);
  if (tone_) {
    const std::vector<std::int16_t> more = tone_->Render(now);
    tone_samples_.insert(tone_samples_.end(), more.begin(), more.end());
  }
  const std::size_t ready = std::min(tone_samples_.size(), block.size());
  for (std::size_t i = 0; i < block.size(); ++i) {
    loudness_ = std::clamp(loudness_ + (mute ? -kFade : kFade), 0.0F, 1.0F);
    block[i] *= kVolume * loudness_;
    if (i < ready) block[i] += kToneLoudness * platform::ToFloat(tone_samples_[i]);
  }
  tone_samples_.erase(tone_samples_.begin(), tone_samples_.begin() + static_cast<std::ptrdiff_t>(ready));
  if (!mute) {
    tone_.reset();
    tone_samples_.clear();
  }
}

}  // namespace kvx::sim
