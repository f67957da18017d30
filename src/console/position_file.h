#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"

namespace kvx::console {

inline constexpr int kMemoryEntries = 101;  ///< index 0 to 100; the file keeps 1 to 100
inline constexpr int kPositionStates =
    10;  ///< opaque small console states between the front panel and the logger's name
inline constexpr int kElementColors = 5;

/// The console state that `RIGform.Pos` keeps between runs, in the order of its lines.
struct ConsolePosition {
  int top = 0;
  int left = 0;
  std::array<std::string, kMemoryEntries> memory_first;  ///< each "0000" at first
  std::array<std::string, kMemoryEntries> memory_second;
  int front = 0;  ///< front-panel selector
  std::array<int, kPositionStates> states{};
  std::string logger_program = "N1MMLogger.net.exe";
  int state_after_logger = 0;
  std::array<int, 11> sliders{};
  std::array<std::int64_t, kElementColors> element_colors{};
  int h_scroll2 = 0;
  bool am_scb = false;
  bool menu_check = false;
  std::array<std::int64_t, 2> display_colors{8421504, 4210752};
  std::array<std::string, 2> texts;

  ConsolePosition();
  bool operator==(const ConsolePosition&) const = default;
};

/// Writes one value a line.
std::string FormatPosition(const ConsolePosition& position);

/// Reads the lines over `position`; a file that ends early leaves the rest as it was, a number that cannot be read is
/// 0. kDamaged, with nothing taken, for content that is no text.
Status ParsePosition(std::string_view content, ConsolePosition& position);

}  // namespace kvx::console
