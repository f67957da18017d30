#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "widgets/tone_scale.h"

namespace kvx::widgets {

/// The lines of a waterfall, as shades of 0 to 255, in a ring of rows: a new line is written in place and nothing is
/// moved. Scrolling, rows are written upwards, and the picture begins with the newest; overwriting, they are written
/// downwards, and the picture is the ring as it lies.
class WaterfallHistory final {
 public:
  /// Gives it another size or another range of tones; what it holds goes to its new place.
  void Fit(const ToneScale& scale, int rows);
  void SetOverwriting(bool overwriting);
  bool overwriting() const { return overwriting_; }

  /// The row for one more line, to be filled in by the caller.
  std::span<std::uint8_t> Add(std::int64_t milliseconds);
  /// The row that was written last.
  int newest() const { return newest_; }
  /// The row that is drawn at the top.
  int top() const { return overwriting_ ? 0 : newest_; }
  int rows() const { return rows_; }
  const ToneScale& scale() const { return scale_; }
  std::span<const std::uint8_t> row(int index) const;
  /// When the line was added that is drawn in that row of the picture; nothing where there is none yet.
  std::optional<std::int64_t> TimeAt(int picture_row) const;

 private:
  std::size_t width() const { return static_cast<std::size_t>(scale_.empty() ? 0 : scale_.width()); }
  /// The row of the line that is so many lines old.
  int RowOfAge(int age) const;
  /// Puts the lines one after the other, the newest first, into another ring.
  void Rebuild(const ToneScale& scale, int rows, bool overwriting);

  ToneScale scale_;
  int rows_ = 0;
  int newest_ = 0;
  bool overwriting_ = false;
  std::vector<std::uint8_t> shades_;
  std::vector<std::int64_t> times_;  ///< negative: nothing has been written there
};

}  // namespace kvx::widgets
