#include "audio/signal_finder.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace kvx::audio {
namespace {

constexpr double kStep = 0.4;        // seconds that are worked on at once
constexpr double kLookEvery = 0.8;   // seconds
constexpr double kRecent = 6;        // seconds
constexpr double kTrial = 14;        // seconds until a tone must have proved to be keying
constexpr double kRefused = 20;      // seconds
constexpr double kSilence = 25;      // seconds until a silent signal is forgotten
constexpr double kSame = 30;         // Hz: no two within
constexpr double kReach = 14;        // Hz within which a decoder looks for its tone
constexpr int kProof = 3;            // characters
constexpr int kProofByStronger = 8;  // characters, beside a signal of which it may be an echo
constexpr std::size_t kCompared = 16;
constexpr double kAtOnce = 0.06;      // seconds
constexpr double kEchoBelow = 6;      // dB
constexpr double kEchoShare = 0.35;   // chance gives 0.03
constexpr double kEchoRefused = 120;  // seconds
constexpr std::size_t kMostTrials = 3;

bool Alike(const HeardSignal& a, const HeardSignal& b) {
  return std::tie(a.number, a.hertz, a.wpm, a.snr_db, a.present, a.text, a.callsigns) ==
         std::tie(b.number, b.hertz, b.wpm, b.snr_db, b.present, b.text, b.callsigns);
}

}  // namespace

SignalFinder::Follower::Follower(double rate, double hertz, const LetterModel& letters, std::int64_t begin)
    : decoder(rate, hertz, letters, kReach) {
  heard.hertz = hertz;
  decoder.on_text = [this, began = static_cast<double>(begin) / rate](const ReadText& read) {
    heard.text += read.text;
    if (heard.text.size() > kLongestText) heard.text.erase(0, heard.text.size() - kLongestText);
    picker.Add(read.text, read.confidence);
    if (read.text == " ") return;
    ++characters;
    last.emplace_back(read.text, began + read.seconds);
    if (last.size() > kCompared) last.pop_front();
  };
}

SignalFinder::SignalFinder(double samples_per_second, const LetterModel& letters)
    : letters_(letters), reducer_(samples_per_second), watch_(reducer_.rate()) {}

std::int64_t SignalFinder::Samples(double seconds) const {
  return std::llround(seconds * reducer_.rate());
}

void SignalFinder::Feed(std::span<const float> samples) {
  reducer_.Feed(samples, reduced_);
  const auto step = static_cast<std::size_t>(Samples(kStep));
  std::size_t at = 0;
  for (; at + step <= reduced_.size(); at += step) Step(std::span(reduced_).subspan(at, step));
  reduced_.erase(reduced_.begin(), reduced_.begin() + static_cast<std::ptrdiff_t>(at));
}

void SignalFinder::Step(std::span<const float> samples) {
  now_ += static_cast<std::int64_t>(samples.size());
  watch_.Feed(samples);
  recent_.insert(recent_.end(), samples.begin(), samples.end());
  const auto most = static_cast<std::size_t>(Samples(kRecent));
  if (recent_.size() > most) recent_.erase(recent_.begin(), recent_.end() - static_cast<std::ptrdiff_t>(most));
  for (const auto& follower : followers_) {
    follower->decoder.Feed(samples);
    Follow(*follower);
  }
  Drop();
  List();
  if (now_ >= next_look_) LookForSignals();
  Publish();
}

void SignalFinder::Follow(Follower& follower) const {
  const Reception reception = follower.decoder.reception();
  HeardSignal& heard = follower.heard;
  heard.present = reception.signal;
  heard.callsigns = follower.picker.callsigns();
  if (!reception.signal) return;
  follower.present = now_;
  heard.hertz = reception.hertz;
  heard.wpm = reception.wpm;
  heard.snr_db = reception.snr_db;
}

void SignalFinder::List() {
  for (const auto& follower : followers_) {
    const HeardSignal& heard = follower->heard;
    const bool beside = std::any_of(followers_.begin(), followers_.end(), [&](const auto& other) {
      return other->heard.present && heard.snr_db < other->heard.snr_db - kEchoBelow;
    });
    if (follower->listed || follower->characters < (beside ? kProofByStronger : kProof)) continue;
    if (Listed() == kMost) return;
    follower->listed = true;
    follower->heard.number = ++last_number_;
  }
}

