#include <array>
#include <utility>

#include "core/hex_text.h"
#include "core/text.h"
#include "sim/winkey_device.h"

namespace kvx::sim {
namespace {

using std::chrono::milliseconds;

}  // namespace

struct WinkeyDevice::Word {
  std::string_view name;
  std::string (WinkeyDevice::*operation)(std::string_view);
};

std::string WinkeyDevice::Operate(std::string_view command) {
  static constexpr std::array kWords{
      Word{"pot", &WinkeyDevice::TurnPot},      Word{"paddle", &WinkeyDevice::HoldPaddle},
      Word{"silent", &WinkeyDevice::SetSilent}, Word{"late", &WinkeyDevice::SetLate},
      Word{"pieces", &WinkeyDevice::SetPieces}, Word{"garbage", &WinkeyDevice::SetGarbage},
      Word{"text", &WinkeyDevice::ShowText},    Word{"log", &WinkeyDevice::ShowLog},
      Word{"state", &WinkeyDevice::ShowState},  Word{"unplug", &WinkeyDevice::Unplug},
      Word{"plug", &WinkeyDevice::Plug},
  };
  const std::string_view trimmed = Trim(command);
  const std::string_view name = trimmed.substr(0, trimmed.find(' '));
  for (const Word& word : kWords) {
    if (EqualNoCase(name, word.name)) return (this->*word.operation)(Trim(trimmed.substr(name.size())));
  }
  return "error: unknown operation " + OneLine(name, 40);
}

std::string WinkeyDevice::TurnPot(std::string_view argument) {
  const auto value = ParseNumber(argument, 0, registers_[WinkeyRegister::kPotRange]);
  if (!value) return "error: 0 to " + std::to_string(registers_[WinkeyRegister::kPotRange]) + " is wanted";
  const bool moved = sender_.pot() != *value;
  sender_.set_pot(static_cast<int>(*value));
  if (open_ && moved) TellPot();
  return "ok";
}

std::string WinkeyDevice::HoldPaddle(std::string_view argument) {
  constexpr int kLongestMs = 60'000;
  const std::string_view which = argument.substr(0, argument.find(' '));
  const auto time = ParseNumber(argument.substr(which.size()), 1, kLongestMs);
  const bool both = EqualNoCase(which, "squeeze");
  bool dit = both || EqualNoCase(which, "dit");
  bool dah = both || EqualNoCase(which, "dah");
  if (!time || (!dit && !dah)) return "error: dit, dah or squeeze and milliseconds are wanted";
  if (!powered_) return "error: it is unplugged";
  if (registers_.mode(WinkeyRegisters::kModeSwap)) std::swap(dit, dah);
  loop_.StopTimer(paddle_timer_);
  paddle_timer_ = loop_.StartTimer(loop_.Now() + milliseconds(*time), [this] {
    paddle_timer_ = 0;
    sender_.Press(false, false);
  });
  sender_.Press(dit, dah);
  return "ok";
}

std::string WinkeyDevice::SetSilent(std::string_view argument) {
  if (!EqualNoCase(argument, "on") && !EqualNoCase(argument, "off")) return "error: on or off is wanted";
  silent_ = EqualNoCase(argument, "on");
  if (silent_) output_.Clear();
  return "ok";
}

std::string WinkeyDevice::SetLate(std::string_view argument) {
  const auto value = ParseNumber(argument, 0, 60'000);
  if (!value) return "error: milliseconds up to 60000 are wanted";
  output_.set_delay(milliseconds(*value));
  return "ok";
}

std::string WinkeyDevice::SetPieces(std::string_view argument) {
  if (!EqualNoCase(argument, "on") && !EqualNoCase(argument, "off")) return "error: on or off is wanted";
  output_.set_gap(EqualNoCase(argument, "on") ? milliseconds(20) : milliseconds(0));
  return "ok";
}

std::string WinkeyDevice::SetGarbage(std::string_view argument) {
  constexpr std::size_t kMost = 1000;
  const auto bytes = BytesFromHex(WithoutBlanks(argument));
  if (!bytes || bytes->size() > kMost) return "error: at most 1000 pairs of hexadecimal digits are wanted";
  output_.set_noise(*bytes);
  return "ok";
}

std::string WinkeyDevice::ShowText(std::string_view) {
  return "ok " + reader_.text();
}

std::string WinkeyDevice::ShowLog(std::string_view) {
  return "ok " + SpacedHex(log_);
}

std::string WinkeyDevice::ShowState(std::string_view) {
  const auto truth = [](bool value) { return value ? "true" : "false"; };
  std::string state = std::string("ok {\"model\":\"") + (IsThird() ? "WinKeyer 3" : "WinKeyer 2") + "\"";
  state += std::string(",\"powered\":") + truth(powered_) + ",\"open\":" + truth(open_);
  state += ",\"speed\":" + std::to_string(sender_.speed()) + ",\"pot\":" + std::to_string(sender_.pot());
  state += ",\"buffer\":" + std::to_string(sender_.used()) + ",\"output\":" + std::to_string(sender_.port());
  state += std::string(",\"key\":") + truth(sender_.key()) + ",\"ptt\":" + truth(sender_.ptt());
  state += std::string(",\"tuning\":") + truth(sender_.tuning()) + ",\"status\":\"" +
           SpacedHex(std::string(1, static_cast<char>(status())));
  state += "\",\"registers\":\"" + SpacedHex(registers_.Bytes()) + "\"";
  return state + ",\"sent\":" + JsonString(reader_.text()) + ",\"refused\":" + std::to_string(refused_) + "}";
}

std::string WinkeyDevice::Unplug(std::string_view) {
  Close();
  command_.clear();
  output_.Clear();
  powered_ = false;
  return "ok";
}

std::string WinkeyDevice::Plug(std::string_view) {
  powered_ = true;
  return "ok";
}

}  // namespace kvx::sim
