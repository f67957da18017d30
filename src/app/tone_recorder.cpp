#include "app/tone_recorder.h"

#include "core/text.h"

namespace kvx::app {
namespace {

using namespace std::chrono_literals;

constexpr int kSamplesPerSecond = 8000;
constexpr std::int64_t kMostSamples = 600 * kSamplesPerSecond;
constexpr Duration kInterval = 500ms;
constexpr Duration kLatestEdge = 200ms;  // a busy loop tells an edge late

}  // namespace

ToneRecorder::ToneRecorder(Loop& loop, sim::WinkeyDevice& keyer) : loop_(loop), keyer_(keyer) {
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
  if (off) return answer;
  const std::string begun = Begin(platform::Path(std::string(argument)));
  return begun == "ok" ? answer : begun;
}

std::string ToneRecorder::Begin(const platform::Path& path) {
  auto file = platform::WavWriter::Create(path, kSamplesPerSecond);
  if (!file) return "error: " + file.error().message;
  file_ = std::move(*file);
  path_ = path;
  failure_.clear();
  tone_ = std::make_unique<sim::SideTone>(kSamplesPerSecond, keyer_.side_tone_hertz(), loop_.Now());
  if (keyer_.key()) tone_->Key(true, loop_.Now());
  Render();
  return "ok";
}

void ToneRecorder::Render() {
  timer_ = 0;
  Take(loop_.Now() - kLatestEdge);
  if (file_->samples() >= kMostSamples) {
    End();
    return;
  }
  timer_ = loop_.StartTimer(loop_.Now() + kInterval, [this] { Render(); });
}

void ToneRecorder::Take(TimePoint until) {
  const Status written = file_->Write(tone_->Render(until));
  if (!written && failure_.empty()) failure_ = written.error().message;
}

std::string ToneRecorder::End() {
  loop_.StopTimer(timer_);
  Take(loop_.Now());
  tone_.reset();
  const Status closed = file_->Close();
  if (!closed && failure_.empty()) failure_ = closed.error().message;
  if (!failure_.empty()) return "error: " + failure_;
  return "ok " + std::to_string(file_->samples() / kSamplesPerSecond) + " s in " + path_.string();
}

}  // namespace kvx::app
