#include "keyer/winkeyer.h"

#include <algorithm>
#include <utility>

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

constexpr int kBaud = 1200;
constexpr int kBitsPerByte = 11;
constexpr Duration kPass = 100us;
constexpr int kPasses = 30'000;  // for the three waits of a start-up together
constexpr Duration kSilence = 300ms;
constexpr Duration kFirstRetry = 250ms;
constexpr Duration kSlowestRetry = 1s;
constexpr Duration kDeliverTime = 500ms;

// Few enough to take text back, enough for the line and a busy loop.
constexpr std::size_t kAheadSymbols = 3;
constexpr std::size_t kMostAhead = 40;
constexpr Duration kAheadTime = 1200ms;

constexpr const char* kSilentKeyer = "Unable to initialize Winkey";

Duration LineTime(std::size_t bytes) {
  return Duration(1s) * kBitsPerByte * static_cast<std::int64_t>(bytes) / kBaud;
}

}  // namespace

WinKeyer::WinKeyer(Loop& loop, Console& console, platform::SerialPort& port, platform::ReleaseGuard* guard)
    : loop_(loop), console_(console), port_(port), guard_(guard) {
  port_.on_data = [this] { KeyBack(); };
  port_.on_opened = [this] {
    if (state_ == State::kStarting) start_ = InitWinkey();
  };
  port_.on_lost = [this](const std::string& why) { Lost(why); };
}

WinKeyer::~WinKeyer() {
  port_.on_data = nullptr;
  port_.on_opened = nullptr;
  port_.on_lost = nullptr;
  loop_.StopTimer(tick_);
  loop_.StopTimer(tune_end_);
}

// Opening and closing.

void WinKeyer::Open() {
  const bool under_way = state_ == State::kReady || state_ == State::kStarting;
  if (under_way && number_ == settings_.port) return;
  OpenPort(settings_.port);
}

void WinKeyer::OpenPort(int number) {
  if (key_down_ || progress_.size() > 0) {
    Close();  // it gets its release first
  } else {
    start_ = Task();
    Let();
  }
  number_ = number;
  told_ = false;
  pause_ = Duration{0};
  state_ = State::kStarting;
  start_ = KeepOpening(Duration{0});
}

Task WinKeyer::KeepOpening(Duration pause) {
  co_await closing_;
  while (true) {
    if (pause > Duration{0}) {
      co_await loop_.Sleep(pause);
    } else {
      co_await loop_.Pass();  // nothing is told from inside Open
    }
    if (OpenTheLine()) break;
    pause = pause_ = pause_ == Duration{0} ? kFirstRetry : std::min<Duration>(pause_ * 2, kSlowestRetry);
  }
  if (!port_.is_open()) co_return;  // on_opened goes on
  Task init = InitWinkey();
  co_await init;
}

/// False when it is to be tried again.
bool WinKeyer::OpenTheLine() {
  port_.Close();
  const Status opened =
      port_.Open({.number = number_, .speed = kBaud, .stop_bits = settings_.stop_bits, .dtr = true, .rts = false});
  port_.SetRts(false);
  port_.SetDtr(true);
  if (opened) {
    state_ = State::kStarting;
    return true;
  }
  Failed(number_ == 0 ? "No serial port is chosen for the WinKeyer" : opened.error().message);
  return false;
}

void WinKeyer::Failed(const std::string& why) {
  state_ = State::kFailed;
  keyer_failed_ = true;
  if (!std::exchange(told_, true) && on_failed) on_failed(why);
}

void WinKeyer::Lost(const std::string& why) {
  const bool worked = state_ == State::kReady;
  if (state_ == State::kClosed) return Let();
  start_ = Task();
  Let();
  pause_ = pause_ == Duration{0} || worked ? kFirstRetry : std::min<Duration>(pause_ * 2, kSlowestRetry);
  start_ = KeepOpening(pause_);
  if (!worked) return Failed(why);
  state_ = State::kFailed;
  told_ = true;
  if (on_lost) on_lost(why);
}

/// Nothing is in the keyer, and the key is up or out of reach.
void WinKeyer::Let() {
  progress_.Clear();
  key_down_ = false;
  speed_in_text_ = false;
  keyer_ready_ = false;
  logger_command_.clear();
  loop_.StopTimer(std::exchange(tune_end_, 0));
  Follow();
}

void WinKeyer::Close() {
  if (state_ != State::kClosed) closing_ = HostClose();
}

Task WinKeyer::HostClose() {
  start_ = Task();
  if (state_ != State::kClosed) {
    if (progress_.size() > 0) Write(kWinkeyClear);
    if (key_down_) Write(kWinkeyKeyUp);
    Write(kWinkeyHostClose);
    state_ = State::kClosed;
  }
  const TimePoint limit = loop_.Now() + kDeliverTime;
  while (port_.is_open() && loop_.Now() < limit && (port_.bytes_unsent() > 0 || loop_.Now() < line_free_at_)) {
    co_await loop_.Sleep(5ms);
  }
  port_.Close();
  Let();
}

// The start-up.

