#include <algorithm>
#include <optional>
#include <utility>

#include "cat/transmit.h"
#include "core/hex_text.h"
#include "core/text.h"
#include "keyer/winkeyer.h"

namespace kvx::keyer {
namespace {

using namespace std::chrono_literals;

constexpr std::uint8_t kBusyStatus = 196;
constexpr std::uint8_t kLowestReady = 190;
constexpr std::uint8_t kPotValue = 0x3F;
constexpr std::uint8_t kFirstReport = 0x80;
constexpr std::size_t kReplyLimit = 256;
constexpr std::size_t kLoggerTextKept = 1000;
constexpr std::uint8_t kClearBuffer = 0x0A;
constexpr std::string_view kSetSpeed = "02";
constexpr int kSlowestOfLogger = 6;
constexpr std::size_t kMostHeld = 4096;   // bytes of a logging program
constexpr Duration kMostAhead = 1s;       // of them on the line
constexpr std::size_t kMostAtOnce = 256;  // when it is free
constexpr Duration kPassPace = 100ms;
constexpr const char* kOverrun = "The logging program sends more than the keyer can take: a part has been dropped";
constexpr const char* kLoggerGone = "The logging program has gone";
constexpr Duration kRestTime = 100ms;    // between two bytes of one command
constexpr Duration kReopenTime = 500ms;  // a logging program that starts anew closes the host mode and opens it
constexpr const char* kLoggerClears = "The logging program has stopped the keyer";
constexpr const char* kHeld = "The logging program held the key for too long: it has been released";
constexpr const char* kPaddle = "The paddle has taken over";

}  // namespace

void WinKeyer::KeyBack() {
  const std::string bytes = port_.Read();
  if (bytes.empty()) return;
  const bool was_ready = keyer_ready_;
  TakeFlags(bytes);
  if (pass_through_ && logger_ != nullptr && logger_->is_open()) logger_->Write(bytes);
  if (on_received) on_received(bytes);
  if (state_ == State::kReady) {
    TakeReports(bytes);
    if (was_ready != keyer_ready_) Tell(on_progress);
  } else if (state_ == State::kStarting) {
    for (const char c : bytes) {
      if (IsWinkeyPot(static_cast<std::uint8_t>(c))) pot_ = static_cast<std::uint8_t>(c);
    }
    reply_ += bytes;
    if (reply_.size() > kReplyLimit) reply_.erase(0, reply_.size() - kReplyLimit);
    last_arrival_ = loop_.Now();
    arrived_.Notify();
  }
}

void WinKeyer::TakeFlags(std::string_view bytes) {
  for (const char c : bytes) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (byte == kBusyStatus) {
      keyer_ready_ = false;
    } else if (byte >= kLowestReady) {
      keyer_ready_ = true;
    }
  }
}

/// A paddle that breaks in makes the keyer forget its text: what it held is dropped here as well, and so is what is
/// still on its way to it.
void WinKeyer::TakeReports(std::string_view bytes) {
  bool changed = false;
  bool overruled = false;
  std::optional<std::uint8_t> pot;
  for (const char c : bytes) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (IsWinkeyPot(byte)) {
      pot = byte;
    } else if (byte < kFirstReport) {
      changed = progress_.Echo(loop_.Now(), c) || changed;
    } else if (IsWinkeyStatus(byte)) {
      overruled = overruled || ((byte & kWinkeyBreakIn) != 0 && progress_.size() > 0);
      if (overruled) progress_.Clear();
      changed = progress_.Status(loop_.Now(), byte) || changed;
      if ((byte & kWinkeyBusy) == 0) logger_keying_.Idle(loop_.Now());
    }
  }
  if (overruled) {
    speed_in_text_ = false;
    EndCommand();
    Write(kWinkeyClear);
  }
  Follow();
  if (pot) TakePot(*pot);
  if (overruled) return Tell(on_dropped, kPaddle);
  if (changed) Tell(on_progress);
}

void WinKeyer::TakePot(std::uint8_t byte) {
  if (std::exchange(pot_, byte) == byte || settings_.ignore_pot) return;
  console_.CWSpeed.Set(kSlowest + (byte & kPotValue));
}

void WinKeyer::SetLogger(platform::SerialPort* logger) {
  if (logger != logger_) LoggerGone();
  logger_ = logger;
}

void WinKeyer::SetPassThrough(bool on) {
  if (std::exchange(pass_through_, on) && !on) LoggerGone();
}

void WinKeyer::LoggerGone() {
  held_.clear();
  logger_command_.clear();
  if (logger_keying_.keyed() && may_write()) return ReleaseLogger(kLoggerGone);
  EndCommand();
  logger_keying_.Clear();
  AwaitRest();
  Follow();
}

void WinKeyer::ReleaseLogger(const char* why) {
  const bool sends = progress_.size() > 0;
  Abort();  // a keyer's buffer has no owners
  if (sends) Tell(on_dropped, why);
}

/// A logging program that hangs does not hold the key for longer than a tune may last, nor the transmitter for longer
/// than any transmission.
void WinKeyer::LimitHold() {
  const Duration longest =
      logger_keying_.holds_key() ? settings_.tune_limit : cat::LimitOf(settings_.transmit_limit, false);
  const Duration limit = logger_keying_.holds() ? longest : Duration{0};
  if (limit == std::exchange(hold_limit_, limit)) return;
  loop_.StopTimer(std::exchange(hold_end_, 0));
  if (limit == Duration{0}) return;
  if (guard_ != nullptr) guard_->ReleaseAfter(limit + platform::kGuardGrace);
  hold_end_ = loop_.StartTimer(loop_.Now() + limit, [this] {
    hold_end_ = 0;
    ReleaseLogger(kHeld);
    Tell(on_notice, kHeld);
  });
}

