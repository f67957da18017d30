#include "keyer/software_keyer.h"

#include <algorithm>
#include <utility>

#include "keyer/morse.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;
using platform::KeyStep;

constexpr std::size_t kAhead = 2;  // symbols in the line
constexpr int kPerDot = 1000;      // the times of a pattern are in thousandths of a dot
/// With less than this in the line it may have run dry before more of it has arrived.
constexpr Duration kNearlyDry = 3ms;
constexpr Duration kFirstRetry = 250ms;
constexpr Duration kLongestRetry = 4s;

void Append(std::vector<KeyStep>& steps, bool key, bool ptt, Duration length) {
  if (length <= Duration{0}) return;
  if (!steps.empty() && steps.back().key == key && steps.back().ptt == ptt) {
    steps.back().length += length;
  } else {
    steps.push_back({.key = key, .ptt = ptt, .length = length});
  }
}

}  // namespace

SoftwareKeyer::SoftwareKeyer(Loop& loop, std::unique_ptr<platform::KeyLine> line, const KeyerSettings& settings)
    : loop_(loop), line_(std::move(line)), settings_(settings) {
  if (!settings_.use_ptt) settings_.lead = settings_.tail = Duration{0};
  SetSpeed(settings.speed);
  line_->on_mark = [this](int mark) { Began(mark); };
  line_->on_idle = [this] { Ended(); };
  line_->on_lost = [this](const std::string& why) { Lost(why); };
  line_->on_notice = [this](const std::string& text) { Tell(on_notice, text); };
}

SoftwareKeyer::~SoftwareKeyer() {
  Close();
}

void SoftwareKeyer::Open() {
  if (ready_ || (opening_ != 0 && retry_ == Duration{0})) return;
  loop_.StopTimer(opening_);
  retry_ = Duration{0};
  const Status opened = line_->Open();
  failed_ = !opened;
  opening_ = loop_.StartTimer(loop_.Now(), [this, why = opened ? std::string() : opened.error().message] {
    opening_ = 0;
    if (!failed_) return Opened();
    retry_ = kFirstRetry;
    OpenAgain();
    Tell(on_failed, why);
  });
}

void SoftwareKeyer::Opened() {
  ready_ = true;
  failed_ = false;
  retry_ = Duration{0};
  Tell(on_ready);
}

void SoftwareKeyer::OpenAgain() {
  opening_ = loop_.StartTimer(loop_.Now() + retry_, [this] {
    opening_ = 0;
    if (line_->Open()) return Opened();
    retry_ = std::min(2 * retry_, kLongestRetry);
    OpenAgain();
  });
}

void SoftwareKeyer::Close() {
  loop_.StopTimer(std::exchange(opening_, 0));
  Abort();
  line_->Close();
  ready_ = failed_ = false;
  retry_ = Duration{0};
}

std::string_view SoftwareKeyer::state() const {
  if (failed_ || retry_ != Duration{0}) return "failed";
  if (opening_ != 0) return "starting";
  if (!ready_) return "closed";
  return symbols_.empty() && !keyed_ ? "ready" : "busy";
}

std::size_t SoftwareKeyer::room() const {
  return !ready_ || keyed_ || symbols_.size() >= kAhead ? 0 : kAhead - symbols_.size();
}

void SoftwareKeyer::sendwave(std::string_view symbol) {
  const std::string pattern = MorsePattern(symbol);
  if (!ready_ || keyed_ || pattern.empty()) return;
  // Every symbol, even a blank, ends with a pause: a letter's is then three units long in all and a word's seven.
  DelayTwo(pattern + " ");
}

void SoftwareKeyer::DelayTwo(std::string_view pattern) {
  const Duration dot = DotLength(settings_.speed);
  const Duration weight = std::clamp<Duration>(settings_.compensation * 1ms, -dot / 2, dot / 2);
  const bool keys = pattern.find_first_not_of(' ') != std::string_view::npos;
  const bool on = ptt_is_on();
  ptt_ = settings_.use_ptt && (keys || on);
  std::vector<KeyStep> steps;
  if (keys && !on) Append(steps, false, ptt_, settings_.lead);
  const std::size_t first = steps.size();
  for (const char element : pattern) {
    const int down = element == '-' ? 3 * kPerDot : element == '.' ? kPerDot : 0;
    const int up = element == ' ' ? 2 * kPerDot : kPerDot;
    const Duration extra = down > 0 ? weight : Duration{0};
    if (down > 0) Append(steps, true, ptt_, dot * down / kPerDot + extra);
    Append(steps, false, ptt_, dot * up / kPerDot - extra);
  }
  symbols_.push_back(++last_mark_);
  steps[first].mark = last_mark_;
  silence_ = keys ? steps.back().length : silence_ + steps.back().length;
  if (ptt_ && settings_.tail > silence_) steps.push_back(Tail(settings_.tail - silence_));
  line_->Play(std::move(steps));
}

bool SoftwareKeyer::ptt_is_on() const {
  return ptt_ && line_->remaining() >= kNearlyDry;
}

KeyStep SoftwareKeyer::Tail(Duration length) {
  return {.key = false, .ptt = true, .length = length, .mark = ++last_mark_, .tail = true};
}

void SoftwareKeyer::Abort() {
  line_->Release();
  symbols_.clear();
  ptt_ = keyed_ = false;
}

void SoftwareKeyer::SetSpeed(int wpm) {
  settings_.speed = std::clamp(wpm, kSlowest, kFastest);
}

bool SoftwareKeyer::Key(bool down) {
  if (!ready_) return false;
  if (down == keyed_) return true;
  std::vector<KeyStep> steps;
  // One step, so that the key comes up in time whatever becomes of this program's loop.
  if (down && !ptt_is_on()) Append(steps, false, settings_.use_ptt, settings_.lead);
  if (down) Append(steps, true, settings_.use_ptt, settings_.tune_limit);
  if (settings_.tail > Duration{0}) steps.push_back(Tail(settings_.tail));
  symbols_.clear();
  silence_ = Duration{0};
  keyed_ = down;
  ptt_ = settings_.use_ptt;
  line_->PlayInstead(std::move(steps));
  return true;
}

/// A step with a mark begins: a symbol's first element, or the tail after the last symbol or after tuning.
void SoftwareKeyer::Began(int mark) {
  keyed_ = false;
  while (symbols_.size() > 1 && symbols_[1] <= mark) symbols_.pop_front();
  if (!symbols_.empty() && symbols_.back() < mark) symbols_.clear();
  Progress();
}

void SoftwareKeyer::Ended() {
  symbols_.clear();
  keyed_ = ptt_ = false;
  Progress();
}

void SoftwareKeyer::Lost(const std::string& why) {
  symbols_.clear();
  ready_ = keyed_ = ptt_ = false;
  retry_ = kFirstRetry;
  OpenAgain();
  Tell(on_lost, why);
}

void SoftwareKeyer::Progress() {
  Tell(on_progress);
}

}  // namespace kvx::keyer
