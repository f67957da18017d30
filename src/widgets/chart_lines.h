#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/frequency.h"

namespace kvx::widgets {

/// The scale of a band chart: which frequency stands where on so many pixels. Empty when its limits or the room hold
/// nothing.
class ChartScale {
 public:
  ChartScale() = default;
  ChartScale(Frequency from, Frequency to, double width) : from_(from), to_(to), width_(width) {}

  bool empty() const { return to_ <= from_ || width_ < 1; }
  Frequency from() const { return from_; }
  Frequency to() const { return to_; }
  double width() const { return width_; }

  /// Outside 0 to width() for a frequency beyond the limits.
  double XOf(Frequency frequency) const;
  /// The roundest frequency within the pixel around x, in whole 10 Hz, never beyond the limits.
  Frequency FrequencyAt(double x) const;
  /// What a key press moves by: a round 1/200 of the band, at least 10 Hz.
  Frequency KeyStep() const;
  /// The next multiple of the key step, `steps` of them up or down, never beyond the limits.
  Frequency Stepped(Frequency frequency, int steps) const;

 private:
  Frequency from_;
  Frequency to_;
  double width_ = 0;
};

/// A line of the frequency scale. Most have no label.
struct ChartTick {
  Frequency frequency;
  double x = 0;
  bool major = false;
  std::string label;      ///< kHz, without trailing zeros
  double label_left = 0;  ///< where the label begins
};

/// The width of a label in pixels.
using MeasureText = std::function<double(const std::string&)>;

/// The lines of a scale, from left to right: round frequencies, 1, 2 or 5 of some power of ten apart, and both limits.
/// Labels never overlap nor leave the chart; those of the limits go first.
std::vector<ChartTick> Ticks(const ChartScale& scale, const MeasureText& measure);

/// A note's mark on the chart and how wide its text is.
struct NoteSpan {
  double from = 0;
  double to = 0;
  double text_width = 0;
};
/// Where each note's text begins, at its mark and clear of all others; nothing where it has no room. The notes come
/// sorted by `from`.
std::vector<std::optional<double>> PlaceNotes(const std::vector<NoteSpan>& notes, double width, double gap);

/// A note's text without the frequency that its place tells: "FT8 (USB dial 14074)" is "FT8", "QRS CW 14055" "QRS CW".
std::string_view ShortNote(std::string_view text);

}  // namespace kvx::widgets
