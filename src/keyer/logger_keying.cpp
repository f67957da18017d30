#include "keyer/logger_keying.h"

#include <cstdint>

#include "keyer/winkey_bytes.h"

namespace kvx::keyer {
namespace {

constexpr Duration kOnItsWay = std::chrono::milliseconds(20);  // a status byte from before the text

}  // namespace

LoggerKeying::Effect LoggerKeying::Take(std::string_view bytes, TimePoint arrive) {
  Effect effect;
  arrive_ = arrive;
  for (const char c : bytes) {
    const bool is_command = !command_.empty() || static_cast<std::uint8_t>(c) < 0x20;
    if (!is_command) {
      text_ = text_ || static_cast<std::uint8_t>(c) < 0x80;  // the keyer passes over the others
      continue;
    }
    command_ += c;
    if (command_.size() < WinkeyCommandLength(command_)) continue;
    Do(command_, effect);
    command_.clear();
  }
  return effect;
}

void LoggerKeying::Do(std::string_view command, Effect& effect) {
  const bool on = command.size() > 1 && command[1] != 0;
  switch (command[0]) {
    case 0x00:
      if (command[1] == 0x02) effect.opened = true;
      if (command[1] != 0x01 && command[1] != 0x03) break;  // reset, host close
      key_ = ptt_ = paddle_ = text_ = false;
      effect = {.cleared = true, .opened = false};
      break;
    case 0x0A:
      key_ = ptt_ = text_ = false;
      effect.cleared = true;
      break;
    case 0x0B:
      key_ = on;
      break;
    case 0x14:
      paddle_ = on;
      break;
    case 0x18:
      ptt_ = on;
      break;
    case 0x19:  // the key is held for so many seconds
    case 0x1B:
      text_ = true;
      break;
    default:
      break;
  }
}

void LoggerKeying::Idle(TimePoint now) {
  if (now >= arrive_ + kOnItsWay) text_ = false;
}

std::size_t LoggerKeying::missing() const {
  return command_.empty() ? 0 : WinkeyCommandLength(command_) - command_.size();
}

std::string LoggerKeying::Release() const {
  std::string bytes;
  if (ptt_) bytes += kWinkeyPttOff;
  if (paddle_) bytes += kWinkeyPaddleUp;
  return bytes;
}

}  // namespace kvx::keyer
