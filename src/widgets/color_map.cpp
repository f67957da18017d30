#include "widgets/color_map.h"

#include <cmath>

namespace kvx::widgets {
namespace {

struct Stop {
  double place;  // 0..1
  std::uint32_t color;
};

struct Row {
  std::string_view name;
  std::array<Stop, 7> stops;  // the last one repeated where there are fewer
};

constexpr std::array kRows{
    Row{"Ember",
        {{{0, 0x090b1c},
          {0.14, 0x161a4a},
          {0.34, 0x51197b},
          {0.54, 0xa92a66},
          {0.72, 0xea6430},
          {0.88, 0xfdbb4f},
          {1, 0xfffbe0}}}},
    Row{"Viridis",
        {{{0, 0x440154},
          {0.2, 0x414487},
          {0.4, 0x2a788e},
          {0.6, 0x22a884},
          {0.8, 0x7ad151},
          {1, 0xfde725},
          {1, 0xfde725}}}},
    Row{"Ice",
        {{{0, 0x03060d},
          {0.2, 0x0a2340},
          {0.45, 0x125a8c},
          {0.7, 0x46a6dd},
          {0.88, 0xa8dcf7},
          {1, 0xffffff},
          {1, 0xffffff}}}},
    Row{"Paper",
        {{{0, 0xffffff},
          {0.2, 0xe3ecf5},
          {0.45, 0x8fb6dc},
          {0.7, 0x2f6db5},
          {0.88, 0x123a7a},
          {1, 0x050b1f},
          {1, 0x050b1f}}}},
    Row{"Grey",
        {{{0, 0x000000}, {1, 0xffffff}, {1, 0xffffff}, {1, 0xffffff}, {1, 0xffffff}, {1, 0xffffff}, {1, 0xffffff}}}}};

constexpr auto kNames = [] {
  std::array<std::string_view, kRows.size()> names;
  for (std::size_t i = 0; i < kRows.size(); ++i) names[i] = kRows[i].name;
  return names;
}();

std::uint32_t Between(const Stop& low, const Stop& high, double place) {
  const double share = high.place > low.place ? (place - low.place) / (high.place - low.place) : 1;
  std::uint32_t color = 0xff;
  for (const int shift : {16, 8, 0}) {
    const double from = (low.color >> shift) & 0xff;
    const double to = (high.color >> shift) & 0xff;
    color = color << 8 | static_cast<std::uint32_t>(std::lround(from + (to - from) * share));
  }
  return color;
}

ColorMap Make(const Row& row) {
  ColorMap map{};
  std::size_t stop = 1;
  for (std::size_t i = 0; i < map.size(); ++i) {
    const double place = static_cast<double>(i) / static_cast<double>(map.size() - 1);
    while (place > row.stops[stop].place) ++stop;
    map[i] = Between(row.stops[stop - 1], row.stops[stop], place);
  }
  return map;
}

}  // namespace

std::span<const std::string_view> ColorMapNames() {
  return kNames;
}

const ColorMap& ColorMapOf(std::string_view name) {
  static const auto kMaps = [] {
    std::array<ColorMap, kRows.size()> maps;
    for (std::size_t i = 0; i < kRows.size(); ++i) maps[i] = Make(kRows[i]);
    return maps;
  }();
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    if (kRows[i].name == name) return kMaps[i];
  }
  return kMaps.front();
}

}  // namespace kvx::widgets