/// The line is slow: what would make a release wait stays here.
void WinKeyer::Hold(std::string_view bytes) {
  if (!port_.is_open() || state_ == State::kClosed) return;
  const std::size_t room = kMostHeld - std::min(kMostHeld, held_.size());
  const bool fits = bytes.size() <= room;
  held_ += bytes.substr(0, room);
  if (!fits && !std::exchange(overrun_, true)) Tell(on_notice, kOverrun);
  PassOn();
}

/// During a start-up nothing comes between its bytes.
void WinKeyer::PassOn() {
  loop_.StopTimer(std::exchange(pass_, 0));
  if (held_.empty() || !may_write()) return;
  const Duration behind = std::max<Duration>(line_free_at_ - loop_.Now(), Duration{0});
  const Duration left = std::max<Duration>(kMostAhead - behind, Duration{0});
  const std::size_t fits = behind < kPassPace ? kMostAtOnce : static_cast<std::size_t>(left / LineTime(1));
  const std::string bytes = held_.substr(0, fits);
  held_.erase(0, bytes.size());
  if (!bytes.empty()) {
    Write(bytes);
    Share(logger_keying_.Take(bytes, line_free_at_));
    AwaitRest();
    Follow();
  }
  if (held_.empty()) {
    overrun_ = false;
  } else {
    pass_ = loop_.StartTimer(loop_.Now() + kPassPace, [this] { PassOn(); });
  }
}

/// In the midst of a command bytes of ours would be its parameters.
void WinKeyer::AwaitRest() {
  const bool awaited = rest_ != 0;
  loop_.StopTimer(std::exchange(rest_, 0));
  if (logger_keying_.missing() > 0) {
    rest_ = loop_.StartTimer(line_free_at_ + kRestTime, [this] {
      rest_ = 0;
      RestCame();
    });
  } else if (awaited) {
    RestCame();
  }
}

void WinKeyer::RestCame() {
  if (later_speed_ != 0) SetSpeed(later_speed_);
  Tell(on_progress);
}

/// What cannot wait for the rest of a command, or has waited in vain, has nulls before it in its place.
void WinKeyer::EndCommand() {
  const std::size_t nulls = std::min(logger_keying_.missing(), kWinkeyMostParameters);
  if (nulls == 0 || !may_write()) return;
  const std::string bytes(nulls, kWinkeyNull);
  Write(bytes);
  Share(logger_keying_.Take(bytes, line_free_at_));
}

/// Text of both is in one buffer, and one host mode is open for both: who empties it stops everything, and one that is
/// left closed is opened anew.
void WinKeyer::Share(const LoggerKeying::Effect& effect) {
  const bool was_ready = ready();
  if (effect.opened && state_ == State::kReady) {
    host_closed_ = !*effect.opened;
    loop_.StopTimer(std::exchange(reopen_, 0));
  }
  if (host_closed_ && reopen_ == 0) {
    reopen_ = loop_.StartTimer(line_free_at_ + kReopenTime, [this] {
      reopen_ = 0;
      start_ = InitWinkey();
    });
  }
  if (effect.cleared) {
    progress_.Clear();
    speed_in_text_ = false;
    Tell(on_dropped, kLoggerClears);
  }
  if (was_ready == ready()) return;
  ready() ? Tell(on_ready) : Tell(on_progress);
}

void WinKeyer::GetWInkey() {
  if (logger_ == nullptr) return;
  const std::string bytes = logger_->Read();
  if (bytes.empty()) return;
  if (bytes.find(static_cast<char>(kClearBuffer)) != std::string::npos) clear_request_ = true;
  if (on_logger) on_logger(bytes);
  if (pass_through_) Hold(bytes);
  // Bytes may come one at a time: a speed command waits for its parameter.
  std::string command = std::exchange(logger_command_, {});
  for (const char c : bytes) TakeLoggerByte(static_cast<std::uint8_t>(c), command);
  if (command == kSetSpeed && bytes.back() == '\x02') logger_command_ = command;
  if (logger_text_.size() > kLoggerTextKept) logger_text_.erase(0, logger_text_.size() - kLoggerTextKept);
}

/// A speed above 30 is a printable character, and therefore text. One that is passed on needs no telling again; of
/// several the last one counts.
void WinKeyer::TakeLoggerByte(std::uint8_t byte, std::string& command) {
  const char c = static_cast<char>(byte);
  if (byte > 30 && byte < 128) {
    logger_text_ += Trim(std::string_view(&c, 1));
    return;
  }
  command += HexText::FromBytes(std::string_view(&c, 1)).digits;
  if (!command.starts_with(kSetSpeed) || command.size() < 2 * kSetSpeed.size()) return;
  const int speed = HexByte(std::string_view(command).substr(2, 2)).value_or(0);
  command.clear();
  if (speed < kSlowestOfLogger) return;
  if (pass_through_ && may_write() && speed <= kFastest) TakeSpeed(speed);
  console_.CWSpeed.Set(std::min(speed, kFastest));
}

}  // namespace kvx::keyer
