#include "links/dde_answers.h"

#include <algorithm>
#include <array>

#include "core/text.h"
#include "core/tunable.h"

namespace kvx::links {
namespace {

constexpr std::size_t kHertzDigits = 8;
constexpr std::int64_t kLowestTens = 1000;
constexpr std::int64_t kHighestTens = 99'000'000;
constexpr Frequency kLowestTold = Frequency::FromKhz(1000);
constexpr Frequency kFirstInHertz = Frequency::FromKhz(990'000);  // a number this large is no kHz
constexpr std::int64_t kThousand = 1000;

struct Word {
  std::string_view theirs;
  std::string_view ours;
};

// A longer name stands before one that it begins with.
constexpr std::array kModeWords{
    Word{"USB", "USB"}, Word{"LSB", "LSB"}, Word{"CW R", "CW"},   Word{"CWR", "CW"},   Word{"CW", "CW"},
    Word{"FM", "FM"},   Word{"AM", "AM"},   Word{"RTTY", "RTTY"}, Word{"FSK", "RTTY"},
};

bool IsSeparator(char c) {
  return c == ' ' || c == '\t' || c == ':' || c == '=' || c == ',';
}

bool IsLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// What stands behind a word; nothing when the word is not there.
std::optional<std::string_view> Behind(std::string_view text, const std::string& upper, std::string_view word) {
  const std::size_t at = upper.find(word);
  return at == std::string::npos ? std::nullopt : std::optional(text.substr(at + word.size()));
}

/// The mode that a text begins with, separators before it left out; empty for none.
std::string ModeAt(std::string_view text) {
  while (!text.empty() && IsSeparator(text.front())) text.remove_prefix(1);
  for (const Word& word : kModeWords) {
    const std::string_view rest = text.substr(std::min(word.theirs.size(), text.size()));
    if (EqualNoCase(text.substr(0, word.theirs.size()), word.theirs) && (rest.empty() || !IsLetter(rest.front())))
      return std::string(word.ours);
  }
  return {};
}

/// The first number of a text, with its sign and all of its points and commas; nothing when a unit other than kHz
/// follows at once.
std::string_view NumberIn(std::string_view text) {
  std::size_t begin = std::min(text.find_first_of("0123456789"), text.size());
  while (begin > 0 && std::string_view("+-.").find(text[begin - 1]) != std::string_view::npos) --begin;
  text.remove_prefix(begin);
  std::size_t size = std::min(text.find_first_not_of("0123456789+-.,"), text.size());
  while (size > 0 && !IsDigit(text[size - 1])) --size;
  const std::string_view behind = text.substr(size);
  if (!behind.empty() && IsLetter(behind.front()) && !EqualNoCase(behind.substr(0, 3), "kHz")) return {};
  return text.substr(0, size);
}

std::optional<Frequency> Tunable(Frequency frequency) {
  return IsTunable(frequency) ? std::optional(frequency) : std::nullopt;
}

std::optional<Frequency> FrequencyIn(std::string_view text) {
  auto frequency = ParseKhz(NumberIn(text));
  if (!frequency) return std::nullopt;
  if (*frequency >= kFirstInHertz) frequency->decihertz /= kThousand;
  return Tunable(*frequency);
}

/// A frequency in the eight digits of a request.
bool IsAsTold(std::string_view number) {
  return number.size() == kHertzDigits && AllDigits(number);
}
std::optional<Frequency> ReadTold(std::string_view number) {
  const std::int64_t tens = LeadingNumber(number);
  return tens < kLowestTens ? std::nullopt : Tunable(Frequency{tens * 100});
}

}  // namespace

DdeItem DdeItemOf(std::string_view name) {
  if (name.find("HRD_RADIO") != std::string_view::npos) return DdeItem::kRadio;
  if (name.find("HRD_HERTZ") != std::string_view::npos) return DdeItem::kHertz;
  if (name.find("HRD_MODE") != std::string_view::npos) return DdeItem::kMode;
  return DdeItem::kNone;
}

std::optional<std::string> DdeHertz(std::string_view displayed) {
  displayed = Trim(displayed);
  const auto value = ParseKhz(displayed);
  if (!value || *value < kLowestTold) return std::nullopt;
  std::string text(displayed);
  std::erase(text, '.');
  const std::int64_t number = LeadingNumber(text);
  if (number < 10 * kLowestTens) text += number < kLowestTens ? "00" : "0";
  if (text.size() < kHertzDigits) text.insert(0, kHertzDigits - text.size(), '0');
  const std::int64_t tens = LeadingNumber(text);
  if (text.size() != kHertzDigits || tens < kLowestTens || tens >= kHighestTens) return std::nullopt;
  return text;
}

std::optional<std::string> DdeMode(std::string_view caption) {
  const std::string_view mode = Trim(caption) == "RTTY" ? "FSK" : Trim(caption);
  constexpr std::array<std::string_view, 5> kTold{"USB", "LSB", "CW", "AM", "FSK"};
  if (std::find(kTold.begin(), kTold.end(), mode) == kTold.end()) return std::nullopt;
  return std::string(mode);
}

DdeOrder ReadDdeExecute(std::string_view command) {
  const std::string upper = Upper(command);
  DdeOrder order;
  const auto mode = Behind(command, upper, "MODE");
  const auto frequency = Behind(command, upper, "FREQ");
  if (mode) order.mode = ModeAt(*mode);
  if (frequency) {
    const std::string_view number = NumberIn(*frequency);
    // Beginning with 0 it is no number of hertz, but what a request has told.
    order.frequency = IsAsTold(number) && number.front() == '0' ? ReadTold(number) : FrequencyIn(*frequency);
  }
  order.understood = (mode || frequency) && (!mode || !order.mode.empty()) && (!frequency || order.frequency);
  return order;
}

DdeOrder ReadDdePoke(DdeItem item, std::string_view value) {
  value = Trim(value);
  DdeOrder order;
  if (item == DdeItem::kMode) {
    order.mode = ModeAt(value);
  } else if (item == DdeItem::kHertz) {
    order.frequency = IsAsTold(value) ? ReadTold(value) : FrequencyIn(value);
  }
  order.understood = !order.mode.empty() || order.frequency;
  return order;
}

}  // namespace kvx::links
