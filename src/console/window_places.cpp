#include "console/window_places.h"

#include <array>

#include "core/lines.h"
#include "core/text.h"

namespace kvx::console {
namespace {

constexpr int kFarthest = 100'000;
constexpr int kSmallest = 100;
constexpr std::size_t kMostWindows = 100;

std::string_view TakeWord(std::string_view& rest) {
  rest = Trim(rest);
  const std::size_t end = std::min(rest.find(' '), rest.size());
  const std::string_view word = rest.substr(0, end);
  rest.remove_prefix(end);
  return word;
}

}  // namespace

WindowPlaces ParseWindowPlaces(std::string_view content) {
  WindowPlaces places;
  while (!content.empty() && places.size() < kMostWindows) {
    const std::string_view line = TakeLine(content).text;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || equals == 0) continue;
    std::string_view rest = line.substr(equals + 1);
    std::array<int, 4> numbers{};
    bool good = true;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      const auto number = ParseNumber(TakeWord(rest), i < 2 ? -kFarthest : kSmallest, kFarthest);
      good = good && number.has_value();
      numbers[i] = static_cast<int>(number.value_or(0));
    }
    if (!good) continue;
    places[std::string(line.substr(0, equals))] = {numbers[0], numbers[1], numbers[2], numbers[3],
                                                   TakeWord(rest) == "maximized"};
  }
  return places;
}

std::string FormatWindowPlaces(const WindowPlaces& places) {
  std::string out;
  for (const auto& [name, place] : places) {
    out += name + "=" + std::to_string(place.left) + " " + std::to_string(place.top) + " " +
           std::to_string(place.width) + " " + std::to_string(place.height) +
           (place.maximized ? " maximized\n" : " normal\n");
  }
  return out;
}

std::string WithWindowPlaces(std::string_view content, const WindowPlaces& places) {
  std::string out = FormatWindowPlaces(places);
  for (std::size_t lines = 0; !content.empty() && lines < kMostWindows; ++lines) {
    const std::string_view line = TakeLine(content).text;
    const std::size_t equals = line.find('=');
    const bool kept = equals != std::string_view::npos && equals > 0 && ParseWindowPlaces(line).empty() &&
                      !places.contains(line.substr(0, equals));
    if (kept) out.append(line) += '\n';
  }
  return out;
}

}  // namespace kvx::console