std::size_t SignalFinder::Listed() const {
  const auto listed = std::count_if(followers_.begin(), followers_.end(), [](const auto& f) { return f->listed; });
  return static_cast<std::size_t>(listed);
}

void SignalFinder::Drop() {
  std::erase_if(refusals_, [&](const Refusal& refusal) { return refusal.until <= now_; });
  std::vector<const Follower*> gone;
  for (const auto& follower : followers_) {
    const auto original = std::find_if(followers_.begin(), followers_.end(), [&](const auto& other) {
      return other != follower && Echoes(*follower, *other);
    });
    const std::int64_t silent = now_ - std::max(follower->since, follower->present);
    const bool over = !follower->heard.present && silent > Samples(follower->listed ? kSilence : kTrial);
    const bool echo = original != followers_.end();
    if (!echo && !over) continue;
    gone.push_back(follower.get());
    const bool twin = echo && std::abs((*original)->heard.hertz - follower->heard.hertz) < kSame;
    const double refused = twin || (over && follower->listed) ? 0 : echo ? kEchoRefused : kRefused;
    refusals_.push_back({follower->heard.hertz, now_ + Samples(refused)});
  }
  std::erase_if(followers_, [&](const auto& f) { return std::find(gone.begin(), gone.end(), f.get()) != gone.end(); });
}

// The same keying at the same time: an overtone, a click, or a second follower of a tone.
bool SignalFinder::Echoes(const Follower& weaker, const Follower& stronger) {
  if (!weaker.heard.present || !stronger.heard.present) return false;
  if (std::abs(weaker.heard.hertz - stronger.heard.hertz) < kSame) return weaker.since > stronger.since;
  if (static_cast<int>(weaker.last.size()) < kProofByStronger ||
      weaker.heard.snr_db > stronger.heard.snr_db - kEchoBelow)
    return false;
  const auto same = std::count_if(weaker.last.begin(), weaker.last.end(), [&](const auto& a) {
    return std::any_of(stronger.last.begin(), stronger.last.end(),
                       [&](const auto& b) { return a.first == b.first && std::abs(a.second - b.second) < kAtOnce; });
  });
  return static_cast<double>(same) > kEchoShare * static_cast<double>(weaker.last.size());
}

bool SignalFinder::Known(double hertz) const {
  const auto near = [&](double other) { return std::abs(hertz - other) < kSame; };
  return std::any_of(followers_.begin(), followers_.end(), [&](const auto& f) { return near(f->heard.hertz); }) ||
         std::any_of(refusals_.begin(), refusals_.end(), [&](const Refusal& r) { return near(r.hertz); });
}

void SignalFinder::LookForSignals() {
  next_look_ = now_ + Samples(kLookEvery);
  for (const Peak& peak : watch_.Peaks()) {
    if (followers_.size() >= std::max(kMost, Listed() + kMostTrials)) return;
    if (Known(peak.hertz)) continue;
    const std::int64_t begin = now_ - static_cast<std::int64_t>(recent_.size());
    auto follower = std::make_unique<Follower>(reducer_.rate(), peak.hertz, letters_, begin);
    follower->since = now_;
    follower->decoder.Feed(recent_);
    Follow(*follower);
    followers_.push_back(std::move(follower));
  }
}

void SignalFinder::Publish() {
  std::vector<HeardSignal> signals;
  for (const auto& follower : followers_) {
    if (follower->listed) signals.push_back(follower->heard);
  }
  std::sort(signals.begin(), signals.end(), [](const auto& a, const auto& b) { return a.hertz < b.hertz; });
  if (std::equal(signals.begin(), signals.end(), signals_.begin(), signals_.end(), Alike)) return;
  signals_ = std::move(signals);
  if (on_change) on_change();
}

void SignalFinder::Finish() {
  if (!reduced_.empty()) {
    const std::vector<float> rest = std::exchange(reduced_, {});
    Step(rest);
  }
  for (const auto& follower : followers_) {
    follower->decoder.Finish();
    follower->picker.EndWord();
    Follow(*follower);
  }
  List();
  Publish();
}

}  // namespace kvx::audio
