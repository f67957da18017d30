#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace kvx::widgets {

/// Colours for levels, from nothing to the strongest, as 0xffRRGGBB. Their luminance goes one way only, so that what is
/// louder is never taken for what is softer.
using ColorMap = std::array<std::uint32_t, 256>;

/// "Ember", "Viridis", "Ice", "Paper", "Grey".
std::span<const std::string_view> ColorMapNames();
/// The map of that name; "Ember" for another name.
const ColorMap& ColorMapOf(std::string_view name);

}  // namespace kvx::widgets
