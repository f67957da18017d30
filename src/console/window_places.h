#pragma once

#include <map>
#include <string>
#include <string_view>

namespace kvx::console {

/// Where a window was, in the desktop's pixels; a maximised one keeps the place that it goes back to.
struct WindowPlace {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  bool maximized = false;

  bool operator==(const WindowPlace&) const = default;
};

/// `Windows.pos`: the place of each window by its name, one "setup=100 80 900 600 normal" a line.
using WindowPlaces = std::map<std::string, WindowPlace, std::less<>>;

/// Lines that cannot be read, and places that no screen can have, are left out.
WindowPlaces ParseWindowPlaces(std::string_view content);
std::string FormatWindowPlaces(const WindowPlaces& places);
/// The file with these places in it. Its lines "NAME=value" that are none, of the window itself, stay behind them.
std::string WithWindowPlaces(std::string_view content, const WindowPlaces& places);

}  // namespace kvx::console
