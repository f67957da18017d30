#include "widgets/chart_lines.h"

#include <algorithm>
#include <cmath>

#include "core/text.h"

namespace kvx::widgets {
namespace {

constexpr std::int64_t kFinest = 100;  // 10 Hz, the display's last digit
constexpr std::int64_t kCoarsest = 10'000'000'000'000;
constexpr double kKeySteps = 200;
constexpr double kLabelRoom = 3;  // labels in the room that one of them gets

/// 1, 2, 5, 10, 20, ... times the finest step.
std::int64_t NextStep(std::int64_t step) {
  std::int64_t digit = step;
  while (digit % 10 == 0) digit /= 10;
  return digit == 2 ? step / 2 * 5 : step * 2;
}

std::int64_t FloorTo(std::int64_t value, std::int64_t step) {
  return value / step * step;
}
std::int64_t CeilTo(std::int64_t value, std::int64_t step) {
  return FloorTo(value + step - 1, step);
}

std::string KhzLabel(Frequency frequency) {
  std::string text = KhzText(frequency);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

/// The finest step whose labels have room; past the span when none has.
std::int64_t MajorStep(const ChartScale& scale, const MeasureText& measure) {
  const std::int64_t span = (scale.to() - scale.from()).decihertz;
  std::int64_t step = kFinest;
  for (; step <= span; step = NextStep(step)) {
    // The label just above a limit shows as many decimals as the step needs.
    const Frequency sample{FloorTo(scale.to().decihertz, step) - step};
    const double label = std::max(measure(KhzLabel(sample)), measure(KhzLabel(scale.to())));
    if (static_cast<double>(step) / static_cast<double>(span) * scale.width() >= kLabelRoom * label) break;
  }
  return step;
}

/// 10 is divided into fives of 2, 20 into fours of 5, 50 into fives of 10; not at all where lines would touch.
std::int64_t MinorStep(std::int64_t major, const ChartScale& scale, double closest) {
  std::int64_t digit = major;
  while (digit % 10 == 0) digit /= 10;
  const std::int64_t minor = major / (digit == 2 ? 4 : 5);
  return scale.XOf({scale.from().decihertz + minor}) >= closest ? minor : major;
}

/// Hands out the room below the chart: the limits take theirs first.
class LabelRow {
 public:
  LabelRow(double width, double gap) : width_(width), gap_(gap), right_(width + gap) {}

  void PlaceFirst(ChartTick& tick, double length) {
    tick.label_left = 0;
    left_ = length + gap_;
  }
  void PlaceLast(ChartTick& tick, double length) {
    tick.label_left = width_ - length;
    if (tick.label_left < left_) {
      tick.label.clear();
    } else {
      right_ = tick.label_left;
    }
  }
  void PlaceInner(ChartTick& tick, double length) {
    tick.label_left = tick.x - length / 2;
    if (tick.label_left < left_ || tick.label_left + length + gap_ > right_) {
      tick.label.clear();
    } else {
      left_ = tick.label_left + length + gap_;
    }
  }

 private:
  double width_;
  double gap_;
  double left_ = 0;
  double right_;
};

std::vector<ChartTick> Lines(const ChartScale& scale, std::int64_t major, std::int64_t minor) {
  const auto tick = [&](std::int64_t at, bool is_major) {
    return ChartTick{.frequency = {at}, .x = scale.XOf({at}), .major = is_major};
  };
  std::vector<ChartTick> ticks{tick(scale.from().decihertz, true)};
  for (std::int64_t at = CeilTo(scale.from().decihertz + 1, minor); at < scale.to().decihertz; at += minor) {
    ticks.push_back(tick(at, at % major == 0));
  }
  ticks.push_back(tick(scale.to().decihertz, true));
  return ticks;
}

}  // namespace

double ChartScale::XOf(Frequency frequency) const {
  if (empty()) return 0;
  const auto span = static_cast<double>((to_ - from_).decihertz);
  return static_cast<double>((frequency - from_).decihertz) * width_ / span;
}

Frequency ChartScale::FrequencyAt(double x) const {
  if (empty()) return from_;
  // In sixteenths of a pixel, so that the frequency itself is never a binary fraction.
  constexpr std::int64_t kParts = 16;
  const std::int64_t span = (to_ - from_).decihertz;
  const std::int64_t width = std::max<std::int64_t>(std::llround(width_ * kParts), 1);
  const std::int64_t place = std::llround(std::clamp(x, 0.0, width_) * kParts);
  const std::int64_t exact = from_.decihertz + span / width * place + span % width * place / width;
  const std::int64_t half_pixel = span * (kParts / 2) / width;
  std::int64_t best = FloorTo(exact + kFinest / 2, kFinest);
  for (std::int64_t step = kFinest; step <= kCoarsest; step = NextStep(step)) {
    const std::int64_t round = FloorTo(exact + step / 2, step);
    if (round > 0 && std::abs(round - exact) <= half_pixel) best = round;
  }
  return std::clamp(Frequency{best}, from_, to_);
}

Frequency ChartScale::KeyStep() const {
  const double wanted = static_cast<double>((to_ - from_).decihertz) / kKeySteps;
  std::int64_t step = kFinest;
  while (static_cast<double>(NextStep(step)) <= wanted) step = NextStep(step);
  return {step};
}

Frequency ChartScale::Stepped(Frequency frequency, int steps) const {
  const std::int64_t step = KeyStep().decihertz;
  const std::int64_t at = std::clamp(frequency, from_, to_).decihertz;
  const std::int64_t base = steps > 0 ? FloorTo(at, step) : CeilTo(at, step);
  return std::clamp(Frequency{base + steps * step}, from_, to_);
}

std::vector<ChartTick> Ticks(const ChartScale& scale, const MeasureText& measure) {
  if (scale.empty()) return {};
  const std::int64_t major = MajorStep(scale, measure);
  std::vector<ChartTick> ticks = Lines(scale, major, MinorStep(major, scale, measure("0")));
  LabelRow row(scale.width(), measure("00"));
  const auto label = [&](ChartTick& tick) {
    tick.label = KhzLabel(tick.frequency);
    return measure(tick.label);
  };
  row.PlaceFirst(ticks.front(), label(ticks.front()));
  row.PlaceLast(ticks.back(), label(ticks.back()));
  for (std::size_t i = 1; i + 1 < ticks.size(); ++i) {
    if (ticks[i].major) row.PlaceInner(ticks[i], label(ticks[i]));
  }
  return ticks;
}

std::vector<std::optional<double>> PlaceNotes(const std::vector<NoteSpan>& notes, double width, double gap) {
  std::vector<std::optional<double>> places(notes.size());
  double taken = 0;       // where the last text ends, with its gap
  double last_mark = -1;  // where the marks before this one end
  for (std::size_t i = 0; i < notes.size(); ++i) {
    const NoteSpan& note = notes[i];
    const double limit = i + 1 < notes.size() ? notes[i + 1].from - gap : width;
    const double flush_right = std::min(note.to, limit) - note.text_width;
    if (note.from >= taken && note.from + note.text_width <= limit) {
      places[i] = note.from;
    } else if (limit == width && flush_right >= std::max(taken, last_mark + gap)) {
      places[i] = flush_right;
    }
    if (places[i]) taken = *places[i] + note.text_width + gap;
    last_mark = std::max(last_mark, note.to);
  }
  return places;
}

std::string_view ShortNote(std::string_view text) {
  std::string_view shorter = text.substr(0, text.find(" ("));
  const std::size_t blank = shorter.find_last_of(' ');
  if (blank != std::string_view::npos && AllDigits(shorter.substr(blank + 1))) shorter = shorter.substr(0, blank);
  return Trim(shorter);
}

}  // namespace kvx::widgets
