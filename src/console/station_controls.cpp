// The controls of the console that do nothing but send a command.

#include <algorithm>

#include "console/station.h"
#include "core/text.h"

namespace kvx::console {
namespace {

using namespace std::chrono_literals;

constexpr Duration kBeforeLevels = 1500ms;  // the display comes first
constexpr Duration kBetweenLevels = 400ms;
constexpr Duration kLineCheck = 20ms;

}  // namespace

cat::SendOutcome Station::PressFunction(int number) {
  functions.scanner.OperatorActs();
  const cat::SendOutcome outcome = engine.dispatcher.SendData("XFN" + std::to_string(number));
  if (outcome == cat::SendOutcome::kSent) announcer.FunctionPressed(number);
  return outcome;
}

cat::SendOutcome Station::PressMeter(const std::string& key) {
  if (*console.MeterOn && *console.Label10 == key) {
    console.MeterOn.Set(false);
    return cat::SendOutcome::kSent;
  }
  const cat::SendOutcome outcome = engine.dispatcher.SendData(key);
  if (outcome == cat::SendOutcome::kSent) console.MeterOn.Set(true);
  return outcome;
}

cat::SendOutcome Station::PressAgc(const std::string& key) {
  const cat::SendOutcome outcome = PressKey(key, "AGC " + Lower(key.substr(3)));
  if (outcome == cat::SendOutcome::kSent) console.Agc.Set(key);
  return outcome;
}

cat::SendOutcome Station::SendCommand(std::string_view key_or_command) {
  functions.scanner.OperatorActs();
  return engine.dispatcher.SendData(key_or_command);
}

cat::SendOutcome Station::PressKey(std::string_view key, const std::string& name) {
  const cat::SendOutcome outcome = engine.dispatcher.SendData(key);
  if (outcome == cat::SendOutcome::kSent) announcer.Operated(name);
  return outcome;
}

cat::SendOutcome Station::PressRit() {
  const std::string& off = engine.rig().row["RITOFF"];
  const bool was_on = *console.Rit && !off.empty();
  const cat::SendOutcome outcome = PressKey(was_on ? off : "XRITON", was_on ? "RIT off" : "RIT on");
  if (outcome == cat::SendOutcome::kSent) console.Rit.Set(!was_on);
  return outcome;
}

cat::SendOutcome Station::PressXit() {
  const cat::SendOutcome outcome = PressKey("XXITON", "XIT on");
  if (outcome == cat::SendOutcome::kSent) console.Xit.Set(true);
  return outcome;
}

Task Station::ReadLevels() {
  co_await loop_.Sleep(kBeforeLevels);
  const Announcer::Hush hush(announcer);  // what the sliders are is no news
  // A rig whose replies name their VFO also tells where the other one is.
  const bool asks_vfo_b = !engine.rig().binary() && console.FreqB->decihertz == 0;
  for (const std::string_view key : {"XGETFREQB", "XGETALPHA", "XGETBRAVO", "XGETCHAR", "XGETMISC", "XGETAF", "XGETRF",
                                     "XGETPOWER", "XGETFILTER", "XGETNOTCH"}) {
    if (!engine.dispatcher.Has(key) || (key == "XGETFREQB" && !asks_vfo_b)) continue;
    while (*console.Transmitting || *console.Tuning || engine.link.bytes_unsent() > 0 ||
           engine.parser.reply_under_way() || engine.poller.still_answering()) {
      co_await loop_.Sleep(kLineCheck);
    }
    const bool sent = engine.dispatcher.SendData(key) == cat::SendOutcome::kSent;
    if (sent && key != "XGETFREQB") engine.poller.LevelAsked();
    co_await loop_.Sleep(kBetweenLevels);
  }
}

config::SliderBounds Station::slider_bounds(int number) const {
  config::SliderBounds bounds = engine.rig().slider_bounds.at(static_cast<std::size_t>(number - 1));
  if (number == 1) bounds.maximum = engine.rig().cw_full_scale;
  return bounds;
}

cat::SendOutcome Station::MoveSlider(int number, int value) {
  const auto index = static_cast<std::size_t>(number - 1);
  const auto [maximum, minimum] = slider_bounds(number);
  const auto [low, high] = std::minmax(minimum, maximum);
  console.Slider.Set(index, std::clamp(value, low, high));
  return engine.operations.SendSlider(number);
}

}  // namespace kvx::console
