#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace kvx {

/// The themes of the windows, the usual one first.
inline constexpr std::array<std::string_view, 4> kThemeNames{"dark", "light", "contrast", "classic"};
constexpr bool IsTheme(std::string_view name) {
  return std::find(kThemeNames.begin(), kThemeNames.end(), name) != kThemeNames.end();
}
inline constexpr int kSmallestText = 70;  ///< percent
inline constexpr int kLargestText = 250;

}  // namespace kvx
