#include "audio/best_decoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "audio/low_pass.h"
#include "audio/morse_table.h"

namespace kvx::audio {
namespace {

constexpr double kWorkEvery = 0.4;  // seconds
constexpr double kFirstLook = 3;
constexpr double kLookEvery = 1;
constexpr double kMostHistory = 12;
constexpr double kEnoughEvidence = 25;  // logarithms
constexpr double kEnoughMargin = 10;
constexpr double kLeastMargin = 3;  // after kLongLook
constexpr double kLongLook = 8;     // seconds
constexpr double kAhead = 1.2;      // seconds by which levels are known before they are used
constexpr double kLeastLag = 2;
constexpr double kLagDots = 26;
constexpr float kMostEnergy = 60;   // of a dot against the noise
constexpr double kFarthest = 90;    // Hz
constexpr double kLongUntuned = 4;  // seconds
constexpr int kDashesToTune = 5;
constexpr int kTuneSteps = 5;
constexpr std::size_t kTaps = 21;
constexpr double kCutoff = 92;  // Hz

}  // namespace

BestDecoder::BestDecoder(double samples_per_second, double hertz, const LetterModel& letters, double reach)
    : samples_per_second_(samples_per_second),
      hertz_(hertz),
      reach_(std::min(reach, ToneWatch::kReach)),
      letters_(letters),
      filter_(samples_per_second, hertz),
      rate_(filter_.rate()),
      watch_(rate_),
      next_look_(std::lround(kFirstLook * rate_)) {
  for (const double tap : LowPass(kTaps, kCutoff / rate_)) taps_.push_back(static_cast<float>(tap));
}

void BestDecoder::SetTone(double hertz) {
  hertz_ = hertz;
  filter_ = ToneFilter(samples_per_second_, hertz);
  watch_ = ToneWatch(rate_);
  history_begin_ += static_cast<Time>(history_.size());
  history_.clear();
  watched_ = history_begin_;
  next_look_ = history_begin_ + std::lround(kFirstLook * rate_);
  search_.reset();
}

Reception BestDecoder::reception() const {
  Reception now{.signal = search_.has_value(), .hertz = hertz_ + offset_};
  if (!search_) return now;
  now.wpm = 1.2 * rate_ / search_->times().dot();
  now.snr_db = 10 * std::log10(power_ / noise_ * rate_ / 2500);
  return now;
}

void BestDecoder::Feed(std::span<const float> samples) {
  const auto piece = static_cast<std::size_t>(kWorkEvery * samples_per_second_);
  for (; !samples.empty(); samples = samples.subspan(std::min(piece, samples.size()))) {
    filter_.Feed(samples.first(std::min(piece, samples.size())), history_);
    Work();
  }
}

void BestDecoder::Work() {
  const Time end = history_begin_ + static_cast<Time>(history_.size());
  if (end - watched_ < static_cast<Time>(kWorkEvery * rate_)) return;
  watch_.Feed(std::span(history_).subspan(static_cast<std::size_t>(watched_ - history_begin_)));
  watched_ = end;
  if (search_) {
    Read();
    if (end >= next_look_) CheckSpeed();
  }
  if (!search_ && end >= next_look_) LookForSignal(false);
  if (Needed() - history_begin_ > std::lround(rate_)) DropHistory(Needed());
}

void BestDecoder::Tune(double offset) {
  offset_ = offset;
  tuned_ = history_begin_;
  turn_ = 1;
  mixed_.clear();
  tone_.Restart(history_begin_);
}

void BestDecoder::MixUpTo(Time end) {
  const std::complex<double> step = std::polar(1.0, -2 * std::numbers::pi * offset_ / rate_);
  for (Time time = tone_.end(); time < end; ++time) {
    mixed_.push_back(history_[static_cast<std::size_t>(time - history_begin_)] * std::complex<float>(turn_));
    turn_ *= step;
    std::complex<float> sum;
    const std::size_t count = std::min(mixed_.size(), taps_.size());
    for (std::size_t i = 0; i < count; ++i) sum += taps_[i] * mixed_[mixed_.size() - 1 - i];
    tone_.Append(sum);
  }
  turn_ /= std::abs(turn_);
  if (mixed_.size() > taps_.size())
    mixed_.erase(mixed_.begin(), mixed_.end() - static_cast<std::ptrdiff_t>(taps_.size()));
}

void BestDecoder::LookForSignal(bool last) {
  if (!watch_.ready()) return;
  const Time end = history_begin_ + static_cast<Time>(history_.size());
  next_look_ = end + std::lround(kLookEvery * rate_);
  Tune(watch_.Strongest(reach_));
  MixUpTo(end);
  noise_ = watch_.Noise(offset_);
  SpeedFinding finding = SurveySpeed(tone_, tone_.begin(), tone_.end(), rate_, noise_);
  evidence_ = finding.evidence;
  const double seconds = static_cast<double>(tone_.end() - tone_.begin()) / rate_;
  const double margin = last ? 0 : seconds < kLongLook ? kEnoughMargin : kLeastMargin;
  if (finding.evidence < kEnoughEvidence || finding.margin < margin) return;
  Begin(finding, tone_.begin());
}

void BestDecoder::Begin(SpeedFinding finding, Time time) {
  const Time end = tone_.end();
  Tune(offset_ + SurveyTone(tone_, time, end, rate_, noise_, finding.dot, kTuneSteps));
  MixUpTo(end);
  RefineFinding(tone_, time, end, rate_, noise_, finding);
  next_look_ = end + std::lround(4 * rate_);
  search_.emplace(letters_, codes_, time, finding.dot);
  keyed_ = KeyedTone(time);
  level_scale_ = finding.level_scale;
  slips_ = 0;
  dashes_ = 0;
  Read();
}

void BestDecoder::KeyUpTo(Time end) {
  const Time from = std::max(tone_.begin(), keyed_.end() - std::lround(2 * rate_));
  LevelTrack levels(tone_, from, tone_.end(), rate_, noise_);
  levels.Soften(static_cast<float>(search_->times().dot()) / kMostEnergy);
  levels.Scale(level_scale_);
  keyed_.Append(tone_, levels, end);
  search_->Advance(keyed_);
}

void BestDecoder::Read() {
  MixUpTo(history_begin_ + static_cast<Time>(history_.size()));
  noise_ = watch_.Noise(offset_);
  KeyUpTo(tone_.end() - std::lround(kAhead * rate_));
  const double lag = std::max(kLeastLag * rate_, kLagDots * search_->times().dot());
  Emit(search_->Settle(search_->position() - std::lround(lag)));
  LearnFromMarks();
}

void BestDecoder::CheckSpeed() {
  const double window = std::max(9 * rate_, 55 * search_->times().dot());
  const Time end = tone_.end();
  next_look_ = end + std::lround(std::max(2.5 * rate_, 0.35 * window));
  const Time from = std::max(tone_.begin(), end - std::lround(window));
  SpeedFinding finding = SurveySpeed(tone_, from, end, rate_, noise_, search_->times().dot());
  evidence_ = finding.evidence;
  if (finding.evidence < 5) {
    KeyUpTo(tone_.end());
    Emit(search_->Settle(search_->position()));
    DropHistory(search_->position());
    search_.reset();
    watch_ = ToneWatch(rate_);  // what comes next may be another station
    watched_ = history_begin_;
    return;
  }
  const Time tuned = std::max(from, tuned_);
  if (static_cast<double>(end - tuned) > kLongUntuned * rate_) {
    Retune(SurveyTone(tone_, tuned, end, rate_, noise_, search_->times().dot(), 2));
  }
  if (std::abs(std::log(finding.dot / search_->times().dot())) > 0.16 && finding.gain > 12 + 0.08 * finding.evidence) {
    Begin(finding, std::max(search_->settled(), tone_.begin()));
  }
}

void BestDecoder::Emit(const std::vector<FoundSymbol>& symbols) {
  for (const FoundSymbol& symbol : symbols) {
    const bool blank = symbol.symbol == kBlank;
    if (blank && blank_) continue;
    blank_ = blank;
    if (!on_text) continue;
    const double seconds = static_cast<double>(symbol.end) / rate_;
    on_text({ShownText(CharacterOf(symbol.symbol)), seconds, 1 / (1 + std::exp(-symbol.gain / 4.0))});
  }
}

void BestDecoder::Retune(double off) {
  if (off == 0 || std::abs(offset_ + off) > kFarthest) return;
  offset_ += off;
  tuned_ = tone_.end();
}

void BestDecoder::LearnFromMarks() {
  for (const auto& [begin, end] : search_->TakeMarks()) {
    if (begin < tone_.begin()) continue;
    CorrectTuning(begin, end);
    const auto length = static_cast<float>(end - begin);
    const float power = std::norm(tone_.Integral(begin, end)) / (length * length) - noise_ / length;
    power_ += 0.1F * (power - power_);
  }
}

// Measured on what the mixer is given, so that a correction made since the mark does not matter.
void BestDecoder::CorrectTuning(Time begin, Time end) {
  const double dot = search_->times().dot();
  const Time first = begin - static_cast<Time>(kTaps / 2) - history_begin_;
  if (first < 0 || static_cast<double>(end - begin) < 2 * dot) return;
  const auto piece = static_cast<std::size_t>(dot * 0.75);
  const std::complex<double> step = std::polar(1.0, -2 * std::numbers::pi * offset_ / rate_);
  std::complex<double> turn = 1;
  std::array<std::complex<double>, 4> parts;
  for (std::size_t i = 0; i < parts.size() * piece; ++i, turn *= step) {
    parts[i / piece] += std::complex<double>(history_[static_cast<std::size_t>(first) + i]) * turn;
  }
  for (std::size_t i = 1; i < parts.size(); ++i) slips_ += parts[i] * std::conj(parts[i - 1]);
  if (++dashes_ < kDashesToTune) return;
  Retune(0.8 * std::arg(slips_) / (2 * std::numbers::pi * static_cast<double>(piece)) * rate_);
  slips_ = 0;
  dashes_ = 0;
}

BestDecoder::Time BestDecoder::Needed() const {
  const Time end = history_begin_ + static_cast<Time>(history_.size());
  const Time recent = end - std::lround(kMostHistory * rate_);
  return search_ ? std::min(recent, search_->settled() - std::lround(rate_)) : recent;
}

void BestDecoder::DropHistory(Time needed) {
  const Time gone = std::clamp<Time>(needed - history_begin_, 0, static_cast<Time>(history_.size()));
  history_.erase(history_.begin(), history_.begin() + gone);
  history_begin_ += gone;
  tone_.DropBefore(history_begin_);
  keyed_.DropBefore(history_begin_);
}

void BestDecoder::Finish() {
  if (!search_) LookForSignal(true);
  if (!search_) return;
  history_.resize(history_.size() + static_cast<std::size_t>(24 * search_->times().dot()) + kTaps);
  MixUpTo(history_begin_ + static_cast<Time>(history_.size()));
  KeyUpTo(tone_.end());
  Emit(search_->Settle(search_->position()));
}

}  // namespace kvx::audio
