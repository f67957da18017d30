#include "keyer/sidetone.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "keyer/morse.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

constexpr double kSamplesPerPercent = 326.5;  // of amplitude; 100 % stays just inside 16 bits
constexpr std::size_t kEdge = kToneRate * 5 / 1000;
constexpr Duration kHeldAhead = 120ms;  // of a held tone; what has been given too much is dropped at its end
constexpr Duration kHeldPiece = 40ms;
constexpr Duration kMostBehind = 150ms;  // the sound behind the keying
constexpr Duration kTryAgain = 2s;
constexpr std::string_view kTrial[] = {"C", "Q"};

std::size_t SamplesOf(Duration duration) {
  return static_cast<std::size_t>(duration.count() * kToneRate / 1'000'000'000);
}

Duration DurationOf(std::size_t samples) {
  return Duration(static_cast<std::int64_t>(samples) * 1'000'000'000 / kToneRate);
}

/// How far an edge has risen after that many samples, 0 to 1.
double Risen(std::size_t samples) {
  if (samples >= kEdge) return 1;
  return (1 - std::cos(std::numbers::pi * static_cast<double>(samples) / kEdge)) / 2;
}

double Wave(const Tone& tone, std::size_t position) {
  const double turns = static_cast<double>(tone.hertz) * static_cast<double>(position) / kToneRate;
  return std::sin(2 * std::numbers::pi * (turns - std::floor(turns))) * kSamplesPerPercent *
         std::clamp(tone.volume, 0, 100);
}

std::int16_t Rounded(double value) {
  return static_cast<std::int16_t>(std::lround(value));
}

/// An element from one sample to another. Its falling edge lies in the gap, so that it keeps its length.
void PutElement(Samples& samples, const Tone& tone, std::size_t from, std::size_t to) {
  const std::size_t end = std::min(to + kEdge, samples.size());
  for (std::size_t i = from; i < end; ++i) {
    const double level = i < to ? Risen(i - from) : 1 - Risen(i - to);
    samples[i] = Rounded(Wave(tone, i - from) * level);
  }
}

void PutNumber(std::string& bytes, std::uint32_t number, int size) {
  for (int i = 0; i < size; ++i) bytes += static_cast<char>(number >> (8 * i) & 0xFF);
}

}  // namespace

Samples RenderSymbol(const Tone& tone, std::string_view symbol, int wpm) {
  Samples samples(SamplesOf(MorseLength(symbol, wpm)));
  const Duration dot = DotLength(wpm);
  Duration at{0};
  for (const char element : MorsePattern(symbol)) {
    if (element != '.' && element != '-') continue;
    const Duration end = at + (element == '-' ? 3 : 1) * dot;
    PutElement(samples, tone, SamplesOf(at), SamplesOf(end));
    at = end + dot;
  }
  return samples;
}

Samples RenderTone(const Tone& tone, std::size_t position, std::size_t count) {
  Samples samples(count);
  for (std::size_t i = 0; i < count; ++i) samples[i] = Rounded(Wave(tone, position + i) * Risen(position + i));
  return samples;
}

std::string CwWave(const Tone& tone) {
  constexpr std::uint32_t kBytes = 2 * kToneRate;
  Samples samples(kToneRate);
  PutElement(samples, tone, 0, kToneRate - kEdge);
  // "RIFF" size "WAVE" | "fmt " 16, PCM, channels, rate, bytes a second, bytes a frame, bits | "data" size samples
  std::string file = "RIFF";
  PutNumber(file, 36 + kBytes, 4);
  file += "WAVEfmt ";
  for (const auto& [number, size] :
       {std::pair<std::uint32_t, int>{16, 4}, {1, 2}, {1, 2}, {kToneRate, 4}, {kBytes, 4}, {2, 2}, {16, 2}}) {
    PutNumber(file, number, size);
  }
  file += "data";
  PutNumber(file, kBytes, 4);
  for (const std::int16_t sample : samples) PutNumber(file, static_cast<std::uint16_t>(sample), 2);
  return file;
}

Status KeepCwWave(platform::Files& files, const platform::Path& folder, const Tone& tone) {
  const platform::Path path = folder / "cw.wav";
  const std::string wave = CwWave(tone);
  if (const auto there = files.Read(path); there && *there == wave) return Ok();
  return files.Write(path, wave);
}

Sidetone::Sidetone(Loop& loop, platform::SoundOutput& output) : loop_(loop), output_(output) {
  output_.on_lost = [this](const std::string& why) { Lost(why); };
}

Sidetone::~Sidetone() {
  loop_.StopTimer(timer_);
  output_.on_lost = nullptr;
  output_.Close();
}

Status Sidetone::OpenOutput() {
  return output_.is_open() ? Ok() : output_.Open(kToneRate);
}

Status Sidetone::Switch(bool on) {
  if (on == on_) return Ok();
  if (on) {
    if (auto opened = OpenOutput(); !opened) return opened;
    loop_.StopTimer(std::exchange(timer_, 0));  // the end of a trial
    on_ = true;
    if (key_down_) Hold();
    return Ok();
  }
  on_ = false;
  LeaveOutput();
  return Ok();
}

void Sidetone::LeaveOutput() {
  loop_.StopTimer(std::exchange(timer_, 0));
  output_.Stop();
  output_.Close();
}

void Sidetone::SetTone(const Tone& tone) {
  tone_ = tone;
}

/// The sound never falls further and further behind: what is too much is taken from the pause after the symbol.
void Sidetone::Begin(std::string_view symbol, int wpm) {
  if (!on_ || key_down_ || !output_.is_open()) return;
  Samples samples = RenderSymbol(tone_, symbol, wpm);
  const Duration behind = output_.remaining() - kMostBehind;
  if (behind > Duration{0}) {
    const auto sound = std::find_if(samples.rbegin(), samples.rend(), [](std::int16_t sample) { return sample != 0; });
    const auto silent = static_cast<std::size_t>(sound - samples.rbegin());
    const std::size_t dot = SamplesOf(DotLength(wpm));
    samples.resize(samples.size() - std::min(silent > dot ? silent - dot : 0, SamplesOf(behind)));
  }
  output_.Play(samples);
}

void Sidetone::Key(bool down) {
  if (down == std::exchange(key_down_, down)) return;
  position_ = 0;
  if (!on_ || !output_.is_open()) return;  // the timer is of something else
  loop_.StopTimer(std::exchange(timer_, 0));
  output_.Stop();
  if (down) Hold();
}

void Sidetone::Start(Duration delay, void (Sidetone::*action)()) {
  loop_.StopTimer(timer_);
  timer_ = loop_.StartTimer(loop_.Now() + delay, [this, action] {
    timer_ = 0;
    (this->*action)();
  });
}

/// Gives a held tone on, some way ahead of what is heard.
void Sidetone::Hold() {
  if (!output_.is_open()) return;
  const Duration missing = kHeldAhead + kHeldPiece - output_.remaining();
  if (missing > Duration{0}) {
    const std::size_t count = SamplesOf(missing);
    output_.Play(RenderTone(tone_, position_, count));
    position_ += count;
  }
  Start(kHeldPiece, &Sidetone::Hold);
}

void Sidetone::Silence() {
  key_down_ = false;
  if (!on_ || !output_.is_open()) return;
  loop_.StopTimer(std::exchange(timer_, 0));
  output_.Stop();
}

Status Sidetone::Listen(const Tone& tone, int wpm) {
  if (auto opened = OpenOutput(); !opened) return opened;
  output_.Stop();
  std::size_t count = 0;
  for (const std::string_view symbol : kTrial) {
    const Samples samples = RenderSymbol(tone, symbol, wpm);
    count += samples.size();
    output_.Play(samples);
  }
  if (!on_) Start(DurationOf(count) + kMostBehind, &Sidetone::LeaveOutput);
  return Ok();
}

void Sidetone::Lost(const std::string& why) {
  if (on_notice) on_notice(why);
  if (on_) Start(kTryAgain, &Sidetone::TakeUp);
}

void Sidetone::TakeUp() {
  if (!on_) return;
  if (!OpenOutput()) return Start(kTryAgain, &Sidetone::TakeUp);
  if (on_notice) on_notice("The side tone sounds again");
  position_ = 0;
  if (key_down_) Hold();
}

}  // namespace kvx::keyer
