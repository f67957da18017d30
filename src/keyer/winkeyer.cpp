#include "keyer/winkeyer.h"

#include <algorithm>
#include <utility>

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

constexpr int kBaud = 1200;
constexpr Duration kPass = 100us;
constexpr int kPasses = 30'000;  // for the three waits of a start-up together
constexpr Duration kSilence = 300ms;
constexpr Duration kFirstRetry = 250ms;
constexpr Duration kSlowestRetry = 1s;
constexpr Duration kDeliverTime = 500ms;
constexpr Duration kGuardCheck = 20ms;

// Few enough to take text back, enough for the line and a busy loop.
constexpr std::size_t kAheadSymbols = 3;
constexpr std::size_t kMostAhead = 40;
constexpr Duration kAheadTime = 1200ms;

constexpr const char* kSilentKeyer = "Unable to initialize Winkey";

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
  for (const Loop::TimerId timer : {tick_, tune_end_, guard_check_, pass_, rest_, reopen_, hold_end_})
    loop_.StopTimer(timer);
}

// Opening and closing.

void WinKeyer::Open() {
  const bool under_way = state_ == State::kReady || state_ == State::kStarting;
  told_ = false;  // whoever wishes it now wants to hear what comes of it
  if (under_way && number_ == settings_.port) return;
  OpenPort(settings_.port);
}

void WinKeyer::OpenPort(int number) {
  if (keyed()) {
    Close();  // it gets its release first
  } else {
    start_ = Task();
    Let();
  }
  if (number_ != 0 && number != number_) release_owed_ = ptt_owed_ = false;
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
  Tell(on_failed, std::exchange(told_, true) ? std::string() : why);
  PassOn();
}

void WinKeyer::Lost(const std::string& why) {
  const bool worked = state_ == State::kReady;
  if (state_ == State::kClosed) return Let();
  release_owed_ = release_owed_ || keyed();
  start_ = Task();
  Let();
  pause_ = pause_ == Duration{0} || worked ? kFirstRetry : std::min<Duration>(pause_ * 2, kSlowestRetry);
  start_ = KeepOpening(pause_);
  if (!worked) return Failed(why);
  state_ = State::kFailed;
  told_ = true;
  Tell(on_lost, why);
}

/// Nothing is in the keyer, and the key is up or out of reach.
void WinKeyer::Let() {
  progress_.Clear();
  key_down_ = false;
  speed_in_text_ = false;
  keyer_ready_ = false;
  logger_command_.clear();
  logger_keying_.Clear();
  held_.clear();
  later_speed_ = 0;
  host_closed_ = false;
  for (Loop::TimerId* timer : {&tune_end_, &pass_, &rest_, &reopen_}) loop_.StopTimer(std::exchange(*timer, 0));
  Follow();
}

void WinKeyer::Close() {
  if (state_ != State::kClosed) closing_ = HostClose();
}

Task WinKeyer::HostClose() {
  start_ = Task();
  loop_.StopTimer(std::exchange(reopen_, 0));
  release_owed_ = release_owed_ && !port_.is_open();
  if (state_ != State::kClosed) {
    WriteRelease(progress_.size() > 0);
    Write(kWinkeyHostClose);
    state_ = State::kClosed;
  }
  const int number = number_;
  const TimePoint limit = loop_.Now() + kDeliverTime;
  while (port_.is_open() && loop_.Now() < limit && (port_.bytes_unsent() > 0 || loop_.Now() < line_free_at_)) {
    co_await loop_.Sleep(5ms);
  }
  // The guard keeps what the device has not taken.
  if (port_.is_open() && port_.bytes_unsent() > 0 && !armed_.empty()) {
    release_owed_ = number == number_;
    armed_.clear();
  }
  port_.Close();
  Let();
}

// The start-up.

Task WinKeyer::InitWinkey() {
  EndCommand();
  state_ = State::kStarting;
  keyer_failed_ = false;
  host_closed_ = false;
  loop_.StopTimer(std::exchange(reopen_, 0));
  waited_ = Duration{0};
  pot_ = -1;
  port_.Read();
  if (keyed()) {
    WriteRelease(progress_.size() > 0);
    Let();
  }
  if (release_owed_) Write(std::string(kWinkeyClear) + std::string(kWinkeyKeyUp));
  Tell(on_progress);
  for (const WinkeyStep& step : WinkeyStartUp()) {
    reply_.clear();
    Write(step.bytes);
    Task wait = AwaitReply(step.reply);
    co_await wait;
    if (!answered_) {
      Failed(kSilentKeyer);
      co_return;
    }
    if (std::exchange(release_owed_, false) && guard_ != nullptr && armed_.empty()) guard_->Disarm();  // it has arrived
    if (step.reply == WinkeyReply::kVersion && !reply_.empty()) version_ = static_cast<std::uint8_t>(reply_.front());
  }
  // A keyer whose host mode is closed would take their second bytes for the beginning of something else.
  if (std::exchange(ptt_owed_, false)) Write(std::string(kWinkeyPttOff) + std::string(kWinkeyPaddleUp));
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
  Tell(on_ready);
  PassOn();
}

// Sending.

void WinKeyer::Write(std::string_view bytes) {
  if (!port_.is_open()) return;
  port_.Write(bytes);
  line_free_at_ = std::max(loop_.Now(), line_free_at_) + LineTime(bytes.size());
  if (on_written) on_written(bytes);
}

