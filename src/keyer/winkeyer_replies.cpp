#include <algorithm>
#include <optional>
#include <utility>

#include "core/hex_text.h"
#include "core/text.h"
#include "keyer/winkeyer.h"

namespace kvx::keyer {
namespace {

constexpr std::uint8_t kBusyStatus = 196;
constexpr std::uint8_t kLowestReady = 190;
constexpr std::uint8_t kPotValue = 0x3F;
constexpr std::uint8_t kFirstReport = 0x80;
constexpr std::size_t kReplyLimit = 256;
constexpr std::size_t kLoggerTextKept = 1000;
constexpr std::uint8_t kClearBuffer = 0x0A;
constexpr std::string_view kSetSpeed = "02";
constexpr int kSlowestOfLogger = 6;
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
    if (was_ready != keyer_ready_ && on_progress) on_progress();
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

/// A paddle that breaks in makes the keyer forget its text: what it held is dropped here as well.
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
    }
  }
  if (overruled) speed_in_text_ = false;
  Follow();
  if (pot) TakePot(*pot);
  if (overruled && on_lost) return on_lost(kPaddle);
  if (changed && on_progress) on_progress();
}

void WinKeyer::TakePot(std::uint8_t byte) {
  if (std::exchange(pot_, byte) == byte || settings_.ignore_pot) return;
  console_.CWSpeed.Set(kSlowest + (byte & kPotValue));
}

void WinKeyer::GetWInkey() {
  if (logger_ == nullptr) return;
  const std::string bytes = logger_->Read();
  if (bytes.empty()) return;
  if (bytes.find(static_cast<char>(kClearBuffer)) != std::string::npos) clear_request_ = true;
  if (pass_through_) Write(bytes);
  // Bytes may come one at a time: a speed command waits for its parameter.
  std::string command = std::exchange(logger_command_, {});
  for (const char c : bytes) TakeLoggerByte(static_cast<std::uint8_t>(c), command);
  if (command == kSetSpeed && bytes.back() == '\x02') logger_command_ = command;
  if (logger_text_.size() > kLoggerTextKept) logger_text_.erase(0, logger_text_.size() - kLoggerTextKept);
}

/// A speed above 30 is a printable character, and therefore text.
void WinKeyer::TakeLoggerByte(std::uint8_t byte, std::string& command) {
  const char c = static_cast<char>(byte);
  if (byte > 30 && byte < 128) {
    logger_text_ += Trim(std::string_view(&c, 1));
    return;
  }
  command += HexText::FromBytes(std::string_view(&c, 1)).digits;
  if (!command.starts_with(kSetSpeed) || command.size() < 2 * kSetSpeed.size()) return;
  const int speed = HexByte(std::string_view(command).substr(2, 2)).value_or(0);
  if (speed >= kSlowestOfLogger) console_.CWSpeed.Set(std::min(speed, kFastest));
}

}  // namespace kvx::keyer
