#include "widgets/digit_entry.h"

#include <algorithm>
#include <array>

#include "core/text.h"
#include "core/tunable.h"

namespace kvx::widgets {
namespace {

constexpr int kMostPlaces = 12;  // of kHighestFrequency
constexpr std::size_t kLongestPaste = 40;
constexpr std::int64_t kTenHz = Frequency::FromHz(10).decihertz;

std::int64_t PowerOfTen(int exponent) {
  std::int64_t power = 1;
  for (int i = 0; i < exponent; ++i) power *= 10;
  return power;
}

/// The highest frequency that so many places can show.
Frequency HighestOf(int places) {
  return std::min(Frequency{(PowerOfTen(places) - 1) * kTenHz}, kHighestFrequency);
}

Error NoFrequency(std::string_view text) {
  return {ErrorCode::kInvalid, "\"" + OneLine(text, kLongestPaste) + "\" is no frequency in kHz, as in 14025.00."};
}

}  // namespace

Frequency StepOfPlace(int place) {
  return {PowerOfTen(std::clamp(place, 0, kMostPlaces - 1)) * kTenHz};
}

int DigitAtPlace(Frequency frequency, int place) {
  return static_cast<int>(frequency.decihertz / StepOfPlace(place).decihertz % 10);
}

int PlacesShown(Frequency frequency) {
  int places = kPlaces;
  while (places < kMostPlaces && frequency >= StepOfPlace(places)) ++places;
  return places;
}

int LeadingZeros(Frequency frequency) {
  const int shown = PlacesShown(frequency);
  int place = shown - 1;
  while (place > kDecimalPlaces && frequency < StepOfPlace(place)) --place;
  return shown - 1 - place;
}

std::string PlaceName(int place) {
  constexpr std::array kUnits{"Hz", "kHz", "MHz", "GHz", "THz"};
  const int exponent = std::clamp(place, 0, kMostPlaces - 1) + 1;
  return std::to_string(PowerOfTen(exponent % 3)) + " " + kUnits[exponent / 3];
}

Frequency TurnDigit(Frequency frequency, int place, int steps) {
  const std::int64_t step = StepOfPlace(place).decihertz;
  const std::int64_t up = (HighestOf(PlacesShown(frequency)) - frequency).decihertz / step;
  const std::int64_t down = frequency.decihertz / step;
  const auto fitting = std::clamp<std::int64_t>(steps, std::min<std::int64_t>(-down, 0), std::max<std::int64_t>(up, 0));
  return {frequency.decihertz + fitting * step};
}

bool DigitEntry::Type(char c) {
  if (c == ',') c = '.';
  const std::string before = selected_ ? "" : text_;
  const std::size_t point = before.find('.');
  if (c == '.') {
    if (point != std::string::npos) return false;
  } else {
    const bool decimals = point != std::string::npos;
    const std::size_t digits = decimals ? before.size() - point - 1 : before.size();
    if (!IsDigit(c) || digits >= static_cast<std::size_t>(decimals ? kDecimalPlaces : kKhzPlaces)) return false;
  }
  text_ = before + c;
  selected_ = refused_ = false;
  return true;
}

void DigitEntry::Backspace() {
  if (selected_) return Drop();
  if (!text_.empty()) text_.pop_back();
  refused_ = false;
}

void DigitEntry::Drop() {
  text_.clear();
  selected_ = refused_ = false;
}

void DigitEntry::Select(Frequency present) {
  text_ = KhzText(present);
  selected_ = true;
  refused_ = false;
}

Status DigitEntry::Paste(std::string_view text) {
  if (text.size() > kLongestPaste) return NoFrequency(text);
  std::string number = WithoutBlanks(text);
  if (Lower(number).ends_with("khz")) number.resize(number.size() - 3);
  const auto frequency = ParseKhz(number);
  if (!frequency || *frequency < Frequency{} || *frequency > HighestOf(kPlaces)) return NoFrequency(text);
  text_ = KhzText(*frequency);
  selected_ = refused_ = false;
  return Ok();
}

Result<Frequency> DigitEntry::Confirm(Frequency offset) {
  const auto frequency = ParseKhz(text_);
  if (!frequency || *frequency == Frequency{} || !IsTunable(*frequency + offset)) {
    refused_ = true;
    return NoFrequency(text_);
  }
  Drop();
  return *frequency;
}

}  // namespace kvx::widgets