Task WinKeyer::InitWinkey() {
  state_ = State::kStarting;
  keyer_failed_ = false;
  waited_ = Duration{0};
  pot_ = -1;
  port_.Read();
  for (const WinkeyStep& step : WinkeyStartUp()) {
    reply_.clear();
    Write(step.bytes);
    Task wait = AwaitReply(step.reply);
    co_await wait;
    if (!answered_) {
      Failed(kSilentKeyer);
      co_return;
    }
    if (step.reply == WinkeyReply::kVersion && !reply_.empty()) version_ = static_cast<std::uint8_t>(reply_.front());
  }
  Ready();
}

/// A reply ends the wait at once; bytes that are none end it when the keyer has nothing to add.
Task WinKeyer::AwaitReply(WinkeyReply kind) {
  answered_ = false;
  while (!answered_ && waited_ < kPass * kPasses) {
    const TimePoint began = loop_.Now();
    const bool may_settle = kind != WinkeyReply::kEcho && !reply_.empty();
    const Duration left = kPass * kPasses - waited_;
    const Duration limit = may_settle ? std::min<Duration>(left, last_arrival_ + kSilence - began) : left;
    const bool came = co_await arrived_.Within(loop_, limit);
    waited_ += loop_.Now() - began;
    answered_ = IsWinkeyReply(kind, reply_) || (may_settle && !came && loop_.Now() >= last_arrival_ + kSilence);
  }
}

void WinKeyer::Ready() {
  told_speed_ = std::clamp(*console_.CWSpeed, kSlowest, kFastest);
  for (const std::string& option : WinkeyOptions(settings_, told_speed_)) Write(option);
  if (port_.bytes_waiting() > 0) port_.Read();
  for (const std::string& output : WinkeyOutputs(settings_)) Write(output);
  progress_.Reset(told_speed_, settings_.ptt_lead * Duration(10ms));
  state_ = State::kReady;
  told_ = false;
  pause_ = Duration{0};
  if (on_ready) on_ready();
}

// Sending.

void WinKeyer::Write(std::string_view bytes) {
  if (!port_.is_open()) return;
  port_.Write(bytes);
  line_free_at_ = std::max(loop_.Now(), line_free_at_) + LineTime(bytes.size());
  if (on_written) on_written(bytes);
}

std::string_view WinKeyer::state() const {
  switch (state_) {
    case State::kClosed:
      return "closed";
    case State::kStarting:
      return "starting";
    case State::kFailed:
      return "failed";
    case State::kReady:
      break;
  }
  return progress_.size() > 0 || key_down_ || !keyer_ready_ ? "busy" : "ready";
}

std::size_t WinKeyer::room() const {
  if (!ready() || key_down_ || progress_.full()) return 0;
  if (progress_.size() < kAheadSymbols) return kAheadSymbols - progress_.size();
  return progress_.size() < kMostAhead && progress_.ahead(loop_.Now()) < kAheadTime ? 1 : 0;
}

void WinKeyer::Send(std::string_view symbol) {
  const std::string bytes = WinkeySymbol(symbol);
  if (!ready() || key_down_ || bytes.empty()) return;
  if (std::exchange(speed_in_text_, false)) Write(WinkeyCommand("1C", told_speed_));
  Write(bytes);
  progress_.Give(std::string_view(bytes).substr(bytes.size() > 1 ? 1 : 0), line_free_at_);
  Follow();
}

void WinKeyer::Abort() {
  if (!may_write()) return;
  Write(kWinkeyClear);
  if (key_down_) Key(false);
  progress_.Clear();
  speed_in_text_ = false;
  Follow();
}

void WinKeyer::SetSpeed(int wpm) {
  wpm = std::clamp(wpm, kSlowest, kFastest);
  if (!may_write() || wpm == told_speed_) return;  // a start-up tells the speed itself
  told_speed_ = wpm;
  Write(WinkeyCommand("02", wpm));
  speed_in_text_ = progress_.size() > 0;
  progress_.SetSpeed(loop_.Now(), wpm);
  Follow();
}

bool WinKeyer::Key(bool down) {
  if (!may_write() || (down && !ready())) return false;
  if (down == key_down_) return true;
  loop_.StopTimer(std::exchange(tune_end_, 0));
  if (down && progress_.size() > 0) Abort();
  key_down_ = down;
  if (!down) {
    Write(kWinkeyKeyUp);
    Follow();
    return true;
  }
  Follow();
  Write(kWinkeyKeyDown);
  tune_end_ = loop_.StartTimer(loop_.Now() + settings_.tune_limit, [this] {
    tune_end_ = 0;
    Key(false);
    if (on_progress) on_progress();
  });
  return true;
}

/// Waits for the next change of what is being sent, and keeps the guard told.
void WinKeyer::Follow() {
  loop_.StopTimer(std::exchange(tick_, 0));
  if (const auto next = progress_.next()) {
    tick_ = loop_.StartTimer(*next, [this] {
      tick_ = 0;
      Advance();
    });
  }
  const bool keyed = key_down_ || progress_.size() > 0;
  if (guard_ == nullptr || keyed == std::exchange(armed_, keyed)) return;
  if (keyed) {
    guard_->Arm(std::string(kWinkeyClear) + std::string(kWinkeyKeyUp));
  } else {
    guard_->Disarm();
  }
}

void WinKeyer::Advance() {
  const bool changed = progress_.Advance(loop_.Now());
  Follow();
  if (changed && on_progress) on_progress();
}

}  // namespace kvx::keyer