Duration WinKeyer::LineTime(std::size_t bytes) const {
  const int bits = 1 + 8 + settings_.stop_bits;
  return Duration(1s) * bits * static_cast<std::int64_t>(bytes) / kBaud;
}

/// Ends what is keyed, whoever keyed it. What a logging program has queued would be in front of that: it is dropped,
/// and nulls end a command that this cuts in two.
void WinKeyer::WriteRelease(bool clear) {
  const bool logger = logger_keying_.keyed();
  const bool drops = logger_keying_.arrive() > loop_.Now() && port_.bytes_unsent() > 0;
  std::size_t nulls = std::min(logger_keying_.missing(), kWinkeyMostParameters);
  if (drops) {
    port_.DropUnsent();
    line_free_at_ = loop_.Now();
    nulls = kWinkeyMostParameters;
  }
  if (nulls > 0) Write(std::string(nulls, kWinkeyNull));
  if (clear || logger || drops) Write(kWinkeyClear);
  if (key_down_ || logger || drops) Write(std::string(kWinkeyKeyUp) + logger_keying_.Release());
  if (drops) Write(WinkeyCommand("02", told_speed_));
  logger_keying_.Clear();
  held_.clear();
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
  if (host_closed_) return "starting";
  return progress_.size() > 0 || key_down_ || !keyer_ready_ ? "busy" : "ready";
}

std::size_t WinKeyer::room() const {
  if (!ready() || key_down_ || rest_ != 0 || progress_.full()) return 0;
  if (progress_.size() < kAheadSymbols) return kAheadSymbols - progress_.size();
  return progress_.size() < kMostAhead && progress_.ahead(loop_.Now()) < kAheadTime ? 1 : 0;
}

void WinKeyer::Send(std::string_view symbol) {
  const std::string bytes = WinkeySymbol(symbol);
  if (!ready() || key_down_ || bytes.empty()) return;
  clear_request_ = false;
  EndCommand();
  if (std::exchange(speed_in_text_, false) && progress_.size() > 0) Write(WinkeyCommand("1C", told_speed_));
  Write(bytes);
  progress_.Give(std::string_view(bytes).substr(bytes.size() > 1 ? 1 : 0), line_free_at_);
  Follow();
}

void WinKeyer::Abort() {
  if (!may_write()) return;
  WriteRelease(true);
  loop_.StopTimer(std::exchange(tune_end_, 0));
  key_down_ = false;
  progress_.Clear();
  speed_in_text_ = false;
  Follow();
}

void WinKeyer::SetSpeed(int wpm) {
  wpm = std::clamp(wpm, kSlowest, kFastest);
  later_speed_ = rest_ != 0 ? wpm : 0;
  if (rest_ != 0 || !may_write() || wpm == told_speed_) return;  // a start-up tells the speed itself
  EndCommand();
  Write(WinkeyCommand("02", wpm));
  TakeSpeed(wpm);
}

/// The keyer has been told this speed.
void WinKeyer::TakeSpeed(int wpm) {
  told_speed_ = wpm;
  speed_in_text_ = progress_.size() > 0;
  progress_.SetSpeed(loop_.Now(), wpm);
  Follow();
}

bool WinKeyer::Key(bool down) {
  if (!may_write() || (down && !ready())) return false;
  if (down == key_down_) return true;
  loop_.StopTimer(std::exchange(tune_end_, 0));
  if (down && (progress_.size() > 0 || logger_keying_.missing() > 0)) Abort();
  key_down_ = down;
  if (!down) {
    EndCommand();
    Write(kWinkeyKeyUp);
    Follow();
    return true;
  }
  Follow();
  if (guard_ != nullptr) guard_->ReleaseAfter(settings_.tune_limit + platform::kGuardGrace);
  Write(kWinkeyKeyDown);
  tune_end_ = loop_.StartTimer(loop_.Now() + settings_.tune_limit, [this] {
    tune_end_ = 0;
    Key(false);
    Tell(on_progress);
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
  LimitHold();
  Guard();
}

/// Armed until the device has the release.
void WinKeyer::Guard() {
  const bool was_let_go = guard_check_ != 0;
  loop_.StopTimer(std::exchange(guard_check_, 0));
  if (guard_ == nullptr) return;
  if (keyed()) {
    const std::string release = std::string(logger_keying_.missing(), kWinkeyNull) + std::string(kWinkeyClear) +
                                std::string(kWinkeyKeyUp) + logger_keying_.Release();
    if (release == std::exchange(armed_, release) && !was_let_go) return;
    guard_->Arm(release);
    const bool held = hold_end_ != 0;  // what is armed anew has lost its limit
    if (tune_end_ != 0 || held)
      guard_->ReleaseAfter((held ? hold_limit_ : settings_.tune_limit) + platform::kGuardGrace);
  } else if (armed_.empty()) {
    return;
  } else if (port_.is_open() && port_.bytes_unsent() > 0) {
    guard_check_ = loop_.StartTimer(loop_.Now() + kGuardCheck, [this] { Guard(); });
  } else {
    armed_.clear();
    guard_->Disarm();
  }
}

void WinKeyer::Advance() {
  const bool changed = progress_.Advance(loop_.Now());
  Follow();
  if (changed) Tell(on_progress);
}

}  // namespace kvx::keyer
