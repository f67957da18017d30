#include "app/tone_recorder.h"

#include "core/text.h"

namespace kvx::app {
namespace {

using namespace std::chrono_literals;

constexpr int kSamplesPerSecond = 8000;
constexpr std::size_t kMostSamples = 600 * kSamplesPerSecond;
constexpr Duration kInterval = 500ms;
constexpr Duration kLatestEdge = 200ms;  // a busy loop tells an edge late

}  // namespace

ToneRecorder::ToneRecorder(Loop& loop, platform::Files& files, sim::WinkeyDevice& keyer)
    : loop_(loop), files_(files), keyer_(keyer) {
  keyer_.on_key = [this](bool down, TimePoint when) {
    if (tone_) tone_->Key(down, when);
  };
}

ToneRecorder::~ToneRecorder() {
  if (tone_) End();
  keyer_.on_key = nullptr;
}

std::string ToneRecorder::Operate(std::string_view argument) {
  const bool off = EqualNoCase(argument, "off");
  if (argument.empty()) return "error: a file name or off is wanted";
  if (off && !tone_) return "error: nothing is being recorded";
  std::string answer = tone_ ? End() : "ok";
  if (!off) Begin(platform::Path(std::string(argument)));
  return answer;
}

void ToneRecorder::Begin(const platform::Path& path) {
  path_ = path;
  samples_.clear();
  tone_ = std::make_unique<sim::SideTone>(kSamplesPerSecond, keyer_.side_tone_hertz(), loop_.Now());
  if (keyer_.key()) tone_->Key(true, loop_.Now());
  Render();
}

void ToneRecorder::Render() {
  timer_ = 0;
  Take(loop_.Now() - kLatestEdge);
  if (samples_.size() >= kMostSamples) {
    End();
    return;
  }
  timer_ = loop_.StartTimer(loop_.Now() + kInterval, [this] { Render(); });
}

void ToneRecorder::Take(TimePoint until) {
  const std::vector<std::int16_t> more = tone_->Render(until);
  samples_.insert(samples_.end(), more.begin(), more.end());
}

std::string ToneRecorder::End() {
  loop_.StopTimer(timer_);
  Take(loop_.Now());
  tone_.reset();
  const Status written = files_.Write(path_, sim::WavFile(samples_, kSamplesPerSecond));
  if (!written) return "error: " + written.error().message;
  return "ok " + std::to_string(samples_.size() / kSamplesPerSecond) + " s in " + path_.string();
}

}  // namespace kvx::app
