#include "widgets/trace_raster.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvx::widgets {
namespace {

/// So much of `to` mixed into `from`, 0 to 256.
std::uint32_t Blend(std::uint32_t from, std::uint32_t to, std::uint32_t share) {
  const std::uint32_t rest = 256 - share;
  const std::uint32_t outer = ((from & 0xff00ff) * rest + (to & 0xff00ff) * share) >> 8 & 0xff00ff;
  const std::uint32_t inner = ((from & 0x00ff00) * rest + (to & 0x00ff00) * share) >> 8 & 0x00ff00;
  return 0xff000000 | outer | inner;
}

}  // namespace

void PaintBelow(const PixelArea& target, const std::uint32_t* above, const std::uint32_t* below,
                std::span<const float> heights) {
  const auto width = static_cast<std::size_t>(std::max(target.width, 0));
  std::vector<std::int32_t> tops(width, target.height);
  for (std::size_t x = 0; x < std::min(width, heights.size()); ++x) {
    const float limit = static_cast<float>(target.height);
    tops[x] = static_cast<std::int32_t>(std::min(std::max(heights[x], 0.0F), limit));
  }
  for (std::int32_t y = 0; y < target.height; ++y) {
    const std::size_t row = static_cast<std::size_t>(y) * width;
    const std::uint32_t* plain = above + row;
    const std::uint32_t* filled = below + row;
    std::uint32_t* out = target.pixels + row;
    const std::int32_t* top = tops.data();
    for (std::size_t x = 0; x < width; ++x) out[x] = y >= top[x] ? filled[x] : plain[x];
  }
}

void PaintStroke(const PixelArea& target, int column, float top, float bottom, std::uint32_t color) {
  const auto limit = static_cast<float>(target.height);
  // Written so that what is no number draws nothing.
  if (column < 0 || column >= target.width || !(top < limit) || !(bottom > 0) || !(bottom > top)) return;
  top = std::max(top, 0.0F);
  bottom = std::min(bottom, limit);
  const int last = std::min(static_cast<int>(std::ceil(bottom)), target.height);
  for (int y = static_cast<int>(top); y < last; ++y) {
    const auto row = static_cast<float>(y);
    const float covered = std::min(row + 1, bottom) - std::max(row, top);
    std::uint32_t& pixel = target.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(target.width) +
                                         static_cast<std::size_t>(column)];
    pixel = Blend(pixel, color, static_cast<std::uint32_t>(std::clamp(covered, 0.0F, 1.0F) * 256));
  }
}

void PaintCurve(const PixelArea& target, std::span<const float> heights, std::uint32_t color, float thickness) {
  const std::size_t count = std::min(heights.size(), static_cast<std::size_t>(std::max(target.width, 0)));
  const float half = thickness / 2;
  for (std::size_t x = 0; x < count; ++x) {
    const float here = heights[x];
    const float left = x > 0 ? (heights[x - 1] + here) / 2 : here;
    const float right = x + 1 < count ? (heights[x + 1] + here) / 2 : here;
    const float top = std::min(here, std::min(left, right)) - half;
    const float bottom = std::max(here, std::max(left, right)) + half;
    PaintStroke(target, static_cast<int>(x), top, bottom, color);
  }
}

}  // namespace kvx::widgets
