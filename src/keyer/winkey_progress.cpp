#include "keyer/winkey_progress.h"

#include <algorithm>
#include <cstddef>

#include "core/text.h"
#include "keyer/morse.h"
#include "keyer/winkey_bytes.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

constexpr int kSafePace = 5;
constexpr int kLowestPace = 900;
constexpr int kHighestPace = 1000;        // a slow one is given a little too much, which does no harm
constexpr int kLearnFrom = 300;           // dots: the end of a text is known to about two
constexpr Duration kEchoGrace = 250ms;    // for the echo of a symbol whose time is over
constexpr Duration kStatusGrace = 500ms;  // for the status byte that ends a text
constexpr Duration kSettle = 150ms;       // a status byte may have been on its way before a symbol reached the keyer
constexpr Duration kFullFor = 5s;
constexpr std::size_t kEchoReach = 3;
constexpr std::size_t kLateKept = 4;

}  // namespace

void WinkeyProgress::Reset(int wpm, Duration lead) {
  *this = WinkeyProgress();
  wpm_ = wpm;
  lead_ = lead;
}

Duration WinkeyProgress::Length(const Given& given) const {
  return MorseLength(given.symbol, wpm_) * pace_ / 1000;
}

void WinkeyProgress::Give(std::string_view symbol, TimePoint arrives) {
  if (given_.empty()) {
    began_ = arrives + lead_;
    run_began_ = began_;
    run_length_ = Duration{0};
    run_counts_ = true;
  }
  given_.push_back({Upper(symbol), arrives});
  run_length_ += MorseLength(symbol, wpm_);
}

void WinkeyProgress::Clear() {
  given_.clear();
  late_.clear();
  full_ = false;
  run_counts_ = false;
}

/// The part of the first symbol that has been sent stays sent.
void WinkeyProgress::SetSpeed(TimePoint now, int wpm) {
  if (!given_.empty() && began_ < now) {
    const Duration sent = std::min<Duration>(now - began_, Length(given_.front()));
    began_ = now - sent * wpm_ / std::max(wpm, 1);
  }
  wpm_ = wpm;
  run_counts_ = false;
}

void WinkeyProgress::Pop(TimePoint next_begins) {
  given_.pop_front();
  began_ = given_.empty() ? next_begins : std::max(next_begins, given_.front().arrives);
}

/// How long after its time a symbol may still be being sent for all that is known.
Duration WinkeyProgress::Grace() const {
  if (echoes_) return kEchoGrace;
  return given_.size() == 1 && busy_ ? kStatusGrace + run_length_ / 20 : Duration{0};
}

bool WinkeyProgress::Advance(TimePoint now) {
  const bool was_full = full_;
  if (full_ && now >= full_until_) full_ = false;
  bool changed = was_full != full_;
  while (!given_.empty()) {
    const TimePoint end = began_ + Length(given_.front());
    if (now < end + Grace()) break;
    late_.push_back(given_.front());
    if (late_.size() > kLateKept) late_.pop_front();
    Pop(end);
    changed = true;
  }
  return changed;
}

bool WinkeyProgress::Matches(const Given& given, char echo) {
  return ContainsNoCase(given.symbol, std::string_view(&echo, 1));
}

/// Echoes come in the order of the symbols, from some keyers when they begin one, from others when it is over.
bool WinkeyProgress::Echo(TimePoint now, char character) {
  const auto matches = [character](const Given& given) { return Matches(given, character); };
  if (const auto late = std::find_if(late_.begin(), late_.end(), matches); late != late_.end()) {
    late_.erase(late_.begin(), late + 1);
    echoes_ = true;
    began_ = now;
    for (const Given& behind : late_) began_ += Length(behind);
    return false;
  }
  const auto reach = given_.begin() + static_cast<std::ptrdiff_t>(std::min(kEchoReach, given_.size()));
  const auto given = std::find_if(given_.begin(), reach, matches);
  if (given == reach) return false;
  echoes_ = true;
  late_.clear();
  const bool over = given == given_.begin() && now >= began_ + Length(*given) / 2;
  const auto sent = over ? 1 : given - given_.begin();
  for (auto i = sent; i > 0; --i) Pop(now);
  began_ = now;
  return sent > 0;
}

bool WinkeyProgress::Status(TimePoint now, std::uint8_t status) {
  const bool was_full = full_;
  full_ = (status & kWinkeyXoff) != 0;
  full_until_ = now + kFullFor;
  busy_ = (status & kWinkeyBusy) != 0;
  const bool ended = !busy_ && !full_ && Idle(now);
  return ended || was_full != full_;
}

bool WinkeyProgress::Idle(TimePoint now) {
  bool ended = false;
  late_.clear();
  while (!given_.empty() && given_.front().arrives + kSettle <= now) {
    if (given_.size() == 1) Learn(now);
    Pop(now);
    ended = true;
  }
  return ended;
}

void WinkeyProgress::Learn(TimePoint now) {
  if (!run_counts_ || run_length_ < kLearnFrom * DotLength(wpm_)) return;
  const auto pace = static_cast<int>((now - run_began_) * 1000 / run_length_);
  pace_ = std::clamp(pace - kSafePace, kLowestPace, kHighestPace);
}

Duration WinkeyProgress::ahead(TimePoint now) const {
  if (given_.empty()) return Duration{0};
  Duration ahead = began_ - now;
  for (const Given& given : given_) ahead += Length(given);
  return std::max(ahead, Duration{0});
}

std::optional<TimePoint> WinkeyProgress::next() const {
  std::optional<TimePoint> next;
  if (full_) next = full_until_;
  if (given_.empty()) return next;
  const TimePoint end = began_ + Length(given_.front()) + Grace();
  return next ? std::min(*next, end) : end;
}

}  // namespace kvx::keyer
