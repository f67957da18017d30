#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace kvx::widgets {

/// Pixels of a picture, 0xffRRGGBB, row by row without gaps.
struct PixelArea {
  std::uint32_t* pixels = nullptr;
  int width = 0;
  int height = 0;
};

/// What lies above and below a curve: `above` down to it and `below` from there on, two pictures of the same size.
/// Remembers where curves were last, and writes only where something may be different.
class TraceGround final {
 public:
  /// The target holds something else, or the pictures are others.
  void Reset() { curves_.clear(); }
  /// `heights` has the curve's distance from the top for each column, `others` that of a further curve, which may be
  /// empty. Both will be painted over this, `thickness` pixels thick.
  void Paint(const PixelArea& target, const std::uint32_t* above, const std::uint32_t* below,
             std::span<const float> heights, std::span<const float> others, float thickness);

 private:
  struct Rows {
    std::int32_t from = 0;
    std::int32_t to = 0;
  };
  std::vector<Rows> curves_;  ///< where the last ones were, for each strip of columns
  std::vector<std::int32_t> tops_;
};

/// A smooth line through the middles of the columns. What leaves the picture is cut off.
void PaintCurve(const PixelArea& target, std::span<const float> heights, std::uint32_t color, float thickness);

/// A column's vertical stroke from `top` to `bottom`, smooth at both ends.
void PaintStroke(const PixelArea& target, int column, float top, float bottom, std::uint32_t color);

}  // namespace kvx::widgets
