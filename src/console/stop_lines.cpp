#include "console/stop_lines.h"

#include <algorithm>
#include <array>
#include <string>

#include "cat/transmit.h"
#include "console/answers.h"
#include "console/command_preview.h"
#include "core/text.h"

namespace kvx::console {
namespace {

struct StopLine {
  std::string_view word;
  std::string_view argument;
};
constexpr std::array kStopLines{StopLine{"escape", ""},     StopLine{"tune", "off"},    StopLine{"cwpause", "on"},
                                StopLine{"keyer", "close"}, StopLine{"sendchar", "27"}, StopLine{"sendchar", "254"}};

}  // namespace

bool StopsTransmission(const Station& station, std::string_view line) {
  const auto [word, argument] = FirstWord(line);
  if (EqualNoCase(word, "send")) {
    const config::RigDefinition& rig = station.engine.rig();
    const CommandPreview sent =
        PreviewCommand(station.console, station.engine.dispatcher.button_values(), rig, FromVisible(argument));
    return cat::KeyingOf(rig, sent.bytes).effect == cat::Keying::Effect::kOff;
  }
  return std::any_of(kStopLines.begin(), kStopLines.end(), [&, word = word, argument = argument](const StopLine& row) {
    return EqualNoCase(row.word, word) && (row.argument.empty() || EqualNoCase(row.argument, argument));
  });
}

}  // namespace kvx::console
