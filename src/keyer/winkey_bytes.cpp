#include "keyer/winkey_bytes.h"

#include <algorithm>
#include <array>

#include "cat/convert.h"
#include "core/text.h"
#include "keyer/morse.h"

namespace kvx::keyer {
namespace {

constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
// Every keyer of the kind sends these as they are heard everywhere. Others it sends as it likes ("<" is AR), or not.
constexpr std::string_view kMarks = " .,?/'-=+@";

constexpr std::string_view kEchoTest = "13 13 13 00 04 41";
constexpr std::string_view kHostOpen = "00 02";
// The speed pot, WinKeyer 2 mode, the defaults, the speed pot again, the status.
constexpr std::string_view kDefaults = "07 00 0B 0F 02 19 05 32 00 00 05 14 00 00 12 32 32 06 FF 07 15";
constexpr std::string_view kPotRange = "05 05 32 00";

constexpr int kModeStep = 16;
constexpr int kReversed = 8;
constexpr int kPins = 92;
constexpr int kPinPtt = 1;
constexpr int kPinSideTone = 2;

// Parameters of the commands 01 to 1F.
constexpr std::array<std::uint8_t, 32> kParameters{0, 1, 1, 1, 2, 3, 1, 0, 0, 1, 0, 1, 1, 1, 1, kWinkeyMostParameters,
                                                   1, 1, 1, 0, 1, 0, 1, 1, 1, 1, 1, 2, 1, 1, 0, 0};
constexpr std::uint8_t kPointer = 0x16;  // 16 00 alone, 16 01 to 16 03 with one more

std::string Byte(int value) {
  return std::string(1, static_cast<char>(std::clamp(value, 0, 255)));
}

bool IsOneOf(std::string_view characters, char c) {
  return characters.find(c) != std::string_view::npos;
}

/// Two letters whose elements, run together, are the pattern; empty when there are none.
std::string Pair(const std::string& pattern) {
  for (const char first : kLetters) {
    const std::string head = MorsePattern(std::string_view(&first, 1));
    if (!pattern.starts_with(head)) continue;
    for (const char second : kLetters) {
      if (MorsePattern(std::string_view(&second, 1)) == std::string_view(pattern).substr(head.size()))
        return {first, second};
    }
  }
  return {};
}

}  // namespace

std::size_t WinkeyCommandLength(std::string_view begun) {
  if (begun.empty() || static_cast<std::uint8_t>(begun[0]) >= kParameters.size()) return 1;
  const auto command = static_cast<std::uint8_t>(begun[0]);
  if (command == kPointer) return begun.size() > 1 && begun[1] != 0 ? 3 : 2;
  if (command != 0) return 1U + kParameters[command];
  if (begun.size() < 2) return 2;
  constexpr std::size_t kMemory = 256;  // 00 0D writes all of it
  switch (begun[1]) {
    case 0x00:
    case 0x04:
    case 0x0E:
      return 3;
    case 0x0D:
      return 2 + kMemory;
    default:
      return 2;
  }
}

std::string WinkeyBytes(std::string_view hex_pairs) {
  std::string digits = WithoutBlanks(hex_pairs);
  if (digits.size() == 1) digits.insert(0, "0");
  std::string bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += cat::Converthex1(std::string_view(digits).substr(i, 2));
  }
  return bytes;
}

std::string WinkeyCommand(std::string_view hex_command, int parameter) {
  return WinkeyBytes(hex_command) + Byte(parameter);
}

std::string WinkeyDecimalAsHex(int value) {
  return WinkeyBytes(std::to_string(value));
}

const std::vector<WinkeyStep>& WinkeyStartUp() {
  static const std::vector<WinkeyStep> kSteps{{WinkeyBytes(kEchoTest), WinkeyReply::kEcho},
                                              {WinkeyBytes(kHostOpen), WinkeyReply::kVersion},
                                              {WinkeyBytes(kDefaults), WinkeyReply::kStatus}};
  return kSteps;
}

bool IsWinkeyReply(WinkeyReply kind, std::string_view received) {
  return std::any_of(received.begin(), received.end(), [kind](char c) {
    const auto byte = static_cast<std::uint8_t>(c);
    switch (kind) {
      case WinkeyReply::kEcho:
        return c == 'A';
      case WinkeyReply::kVersion:
        return byte < 0x80;
      case WinkeyReply::kStatus:
        break;
    }
    return byte >= 0xC0;
  });
}

std::vector<std::string> WinkeyOptions(const KeyerSettings& settings, int speed) {
  const bool side_tone = settings.second_output == SecondOutput::kSideTone;
  const bool ptt = settings.second_output == SecondOutput::kPtt;
  std::vector<std::string> writes;
  if (side_tone) writes.push_back(WinkeyCommand("01", settings.side_tone));
  writes.push_back(WinkeyCommand("02", speed));
  const int mode = static_cast<int>(settings.mode) * kModeStep + (settings.reversed ? kReversed : 0);
  writes.push_back(WinkeyBytes("0E") + WinkeyDecimalAsHex(mode));
  writes.push_back(WinkeyCommand("04", settings.ptt_lead) + Byte(settings.ptt_tail));
  writes.push_back(WinkeyCommand("11", settings.compensation));
  // Alone, with no command before it.
  writes.push_back(WinkeyDecimalAsHex(kPins + (side_tone ? kPinSideTone : 0) + (ptt ? kPinPtt : 0)));
  return writes;
}

std::vector<std::string> WinkeyOutputs(const KeyerSettings& settings) {
  std::vector<std::string> writes;
  if (settings.key1) writes.push_back(WinkeyCommand("1D", 0));
  if (settings.key2) writes.push_back(WinkeyCommand("1D", 1));
  writes.push_back(WinkeyBytes(kPotRange));
  return writes;
}

std::string WinkeySymbol(std::string_view symbol) {
  const std::string text = Upper(symbol);
  if (text.size() == 1 && (IsOneOf(kLetters, text[0]) || IsOneOf(kMarks, text[0]))) return text;
  if (text.size() == 2 && IsOneOf(kLetters, text[0]) && IsOneOf(kLetters, text[1])) return WinkeyBytes("1B") + text;
  const std::string pattern = MorsePattern(text);
  const std::string pair = pattern.empty() ? std::string() : Pair(pattern);
  return pair.empty() ? pair : WinkeyBytes("1B") + pair;
}

}  // namespace kvx::keyer
