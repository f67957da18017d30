#include "audio/best_decoder.h"

#include <algorithm>
#include <cmath>

#include "audio/morse_table.h"

namespace kvx::audio {
namespace {

constexpr double kWorkEvery = 0.4;  // seconds
constexpr double kFirstLook = 3;
constexpr double kLookEvery = 1;
constexpr double kMostHistory = 12;
constexpr double kEnoughEvidence = 25;       // logarithms
constexpr double kEnoughShortEvidence = 60;  // of a short over
constexpr double kEnoughMargin = 10;
constexpr double kLeastMargin = 3;  // after kLongLook
constexpr double kLongLook = 8;     // seconds
constexpr double kEndDots = 24;     // silence after which all has been said
constexpr double kAhead = 1.2;      // seconds by which levels are known before they are used
constexpr double kLeastLag = 2;
constexpr double kLagDots = 26;
constexpr float kMostEnergy = 60;  // of a dot against the noise
constexpr double kLevelDots = 16;  // on either side
constexpr double kShortestLevel = 0.6;

constexpr double kCheckEvery = 0.8;  // seconds
constexpr double kCheckSeconds = 2.6;
constexpr double kCheckDots = 30;
constexpr double kHeard = 8;  // evidence
constexpr double kSilenceSeconds = 6;
constexpr double kSilenceDots = 40;
constexpr double kChangeGain = 12;
constexpr double kForgetting = 0.2;
constexpr double kSpacingGain = 9;
constexpr double kChangeShare = 0.08;  // of the evidence

constexpr double kShortLag = 0.02;  // seconds: sure to be within a dot
constexpr double kLongLag = 0.75;   // dots
constexpr double kLongestLag = 0.04;
constexpr double kSteepest = 2;   // Hz a second
constexpr double kSure = 3;       // deviations
constexpr double kFarthest = 50;  // Hz from the middle
constexpr int kTuneSteps = 5;
constexpr double kFirstDeviation = 0.12;  // turns in a dash
constexpr double kSlopeDeviation = 0.2;   // Hz a second

}  // namespace

BestDecoder::BestDecoder(double samples_per_second, double hertz, const LetterModel& letters, double reach)
    : samples_per_second_(samples_per_second),
      hertz_(hertz),
      reach_(std::min(reach, ToneWatch::kReach)),
      letters_(letters),
      limiter_(samples_per_second),
      filter_(samples_per_second, hertz),
      rate_(filter_.rate()),
      watch_(rate_),
      tuned_(rate_),
      tracker_(rate_),
      next_look_(Samples(kFirstLook)) {}

BestDecoder::Time BestDecoder::Samples(double seconds) const {
  return std::lround(seconds * rate_);
}

void BestDecoder::SetTone(double hertz) {
  hertz_ = hertz;
  filter_ = ToneFilter(samples_per_second_, hertz);
  watch_ = ToneWatch(rate_);
  DropHistory(tuned_.end());
  watched_ = tuned_.end();
  next_look_ = watched_ + Samples(kFirstLook);
  search_.reset();
}

Reception BestDecoder::reception() const {
  Reception now{.signal = search_.has_value(), .hertz = hertz_ + tracker_.course().hertz};
  if (!search_) return now;
  now.wpm = 1.2 * rate_ / search_->times().dot();
  now.snr_db = 10 * std::log10(std::max(power_, 1e-12F) / noise_ * rate_ / 2500);
  return now;
}

void BestDecoder::Feed(std::span<const float> samples) {
  const auto piece = static_cast<std::size_t>(kWorkEvery * samples_per_second_);
  for (; !samples.empty(); samples = samples.subspan(std::min(piece, samples.size()))) {
    limited_.clear();
    limiter_.Feed(samples.first(std::min(piece, samples.size())), limited_);
    filter_.Feed(limited_, tuned_.samples());
    Work();
  }
}

void BestDecoder::Work() {
  const Time end = tuned_.end();
  if (end - watched_ < Samples(kWorkEvery)) return;
  watch_.Feed(std::span(tuned_.samples()).subspan(static_cast<std::size_t>(watched_ - tuned_.begin())));
  watched_ = end;
  if (search_) {
    Read();
    Recentre();
    if (end >= next_look_) CheckSender();
  }
  if (!search_ && end >= next_look_) LookForSignal(false);
  if (Needed() - tuned_.begin() > Samples(1)) DropHistory(Needed());
}

BestDecoder::Finding BestDecoder::Survey(Time from, Time to, double level_reach) const {
  const ToneSignal& tone = tuned_.tone();
  Finding finding{.tone = {}, .course = tracker_.course(), .speed = {}};
  auto fit = FitTone(tone, from, to, rate_, noise_, Samples(kShortLag));
  if (fit && std::abs(fit->off.slope) > kSteepest / rate_) {  // no drift: another tone
    fit = FitTone(tone, to - (to - from) / 3, to, rate_, noise_, Samples(kShortLag));
    if (fit) fit->off.slope = 0;
  }
  ToneCourse off{.hertz = 0, .slope = 0, .at = from};
  if (fit) {
    const bool bent = std::abs(fit->off.slope) > kSure * std::sqrt(fit->slope_variance);
    const bool away = std::abs(fit->off.hertz) > kSure * std::sqrt(fit->hertz_variance);
    if (bent) off = fit->off;
    if (away) off.hertz = fit->off.hertz, off.at = fit->off.at;
  }
  finding.tone = tone.Turned(from, to, off.HertzAt(from) / rate_, off.slope / rate_);
  finding.course = {finding.course.HertzAt(off.at) + off.hertz, finding.course.slope + off.slope, off.at};
  finding.speed = SurveySpeed(finding.tone, from, to, rate_, noise_, level_reach);
  return finding;
}

void BestDecoder::LookForSignal(bool last) {
  if (!watch_.ready()) return;
  const Time end = tuned_.end();
  next_look_ = end + Samples(kLookEvery);
  tracker_.Begin({.hertz = watch_.Strongest(reach_), .slope = 0, .at = end}, 1, 0);
  tuned_.SetDot(0);
  tuned_.Tune(tracker_.course());
  noise_ = watch_.Noise(tracker_.course().hertz);
  Finding finding = Survey(tuned_.begin(), end);
  const double seconds = static_cast<double>(end - tuned_.begin()) / rate_;
  const double margin = last ? 0 : seconds < kLongLook ? kEnoughMargin : kLeastMargin;
  const auto is_keying = [&](const SpeedFinding& speed, double evidence) {
    return speed.evidence >= evidence && speed.margin >= margin && speed.proved();
  };
  if (!is_keying(finding.speed, kEnoughEvidence)) {
    // Of a short over there is too little for levels out of a longer time. While more may come, that is waited for.
    if (!last) return;
    finding = Survey(tuned_.begin(), end, kShortestLevel);
    if (!is_keying(finding.speed, kEnoughShortEvidence)) return;
  }
  Begin(finding, tuned_.begin());
}

void BestDecoder::Begin(const Finding& finding, Time time) {
  const Time end = tuned_.end();
  SpeedFinding speed = finding.speed;
  ToneCourse course = finding.course;
  tuned_.SetDot(speed.dot);
  tuned_.Tune(course);
  double slope_deviation = kSlopeDeviation / rate_;
  const auto fit = FitTone(tuned_.tone(), time, end, rate_, noise_, std::lround(kLongLag * speed.dot));
  if (fit && std::abs(fit->off.slope) > kSure * std::sqrt(fit->slope_variance)) {
    course = {course.HertzAt(fit->off.at) + fit->off.hertz, course.slope + fit->off.slope, fit->off.at};
    slope_deviation = std::min(slope_deviation, std::sqrt(fit->slope_variance));
    tuned_.Tune(course);
  }
  course.hertz += SurveyTone(tuned_.tone(), time, end, rate_, noise_, speed.dot, kTuneSteps, speed.level_reach);
  tuned_.Tune(course);
  RefineFinding(tuned_.tone(), time, end, rate_, noise_, speed);
  const double deviation = kFirstDeviation * rate_ / (3 * speed.dot);
  tracker_.Begin({course.HertzAt(end), course.slope, end}, deviation, slope_deviation);
  next_look_ = end + Samples(kCheckEvery);
  heard_ = end;
  search_.emplace(letters_, codes_, time, KeyingTimes(speed.dot, speed.spacing));
  keyed_ = KeyedTone(time);
  level_scale_ = speed.level_scale;
  power_ = 0;
  spacing_evidence_ = {};
  Read();
}

void BestDecoder::KeyUpTo(Time end) {
  const ToneSignal& tone = tuned_.tone();
  const double dot = search_->times().dot();
  const Time from = std::max(tone.begin(), keyed_.end() - Samples(2));
  const double reach = std::clamp(kLevelDots * dot / rate_, kShortestLevel, LevelTrack::kReach);
  LevelTrack levels(tone, from, tone.end(), rate_, noise_, reach);
  levels.Soften(static_cast<float>(dot) / kMostEnergy);
  levels.Scale(level_scale_);
  keyed_.Append(tone, levels, end);
  search_->Advance(keyed_);
}

void BestDecoder::Read() {
  const ToneSignal& tone = tuned_.tone();
  const Time from = tone.end();
  const double dot = search_->times().dot();
  tuned_.MixUpTo(tracker_.course(), tuned_.end());
  noise_ = watch_.Noise(tracker_.course().hertz);
  tracker_.Track(tone, from, tone.end(), noise_, power_, std::lround(std::min(kLongLag * dot, kLongestLag * rate_)));
  KeyUpTo(tone.end() - Samples(kAhead));
  const double lag = std::max(kLeastLag * rate_, kLagDots * dot);
  Emit(search_->Settle(search_->position() - std::lround(lag)));
  LearnFromMarks();
}

// Whether still the same sender is heard, at his speed and on his tone.
void BestDecoder::CheckSender() {
  const ToneSignal& tone = tuned_.tone();
  const KeyingTimes& times = search_->times();
  const Time end = tone.end();
  next_look_ = end + Samples(kCheckEvery);
  const Time from =
      std::max(tone.begin(), end - std::lround(std::max(kCheckSeconds * rate_, kCheckDots * times.dot())));
  const Finding finding = Survey(from, end);
  if (finding.speed.evidence > kHeard) heard_ = end;
  if (static_cast<double>(end - heard_) > std::max(kSilenceSeconds * rate_, kSilenceDots * times.dot())) return Leave();
  const auto current = SurveySpacing(tone, finding.tone, from, end, rate_, noise_, times.dot());
  WeighSpacing(current);
  const double gain = finding.speed.over_noise - *std::max_element(current.begin(), current.end());
  if (gain < kChangeGain + kChangeShare * finding.speed.evidence || !finding.speed.proved()) return;
  const Time change = SurveyChange(tone, times.dot(), finding.tone, finding.speed.dot, from, end, rate_, noise_);
  ReadOut(change);
  Begin(finding, std::max(change, search_->settled()));
}

// What a sender said last, up to where another one seems to have begun.
void BestDecoder::ReadOut(Time change) {
  KeyUpTo(std::max(change, keyed_.end()));
  const auto silence = static_cast<Time>(kEndDots * search_->times().dot());
  KeyingSearch rest(letters_, codes_, search_->settled(), search_->times());
  rest.Advance(keyed_.Ended(change, silence));
  Emit(rest.Settle(rest.position()));
}

// Gaps are few: it takes several looks to tell whether they are longer than usual.
void BestDecoder::WeighSpacing(const std::array<double, kSpacings.size()>& evidence) {
  std::size_t best = 0;
  std::size_t used = 0;
  for (std::size_t i = 0; i < evidence.size(); ++i) {
    spacing_evidence_[i] += evidence[i] - evidence[0] - kForgetting * spacing_evidence_[i];
    if (spacing_evidence_[i] > spacing_evidence_[best]) best = i;
    const auto off = [&](std::size_t j) { return std::abs(std::log(search_->times().spacing() / kSpacings[j])); };
    if (off(i) < off(used)) used = i;
  }
  if (spacing_evidence_[best] - spacing_evidence_[used] < kSpacingGain) return;
  Restart(search_->settled(), KeyingTimes(search_->times().dot(), kSpacings[best]));
}

void BestDecoder::Restart(Time time, const KeyingTimes& times) {
  search_.emplace(letters_, codes_, time, times);
  KeyUpTo(tuned_.tone().end() - Samples(kAhead));
}

void BestDecoder::Leave() {
  KeyUpTo(tuned_.tone().end());
  Emit(search_->Settle(search_->position()));
  DropHistory(search_->position());
  search_.reset();
  watch_ = ToneWatch(rate_);  // what comes next may be another station
  watched_ = tuned_.begin();
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

void BestDecoder::LearnFromMarks() {
  for (const auto& [begin, end] : search_->TakeMarks()) {
    if (begin < tuned_.tone().begin()) continue;
    const auto length = static_cast<float>(end - begin);
    const float power = std::norm(tuned_.tone().Integral(begin, end)) / (length * length) - noise_ / length;
    power_ += (power_ == 0 ? 1.0F : 0.1F) * (power - power_);
  }
}

// A tone that has drifted far is brought back to where the filter lets it through.
void BestDecoder::Recentre() {
  const double off = tracker_.course().hertz;
  if (std::abs(off) < kFarthest) return;
  filter_.SetTone(hertz_ + off, tuned_.TurnOf(off, tuned_.end()));
  tuned_.MoveMiddle(off);
  tracker_.MoveMiddle(off);
  hertz_ += off;
  watch_ = ToneWatch(rate_);
  watch_.Feed(tuned_.samples());
}

BestDecoder::Time BestDecoder::Needed() const {
  const Time recent = tuned_.end() - Samples(kMostHistory);
  return search_ ? std::min(recent, search_->settled() - Samples(1)) : recent;
}

void BestDecoder::DropHistory(Time needed) {
  tuned_.DropBefore(needed);
  keyed_.DropBefore(tuned_.begin());
}

void BestDecoder::Finish() {
  if (!search_) LookForSignal(true);
  if (!search_) return;
  tuned_.samples().resize(tuned_.samples().size() + static_cast<std::size_t>(kEndDots * search_->times().dot()) + 50);
  tuned_.MixUpTo(tracker_.course(), tuned_.end());
  KeyUpTo(tuned_.tone().end());
  Emit(search_->Settle(search_->position()));
}

}  // namespace kvx::audio
