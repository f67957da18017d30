#pragma once

#include <cstdint>
#include <span>

namespace kvx::widgets {

/// Pixels of a picture, 0xffRRGGBB, row by row without gaps.
struct PixelArea {
  std::uint32_t* pixels = nullptr;
  int width = 0;
  int height = 0;
};

/// The picture: `above` down to the curve and `below` from there on, two pictures of the same size. `heights` has the
/// curve's distance from the top for each column.
void PaintBelow(const PixelArea& target, const std::uint32_t* above, const std::uint32_t* below,
                std::span<const float> heights);

/// A smooth line through the middles of the columns. What leaves the picture is cut off.
void PaintCurve(const PixelArea& target, std::span<const float> heights, std::uint32_t color, float thickness);

/// A column's vertical stroke from `top` to `bottom`, smooth at both ends.
void PaintStroke(const PixelArea& target, int column, float top, float bottom, std::uint32_t color);

}  // namespace kvx::widgets
