#include "widgets/trace_raster.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kvx::widgets {
namespace {

/// So much of `to` mixed into `from`, 0 to 256.
std::uint32_t Blend(std::uint32_t from, std::uint32_t to, std::uint32_t share) {
  const std::uint32_t rest = 256 - share;
  const std::uint32_t outer = ((from & 0xff00ff) * rest + (to & 0xff00ff) * share) >> 8 & 0xff00ff;
  const std::uint32_t inner = ((from & 0x00ff00) * rest + (to & 0x00ff00) * share) >> 8 & 0x00ff00;
  return 0xff000000 | outer | inner;
}

constexpr std::size_t kStrip = 64;  // columns

/// A row's pixels, each from `below` where the row has reached the column's top. Without branches and between arrays
/// that do not overlap, so that the compiler takes several at once.
void Choose(std::uint32_t* __restrict target, const std::uint32_t* __restrict above,
            const std::uint32_t* __restrict below, const std::int32_t* __restrict tops, std::size_t begin,
            std::size_t end, std::int32_t row) {
  for (std::size_t x = begin; x < end; ++x) {
    const std::uint32_t mask = row >= tops[x] ? 0xffffffff : 0;
    target[x] = (below[x] & mask) | (above[x] & ~mask);
  }
}

/// What is no number is at the top.
float Held(float height, float limit) {
  return height > limit ? limit : height > 0 ? height : 0;
}

}  // namespace

void TraceGround::Paint(const PixelArea& target, const std::uint32_t* above, const std::uint32_t* below,
                        std::span<const float> heights, std::span<const float> others, float thickness) {
  const auto width = static_cast<std::size_t>(std::max(target.width, 0));
  const auto limit = static_cast<float>(target.height);
  tops_.assign(width, target.height);
  for (std::size_t x = 0; x < std::min(width, heights.size()); ++x)
    tops_[x] = static_cast<std::int32_t>(Held(heights[x], limit));
  const std::size_t strips = (width + kStrip - 1) / kStrip;
  if (curves_.size() != strips) curves_.assign(strips, {0, target.height});
  for (std::size_t strip = 0; strip < strips; ++strip) {
    const std::size_t begin = strip * kStrip;
    const std::size_t end = std::min(begin + kStrip, width);
    float highest = limit;
    float lowest = 0;
    for (const std::span<const float> curve : {heights, others}) {
      // The curve of a column goes half-way to its neighbours.
      const std::size_t last = std::min(end + 1, curve.size());
      for (std::size_t x = begin > 0 ? begin - 1 : 0; x < last; ++x) {
        highest = std::min(highest, Held(curve[x], limit));
        lowest = std::max(lowest, Held(curve[x], limit));
      }
    }
    const Rows now{std::max(static_cast<std::int32_t>(highest - thickness) - 1, 0),
                   std::min(static_cast<std::int32_t>(lowest + thickness) + 2, target.height)};
    const Rows before = std::exchange(curves_[strip], now);
    for (std::int32_t y = std::min(now.from, before.from); y < std::max(now.to, before.to); ++y) {
      const std::size_t row = static_cast<std::size_t>(y) * width;
      Choose(target.pixels + row, above + row, below + row, tops_.data(), begin, end, y);
    }
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
    std::uint32_t& pixel = target.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(target.width) +
                                         static_cast<std::size_t>(column)];
    if (row >= top && row + 1 <= bottom) {
      pixel = color;
      continue;
    }
    const float covered = std::min(row + 1, bottom) - std::max(row, top);
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
