#include "cat/command_template.h"

#include <algorithm>

#include "core/text.h"

namespace kvx::cat {
namespace {

struct SliderWord {
  std::string_view word;
  std::size_t slider;  ///< index, #1 first
};

constexpr std::array kSliderWords{
    SliderWord{"<CWSPEED", 0}, SliderWord{"<TONE", 1},   SliderWord{"<ALPHA", 2},  SliderWord{"<BRAVO", 3},
    SliderWord{"<CHAR", 4},    SliderWord{"<MISC", 5},   SliderWord{"<AFGAIN", 6}, SliderWord{"<RFGAIN", 7},
    SliderWord{"<POWER", 8},   SliderWord{"<FILTER", 9}, SliderWord{"<NOTCH", 10},
};

/// The two numbers of "a-b" or "a/b".
std::pair<int, int> TwoNumbers(std::string_view text, char separator) {
  const std::size_t at = text.find(separator);
  const auto read = [](std::string_view part) {
    return static_cast<int>(std::clamp<std::int64_t>(LeadingNumber(part), 0, 4096));
  };
  return {read(text.substr(0, at)), at == std::string_view::npos ? 0 : read(text.substr(at + 1))};
}

// No rig has commands as long as that; what a damaged row holds may be.
constexpr std::size_t kLongestCommand = 4096;
constexpr std::size_t kLongestAddress = 64;
constexpr std::size_t kShown = 40;

Error TooLong(const std::string& what, std::size_t longest) {
  return {ErrorCode::kInvalid, what + " has more than " + std::to_string(longest) + " characters"};
}

/// Replaces every "<WORD>" (two digits at least, three on an FT-DX) and "<WORDn>" (n digits).
Status ExpandSlider(std::string& command, const SliderWord& word, const Fill& fill) {
  for (std::size_t at = command.find(word.word); at != std::string::npos; at = command.find(word.word, at)) {
    const std::size_t after = at + word.word.size();
    const bool has_width =
        after + 1 < command.size() && command[after] >= '1' && command[after] <= '9' && command[after + 1] == '>';
    if (!has_width && command.compare(after, 1, ">") != 0) {
      at = after;
      continue;
    }
    const int value = std::max(0, fill.sliders[word.slider]);
    const bool three_digits = fill.rig.name.find("FT-DX") != std::string::npos;
    const std::string digits = PadNumber(value, has_width ? command[after] - '0' : three_digits ? 3 : 2);
    if (has_width && digits.size() > static_cast<std::size_t>(command[after] - '0')) {
      return Error{ErrorCode::kInvalid,
                   "The value " + digits + " does not fit " + std::string(word.word) + command[after] + ">"};
    }
    command.replace(at, after + (has_width ? 2 : 1) - at, digits);
    // On a binary rig a value must fill whole bytes together with the digits around it.
    if (!has_width && fill.rig.binary() && WithoutBlanks(command).size() % 2 != 0) command.insert(at, "0");
    at += digits.size();
  }
  return Ok();
}

Status ExpandFrequency(std::string& command, const Fill& fill) {
  const FrequencyPlaceholder* placeholder = FindFrequencyPlaceholder(command);
  if (placeholder == nullptr) return Ok();
  command = WithoutBlanks(command);
  const bool civ = fill.rig.row.rev_data && (fill.rig.family == "ICOM" || fill.rig.family == "CI-V");
  const FrequencyData data = !fill.rig.binary() ? FrequencyData::kText
                             : civ              ? FrequencyData::kCiv
                                                : FrequencyData::kBinary;
  auto digits = FrequencyDigits(fill.frequency, *placeholder, data);
  if (!digits) return digits.error();
  const bool reversed = fill.rig.row.rev_data && placeholder->unit != FrequencyPlaceholder::Unit::kHexadecimalHertz;
  command = ReplaceAll(std::move(command), placeholder->name, reversed ? ReversePairs(*digits) : *digits);
  return Ok();
}

Status ExpandAddress(std::string& command, const Fill& fill) {
  constexpr std::string_view kAddress = "<ADDR>";
  if (command.find(kAddress) == std::string::npos) return Ok();
  const std::string address(Trim(fill.rig.row["Add" + std::string(fill.address_number)]));
  if (address.empty()) {
    return Error{ErrorCode::kInvalid,
                 "Rig address " + std::string(fill.address_number) + " of " + fill.rig.name + " is empty"};
  }
  if (address.size() > kLongestAddress)
    return TooLong("Rig address " + std::string(fill.address_number), kLongestAddress);
  command = std::string(Trim(ReplaceAll(std::move(command), kAddress, address)));
  return Ok();
}

/// More digits than `width` when the number needs them.
std::string PadHexadecimal(std::int64_t number, int width) {
  std::string digits;
  for (auto rest = static_cast<std::uint64_t>(number); rest > 0 || digits.size() < static_cast<std::size_t>(width);
       rest >>= 4) {
    digits.insert(digits.begin(), "0123456789ABCDEF"[rest & 0xF]);
  }
  return digits;
}

}  // namespace

int Extraction::needed() const {
  return std::max({start + length - 1, code_start > 0 ? code_start + code_length - 1 : 0, 0});
}

std::optional<std::string_view> Extraction::DataOf(std::string_view reply, bool any_width) const {
  const auto least = static_cast<std::size_t>(any_width ? std::max(start, code_start + code_length - 1) : needed());
  if (start < 1 || length < 1 || reply.size() < least) return std::nullopt;
  if (code_start > 0) {
    const auto at = static_cast<std::size_t>(code_start - 1);
    if (!EqualNoCase(reply.substr(at, static_cast<std::size_t>(code_length)), code)) return std::nullopt;
  }
  return reply.substr(static_cast<std::size_t>(start - 1), static_cast<std::size_t>(length));
}

QueryTemplate SplitQuery(std::string_view text) {
  const std::size_t open = text.find('[');
  if (open == std::string_view::npos) return {std::string(text), std::nullopt};
  QueryTemplate query{std::string(text.substr(0, open)), Extraction{}};
  Extraction& extraction = *query.extraction;
  std::string_view rest = text.substr(open + 1);
  const std::size_t close = rest.find(']');
  std::tie(extraction.start, extraction.length) = TwoNumbers(rest.substr(0, close), '-');
  rest = close == std::string_view::npos ? std::string_view{} : rest.substr(close + 1);
  if (rest.starts_with('{')) {
    const std::size_t brace = rest.find('}');
    std::tie(extraction.code_start, extraction.code_length) = TwoNumbers(rest.substr(1, brace), '/');
    extraction.code = brace == std::string_view::npos ? "" : Upper(Trim(rest.substr(brace + 1)));
  } else {
    extraction.reply_length = static_cast<int>(std::clamp<std::int64_t>(LeadingNumber(rest), 0, 4096));
  }
  return query;
}

std::string_view CutBounds(std::string_view text) {
  return text.substr(0, text.find('{'));
}

const FrequencyPlaceholder* FindFrequencyPlaceholder(std::string_view text) {
  for (const FrequencyPlaceholder& placeholder : kFrequencyPlaceholders) {
    if (text.find(placeholder.name) != std::string_view::npos) return &placeholder;
  }
  return nullptr;
}

Result<std::string> FrequencyDigits(Frequency frequency, const FrequencyPlaceholder& placeholder, FrequencyData data) {
  using Unit = FrequencyPlaceholder::Unit;
  const bool tens = placeholder.unit == Unit::kTensOfHertz ||
                    (placeholder.unit == Unit::kTensWhenBinary && data == FrequencyData::kBinary);
  const int width =
      data != FrequencyData::kText ? placeholder.digits + placeholder.digits % 2 : placeholder.digits;  // whole bytes
  const std::int64_t number = tens ? frequency.tens_of_hz() : frequency.hz();
  const bool hexadecimal = placeholder.unit == Unit::kHexadecimalHertz;
  std::string digits = hexadecimal ? PadHexadecimal(number, width) : PadNumber(number, width);
  const auto most = static_cast<std::size_t>(std::max(width, placeholder.most_digits));
  if (frequency.decihertz >= 0 && digits.size() > static_cast<std::size_t>(width) && digits.size() <= most) {
    digits = PadNumber(number, placeholder.most_digits);
  }
  if (frequency.decihertz < 0 || digits.size() > most) {
    return Error{ErrorCode::kInvalid,
                 "The frequency " + KhzText(frequency) + " does not fit " + std::string(placeholder.name)};
  }
  return digits;
}

std::string ReversePairs(std::string_view digits) {
  std::string reversed;
  reversed.reserve(digits.size());
  for (std::size_t end = digits.size(); end > 0; end -= std::min<std::size_t>(end, 2)) {
    const std::size_t start = end >= 2 ? end - 2 : 0;
    reversed += digits.substr(start, end - start);
  }
  return reversed;
}

std::string NameVfo(std::string command, char vfo) {
  return ReplaceAll(std::move(command), kVfoPlaceholder, std::string(1, VfoDigit(vfo)));
}

Result<std::string> Expand(std::string command, const Fill& fill) {
  if (command.size() > kLongestCommand) return TooLong("The command " + OneLine(command, kShown), kLongestCommand);
  if (command.find('<') == std::string::npos) return command;
  if (auto status = ExpandFrequency(command, fill); !status) return status.error();
  if (auto status = ExpandAddress(command, fill); !status) return status.error();
  command = NameVfo(std::move(command), fill.vfo);
  if (command.find('<') == std::string::npos) return command;
  for (const SliderWord& word : kSliderWords) {
    if (auto status = ExpandSlider(command, word, fill); !status) return status.error();
  }
  return command;
}

}  // namespace kvx::cat
