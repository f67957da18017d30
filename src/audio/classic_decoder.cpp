#include "audio/classic_decoder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "audio/low_pass.h"

namespace kvx::audio {
namespace {

constexpr double kPieceSeconds = 0.016;
constexpr double kFirstLook = 0.7;  // seconds
constexpr double kLookEvery = 0.5;
constexpr double kMostHistory = 8;
constexpr double kLeastRetune = 0.6;  // Hz
constexpr std::size_t kTaps = 21;
constexpr double kCutoff = 92;  // Hz
constexpr double kFarthest = 70;

constexpr double kFastest = 0.0141;  // seconds: a dot at 85 words a minute
constexpr std::size_t kListeners = 10;
constexpr double kReach = 1.27;  // of a listener's speeds, on either side

constexpr float kUnlockedMargin = 3;
constexpr float kLockedMargin = 2.7F;
constexpr float kLeastShare = 0.04F;  // of what is heard near the tone: a strong neighbour's keying is no signal here
constexpr float kLeastUnlockedShare = 0.15F;  // nor are his key clicks, before a signal has been found
constexpr float kLoudnessMemory = 1000;       // samples
constexpr double kQuietDots = 9;              // without marks: the margin grows again
constexpr std::size_t kMarksToLock = 20;
constexpr std::size_t kMarksToFollow = 14;
constexpr std::size_t kMarksToChange = 8;
constexpr double kEnough = 5;
constexpr double kNever = 1e9;
constexpr std::size_t kLeastMarks = 6;
constexpr double kEnoughLast = 2;     // when nothing more comes
constexpr double kKnownSpeed = 2;     // what it counts that the speed is the last one
constexpr double kBetter = 5;         // by so much, for another speed
constexpr double kUnlike = -5;        // keying that agrees so badly is none
constexpr double kLongestPause = 25;  // dots
constexpr double kLongestPauseSeconds = 2.5;
constexpr std::size_t kGaps = 12;
constexpr double kAmple = 8;  // times the noise: stronger is strong enough

constexpr int kRestingThresh = 880;
constexpr int kMostThresh = 980;
constexpr int kBelowSignal = 30;

float AmplitudeOf(int thresh) {
  return static_cast<float>(std::pow(10, -thresh / 200.0));
}

/// All dots, or all dashes: which of them, only the gaps tell, if there are any within a character.
bool AreAlike(const std::vector<KeyedMark>& marks, double dot) {
  const auto is_dash = [&](const KeyedMark& mark) { return mark.length() > std::sqrt(3.0) * dot; };
  return std::all_of(marks.begin(), marks.end(), [&](const KeyedMark& m) { return is_dash(m) == is_dash(marks[0]); });
}

}  // namespace

ClassicDecoder::ClassicDecoder(double samples_per_second, double hertz, const WordList& words,
                               const ClassicSettings& settings)
    : samples_per_second_(samples_per_second),
      hertz_(hertz),
      limiter_(samples_per_second),
      filter_(samples_per_second, hertz),
      rate_(filter_.rate()),
      watch_(rate_),
      next_look_(std::lround(kFirstLook * rate_)),
      reader_(words) {
  for (const double tap : LowPass(kTaps, kCutoff / rate_)) taps_.push_back(static_cast<float>(tap));
  reader_.on_text = [this](const ReadText& text) {
    if (on_text) on_text(text);
  };
  SetSettings(settings);
}

void ClassicDecoder::SetSettings(const ClassicSettings& settings) {
  settings_ = settings;
  reader_.options = settings.compound;
}

void ClassicDecoder::SetTone(double hertz) {
  Release();
  hertz_ = hertz;
  filter_ = ToneFilter(samples_per_second_, hertz);
  history_begin_ += static_cast<Time>(history_.size());
  history_.clear();
  watched_ = history_begin_;
  tuned_ = false;
  dot_ = 0;
}

Reception ClassicDecoder::reception() const {
  Reception now{.signal = active_.has_value(), .hertz = hertz_ + offset_};
  if (!active_) return now;
  const float level = listeners_[*active_].detector.level();
  now.wpm = 1.2 * rate_ / dot_;
  now.snr_db = 10 * std::log10(std::max(level * level, 1e-12F) / noise_ * rate_ / 2500);
  return now;
}

ClassicControls ClassicDecoder::controls() const {
  ClassicControls controls{.Thresh = kRestingThresh};
  controls.CenterF = std::clamp(static_cast<int>(std::lround((hertz_ + offset_) / 2 * 2.65)), 0, 3000);
  if (!active_) return controls;
  const double level = std::max(1e-6F, listeners_[*active_].detector.level());
  controls.Thresh = std::clamp(static_cast<int>(std::lround(-200 * std::log10(level))) + kBelowSignal, 0, kMostThresh);
  controls.CWSp = static_cast<int>(std::lround(1.2 * rate_ / dot_));
  return controls;
}

void ClassicDecoder::Feed(std::span<const float> samples) {
  const auto piece = static_cast<std::size_t>(kPieceSeconds * samples_per_second_);
  for (; !samples.empty(); samples = samples.subspan(std::min(piece, samples.size()))) {
    FeedPiece(samples.first(std::min(piece, samples.size())));
  }
}

void ClassicDecoder::FeedPiece(std::span<const float> samples) {
  limited_.clear();
  limiter_.Feed(samples, limited_);
  filter_.Feed(limited_, history_);
  const Time end = history_begin_ + static_cast<Time>(history_.size());
  watch_.Feed(std::span(history_).subspan(static_cast<std::size_t>(watched_ - history_begin_)));
  watched_ = end;
  if (end >= next_look_ && watch_.ready()) {
    next_look_ = end + std::lround(kLookEvery * rate_);
    if (!active_) Tune();
    noise_ = watch_.Noise(offset_);
  }
  if (!tuned_) return;
  ListenUpTo(end);
  if (active_) {
    Follow();
  } else {
    Seek(false);
  }
  const Time most = std::lround(kMostHistory * rate_);
  if (end - history_begin_ > 2 * most) {
    history_.erase(history_.begin(), history_.end() - most);
    history_begin_ = end - most;
  }
}

void ClassicDecoder::MakeListeners(Time begin) {
  listeners_.clear();
  const std::size_t step = settings_.SlowCPU ? 2 : 1;
  for (std::size_t i = 0; i < kListeners; i += step) {
    const double dot = kFastest * std::pow(2, static_cast<double>(i) / 2) * rate_;
    listeners_.push_back({.detector = KeyDetector(dot, begin - static_cast<Time>(kTaps / 2)), .fit = {}});
  }
}

/// To the strongest tone; what has not been read yet is listened to anew.
void ClassicDecoder::Tune() {
  const double offset = watch_.Strongest(ToneWatch::kReach);
  if (tuned_ && std::abs(offset - offset_) < kLeastRetune) return;
  tuned_ = true;
  offset_ = offset;
  turn_ = 1;
  const Time end = history_begin_ + static_cast<Time>(history_.size());
  const Time recent = end - std::lround(kMostHistory * rate_);
  mixed_.clear();
  mixed_begin_ = std::max({history_begin_, recent, static_cast<Time>(std::ceil(read_until_))});
  noise_ = watch_.Noise(offset_);
  float sum = 0;
  for (Time time = mixed_begin_; time < end; ++time)
    sum += std::norm(history_[static_cast<std::size_t>(time - history_begin_)]);
  loudness_ = std::max(loudness_, sum / static_cast<float>(std::max<Time>(1, end - mixed_begin_)));
  MakeListeners(mixed_begin_);
}

void ClassicDecoder::ListenUpTo(Time end) {
  const std::complex<double> step = std::polar(1.0, -2 * std::numbers::pi * offset_ / rate_);
  for (Time time = mixed_begin_ + static_cast<Time>(mixed_.size()); time < end; ++time) {
    const std::complex<float> sample = history_[static_cast<std::size_t>(time - history_begin_)];
    loudness_ += (std::norm(sample) - loudness_) / kLoudnessMemory;
    const float share = active_ ? kLeastShare : kLeastUnlockedShare;
    const float squelch = std::max(AmplitudeOf(settings_.Thresh), share * std::sqrt(loudness_));
    mixed_.push_back(sample * std::complex<float>(turn_));
    turn_ *= step;
    std::complex<float> sum;
    const std::size_t count = std::min(mixed_.size(), taps_.size());
    for (std::size_t i = 0; i < count; ++i) sum += taps_[i] * mixed_[mixed_.size() - 1 - i];
    for (std::size_t i = 0; i < listeners_.size(); ++i) {
      const bool awaited = active_ == i && static_cast<double>(time) - read_until_ < kQuietDots * dot_;
      listeners_[i].detector.Feed(sum, noise_, awaited ? kLockedMargin : kUnlockedMargin, squelch);
    }
  }
  turn_ /= std::abs(turn_);
  const auto most = static_cast<std::size_t>(4 * rate_);
  if (mixed_.size() > 2 * most) {
    mixed_begin_ += static_cast<Time>(mixed_.size() - most);
    mixed_.erase(mixed_.begin(), mixed_.end() - static_cast<std::ptrdiff_t>(most));
  }
}

/// Looks for keying among the marks that have not been read. `last`: nothing more comes.
void ClassicDecoder::Seek(bool last) {
  std::size_t best = 0;
  double best_score = -1e9;
  bool sure = false;
  for (std::size_t i = 0; i < listeners_.size(); ++i) {
    Listener& listener = listeners_[i];
    const KeyDetector& detector = listener.detector;
    const std::vector<KeyedMark> marks = detector.MarksAfter(read_until_, kMarksToLock);
    if (marks.empty()) continue;
    if (detector.marks_seen() != listener.seen) {
      const double reach = settings_.SlowCPU ? kReach * kReach : kReach;
      listener.seen = detector.marks_seen();
      listener.fit = FitSpeed(marks, detector.dot() / reach, detector.dot() * reach);
    }
    const bool known = dot_ > 0 && std::abs(std::log(listener.fit.dot / dot_)) < 0.12;
    const double pause = AreAlike(marks, listener.fit.dot) ? kLongestPause : kQuietDots;
    const bool ended = last || detector.silent_until() - marks.back().end > pause * listener.fit.dot;
    const bool strong = marks.back().level > 5 * detector.NoiseLevel(noise_);
    const double score = listener.fit.score + (known ? kKnownSpeed : 0);
    const double wanted = ended && strong ? kEnoughLast : marks.size() < kLeastMarks ? kNever : kEnough;
    if (score >= wanted && score > best_score) {
      best = i;
      best_score = score;
      sure = ended || listener.fit.dashes;
    }
  }
  if (sure) Lock(best, listeners_[best].fit);
}

/// Whose marks are best for a speed: the strongest signals need no average over most of a dot, and an unsteady hand's
/// short gaps show better without.
std::size_t ClassicDecoder::ListenerFor(double dot, std::size_t present) const {
  const KeyDetector& detector = listeners_[present].detector;
  const double level =
      detector.level() / std::max(1e-9F, detector.NoiseLevel(noise_)) * std::sqrt(dot / detector.dot());
  const double wanted = dot / std::clamp(level * level / (kAmple * kAmple), 1.0, 2.0);
  const auto off = [&](std::size_t i) { return std::abs(std::log(listeners_[i].detector.dot() / wanted)); };
  std::size_t best = present;
  for (std::size_t i = 0; i < listeners_.size(); ++i) {
    if (off(i) < off(best) - (best == present ? 0.1 : 0)) best = i;
  }
  return best;
}

void ClassicDecoder::Lock(std::size_t listener, const SpeedFit& fit) {
  active_ = ListenerFor(fit.dot, listener);
  if (listeners_[*active_].detector.MarksAfter(read_until_, 1).empty()) active_ = listener;
  long_gaps_.clear();
  TakeSpeed(fit, true);
  const std::vector<KeyedMark> marks = listeners_[*active_].detector.MarksAfter(read_until_, 1000);
  std::size_t first = marks.size() - 1;
  while (first > 0 && marks[first].begin - marks[first - 1].end < kLongestPause * dot_) --first;
  reader_.Silence(1e9);
  for (std::size_t i = first; i < marks.size(); ++i) ReadMark(marks[i]);
}

void ClassicDecoder::TakeSpeed(const SpeedFit& fit, bool now) {
  dot_ = fit.dot;
  // A dash of an unsteady hand misses by more than a dot does.
  const double d = 3 * dot_ * (1 - 1.2 * std::clamp(fit.spread - 0.06, 0.0, 0.15));
  if (now) reader_.Expect(Milliseconds(d), Milliseconds(WordGap() * dot_));
  reader_.ExpectNext(Milliseconds(d), Milliseconds(WordGap() * dot_));
}

/// In dots: from how long the gaps between characters are, the shorter ones among the long.
double ClassicDecoder::WordGap() const {
  if (long_gaps_.empty()) return 5;
  std::vector<double> sorted(long_gaps_.begin(), long_gaps_.end());
  std::sort(sorted.begin(), sorted.end());
  if (sorted.size() < 4) return std::clamp(1.6 * sorted[0], 5.0, 14.0);
  return std::clamp(1.7 * sorted[sorted.size() * 2 / 5], 4.4, 14.0);
}

void ClassicDecoder::ReadMark(const KeyedMark& mark) {
  const double gap = mark.begin - read_until_;
  reader_.Silence(Milliseconds(gap));
  reader_.Tone(Milliseconds(mark.length()), mark.end / rate_ - ClickLimiter::kDelay);
  read_until_ = mark.end;
  if (gap > 1.8 * dot_ && gap < kLongestPause * dot_) {
    if (long_gaps_.size() == kGaps) long_gaps_.pop_front();
    long_gaps_.push_back(gap / dot_);
  }
}

void ClassicDecoder::Follow() {
  const KeyDetector& detector = listeners_[*active_].detector;
  for (const KeyedMark& mark : detector.MarksAfter(read_until_ - 0.5, 1000)) {
    ReadMark(mark);
    CorrectTuning(mark);
    const std::vector<KeyedMark> marks = detector.MarksAfter(-1e9, kMarksToFollow);
    const SpeedFit fit = FitSpeed(marks, dot_ / 1.2, dot_ * 1.2);
    if (marks.size() == kMarksToFollow && fit.score < kUnlike) return Release();
    if (fit.score > 0) TakeSpeed(fit, false);
    if (ChangeSpeed()) return;
    const std::size_t better = ListenerFor(dot_, *active_);
    if (better != *active_) {
      active_ = better;
      return;
    }
  }
  const double silence = detector.silent_until() - read_until_;
  reader_.Silence(Milliseconds(silence));
  if (silence > std::max(kLongestPauseSeconds * rate_, kLongestPause * dot_)) Release();
}

/// Goes over to a listener that agrees better with what is sent now.
bool ClassicDecoder::ChangeSpeed() {
  const std::vector<KeyedMark> own = listeners_[*active_].detector.MarksAfter(-1e9, kMarksToChange);
  const double own_score = FitSpeed(own, dot_ / 1.2, dot_ * 1.2).score;
  for (std::size_t i = 0; i < listeners_.size(); ++i) {
    const KeyDetector& detector = listeners_[i].detector;
    if (i == *active_) continue;
    const std::vector<KeyedMark> marks = detector.MarksAfter(own.front().begin, kMarksToChange);
    if (marks.size() < 5) continue;
    const SpeedFit fit = FitSpeed(marks, detector.dot() / kReach, detector.dot() * kReach);
    if (std::abs(std::log(fit.dot / dot_)) < 0.15 || fit.score < std::max(kEnough, own_score + kBetter) || !fit.dashes)
      continue;
    active_ = ListenerFor(fit.dot, i);
    TakeSpeed(fit, true);
    return true;
  }
  return false;
}

/// Waits for keying to begin anew.
void ClassicDecoder::Release() {
  reader_.Silence(1e9);
  active_.reset();
  watch_ = ToneWatch(rate_);  // what comes next may be another station
  slips_ = 0;
  slipped_ = 0;
}

/// By how far the phase turns within marks.
void ClassicDecoder::CorrectTuning(const KeyedMark& mark) {
  const auto begin = static_cast<Time>(mark.begin) - mixed_begin_;
  const auto end = static_cast<Time>(mark.end) - mixed_begin_;
  const auto apart = std::max<Time>(2, std::lround(dot_ / 2));
  if (begin < 0 || end > static_cast<Time>(mixed_.size())) return;
  for (Time time = begin + apart; time < end; ++time) {
    slips_ += std::complex<double>(mixed_[static_cast<std::size_t>(time)]) *
              std::conj(std::complex<double>(mixed_[static_cast<std::size_t>(time - apart)]));
  }
  slipped_ += mark.length();
  if (slipped_ < std::max(8 * dot_, 0.3 * rate_)) return;
  const double off = 0.7 * std::arg(slips_) / (2 * std::numbers::pi * static_cast<double>(apart)) * rate_;
  offset_ = std::clamp(offset_ + off, -kFarthest, kFarthest);
  slips_ = 0;
  slipped_ = 0;
}

void ClassicDecoder::Finish() {
  const std::vector<float> silence(static_cast<std::size_t>(samples_per_second_ * 0.1));
  const double seconds = std::max(kFirstLook, 16 * dot_ / rate_) + 1;
  if (tuned_) next_look_ = std::numeric_limits<Time>::max();  // there is no noise now
  for (double fed = 0; fed < seconds; fed += 0.1) Feed(silence);
  if (!active_) Seek(true);
  reader_.Silence(1e9);
}

}  // namespace kvx::audio
