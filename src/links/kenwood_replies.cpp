#include "links/kenwood_replies.h"

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>

#include "core/text.h"
#include "core/tunable.h"

namespace kvx::links {
namespace {

constexpr std::string_view kFrequencyPlace = "<FREQ11>";
constexpr int kFrequencyDigits = 11;
constexpr std::int64_t kMostHertz = 99'999'999'999;
constexpr std::string_view kStatus = "IF<FREQ11>0001+0000000000030000000;";

// Where a field of the status stands, counted from the first character behind the frequency.
constexpr std::size_t kTransmitAt = 15;
constexpr std::size_t kModeAt = 16;
constexpr std::size_t kVfoAt = 17;
constexpr std::size_t kSplitAt = 19;

struct ModeDigit {
  std::string_view mode;
  char digit;
};
constexpr std::array kModeDigits{ModeDigit{"LSB", '1'}, ModeDigit{"USB", '2'}, ModeDigit{"CW", '3'},
                                 ModeDigit{"FM", '4'},  ModeDigit{"AM", '5'},  ModeDigit{"RTTY", '6'}};

/// Eleven digits, so that every reply has its length.
std::string HertzText(Frequency frequency) {
  return PadNumber(std::clamp<std::int64_t>(frequency.displayed().hz(), 0, kMostHertz), kFrequencyDigits);
}

/// The frequency of "FA14025000;": what stands between the letters and the ";" is digits and nothing else.
std::optional<Frequency> SetFrequency(std::string_view command, std::string_view letters) {
  const std::size_t at = command.rfind(letters);
  if (at == std::string_view::npos) return std::nullopt;
  const std::string_view digits = command.substr(at + letters.size(), command.size() - at - letters.size() - 1);
  if (!AllDigits(digits) || digits.size() > kFrequencyDigits) return std::nullopt;
  const auto hertz = ParseNumber(digits, 0, kMostHertz);
  return hertz && IsTunable(Frequency::FromHz(*hertz)) ? std::optional(Frequency::FromHz(*hertz)) : std::nullopt;
}

/// One command, with its ";"; nothing when it is none.
std::optional<LoggerCommand> ReadCommand(std::string_view text) {
  using enum LoggerRequest;
  const auto has = [text](std::string_view word) { return text.find(word) != std::string_view::npos; };
  if (const std::size_t at = text.find("AI");
      at != std::string_view::npos && text[at + 2] >= '0' && text[at + 2] <= '3')
    return LoggerCommand{.request = kSetInformation, .setting = text[at + 2]};
  if (has("AI")) return LoggerCommand{.request = kAutoInformation, .query = has("AI;")};
  if (has("PS")) return LoggerCommand{.request = kPower, .query = has("PS;")};
  if (has("FA;")) return LoggerCommand{.request = kReadA};
  if (has("FB;")) return LoggerCommand{.request = kReadB};
  if (has("IF;")) return LoggerCommand{.request = kReadStatus};
  if (const auto set = SetFrequency(text, "FA")) return LoggerCommand{.request = kSetA, .frequency = *set};
  if (const auto set = SetFrequency(text, "FB")) return LoggerCommand{.request = kSetB, .frequency = *set};
  if (has("TX;")) return LoggerCommand{.request = kTransmit};
  if (has("RX;")) return LoggerCommand{.request = kReceive};
  return std::nullopt;
}

}  // namespace

std::vector<LoggerCommand> ReadLoggerCommands(std::string_view text) {
  struct Turn {
    std::size_t round;  // which one of its request it is
    LoggerCommand command;
  };
  std::array<std::size_t, static_cast<std::size_t>(LoggerRequest::kReceive) + 1> seen{};
  std::vector<Turn> turns;
  const std::string upper = Upper(text);
  for (std::string_view left = upper; left.find(';') != std::string_view::npos;) {
    const std::size_t length = left.find(';') + 1;
    auto command = ReadCommand(left.substr(0, length));
    left.remove_prefix(length);
    if (!command) continue;
    command->place = turns.size();
    turns.push_back({seen[static_cast<std::size_t>(command->request)]++, *command});
  }
  std::ranges::stable_sort(turns, {}, [](const Turn& turn) { return std::tuple(turn.round, turn.command.request); });
  std::vector<LoggerCommand> commands;
  for (const Turn& turn : turns) commands.push_back(turn.command);
  return commands;
}

std::string FrequencyReply(std::string_view letters, Frequency frequency) {
  return std::string(letters) + HertzText(frequency) + ";";
}

std::string StatusReply(const KenwoodStatus& status) {
  const std::size_t behind = kStatus.find(kFrequencyPlace);
  std::string reply = ReplaceAll(std::string(kStatus), kFrequencyPlace, HertzText(status.frequency));
  const auto put = [&](std::size_t at, char digit) { reply[behind + kFrequencyDigits + at] = digit; };
  const auto* mode = std::ranges::find_if(
      kModeDigits, [&](const ModeDigit& row) { return status.mode.find(row.mode) != std::string_view::npos; });
  if (mode != kModeDigits.end()) put(kModeAt, mode->digit);
  if (status.transmitting) put(kTransmitAt, '1');
  if (status.vfo == 'B') put(kVfoAt, '1');
  if (status.split) put(kSplitAt, '1');
  return reply;
}

}  // namespace kvx::links
