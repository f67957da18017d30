#include "console/accessory_commands.h"

#include <algorithm>

#include "accessories/accessories.h"
#include "accessories/rotator_presets.h"
#include "core/text.h"

namespace kvx::console {
namespace {

using accessories::AntennaControl;
using accessories::AntennaField;
using accessories::DirectPort;

std::string Fail(const std::string& why) {
  return "error: " + why;
}

/// The first word and the rest.
std::pair<std::string_view, std::string_view> FirstWord(std::string_view text) {
  text = Trim(text);
  const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
  return {text.substr(0, end), Trim(text.substr(end))};
}

std::string AntennaText(const AntennaControl& antennas) {
  return "antenna " + std::to_string(antennas.antenna());
}

/// "bearing 045, M045<CR>, antenna 2"
std::string BearingText(const AntennaControl& antennas) {
  if (antennas.LastBearing().empty()) return "bearing none, rotator port " + antennas.port_state();
  const std::string command = antennas.last_command().empty() ? "" : ", " + antennas.last_command();
  return "bearing " + antennas.LastBearing() + command + ", " + AntennaText(antennas) + ", rotator port " +
         antennas.port_state();
}

std::string Bearing(AntennaControl& antennas, std::string_view argument) {
  if (argument.empty()) return "ok " + BearingText(antennas);
  const auto [word, rest] = FirstWord(argument);
  const bool long_path = EqualNoCase(word, "long");
  const bool path = long_path || EqualNoCase(word, "short");
  const Status gone = antennas.GoTo(path ? rest : argument, long_path);
  return gone ? "ok " + BearingText(antennas) : Fail(gone.error().message);
}

std::string Antenna(AntennaControl& antennas, std::string_view argument) {
  if (argument.empty()) return "ok " + AntennaText(antennas);
  const auto number = ParseNumber(argument, 1, accessories::kAntennas);
  if (!number) return Fail("antenna takes 1 to 4");
  const Status pressed = antennas.PressAntenna(static_cast<int>(*number));
  return pressed ? "ok antenna " + std::to_string(*number) : Fail(pressed.error().message);
}

/// The lamps as binary digits, bit 7 first.
std::string Lamps(const DirectPort& direct) {
  std::string bits;
  for (int bit = DirectPort::kBits - 1; bit >= 0; --bit) bits += direct.lamp(bit) ? '1' : '0';
  return bits;
}

std::string Bit(DirectPort& direct, std::string_view argument) {
  if (argument.empty()) {
    direct.ReadPort();
    return "ok bits " + Lamps(direct);
  }
  const auto [number, rest] = FirstWord(argument);
  const auto [action, length] = FirstWord(rest);
  const auto bit = ParseNumber(number, 0, DirectPort::kBits - 1);
  if (!bit) return Fail("bit takes 0 to 7, and set, clear, pulse or press");
  const int line = static_cast<int>(*bit);
  Status done = Error{ErrorCode::kInvalid, "bit takes set, clear, pulse or press"};
  const auto microseconds = ParseNumber(length, 0, platform::kLongestPulse);
  if (EqualNoCase(action, "set")) done = direct.Change(line, platform::kSet);
  if (EqualNoCase(action, "clear")) done = direct.Change(line, platform::kClear);
  if (EqualNoCase(action, "press")) done = direct.Press(line);
  if (EqualNoCase(action, "pulse")) {
    if (!length.empty() && !microseconds) return Fail("a pulse is 0 to 1000000 microseconds long");
    done = microseconds ? direct.PulseBit(line, static_cast<int>(*microseconds)) : direct.PulseBit(line);
  }
  return done ? "ok bit " + std::to_string(line) + " " + Lower(action) + ", bits " + Lamps(direct)
              : Fail(done.error().message);
}

std::string FieldText(const AntennaControl& antennas, AntennaField field) {
  const std::string& text = antennas.field(field);
  const bool plain = std::none_of(text.begin(), text.end(), [](char c) { return (c & 0xE0) == 0 || c == 0x7F; });
  return std::string(accessories::RowOf(field).name) + " " + (plain ? text : OneLine(text));
}

/// The rotator's port follows its fields at once.
bool IsPortField(AntennaField field) {
  return field == AntennaField::kRport || field == AntennaField::kRspeed || field == AntennaField::kRstop;
}

std::string SetField(AntennaControl& antennas, std::string_view argument) {
  const auto [name, text] = FirstWord(argument);
  if (name.empty()) {
    std::string all = "ok antset";
    for (std::size_t i = 0; i < accessories::kAntennaFields; ++i)
      all += (i == 0 ? " " : ", ") + FieldText(antennas, static_cast<AntennaField>(i));
    return all;
  }
  const auto field = accessories::FindAntennaField(name);
  if (!field) return Fail("there is no field " + OneLine(name, 40) + ": antset lists them");
  const std::string_view after = argument.substr(static_cast<std::size_t>(name.end() - argument.begin()));
  if (after.empty()) return "ok antset " + FieldText(antennas, *field);
  if (*field == AntennaField::kLocator && !text.empty() && !accessories::FromLocator(text))
    return Fail(OneLine(text, 40) + " is no Maidenhead locator");
  if (const Status set = antennas.SetField(*field, text); !set) return Fail(set.error().message);
  antennas.Save();
  if (IsPortField(*field)) antennas.InitComm();
  return "ok antset " + FieldText(antennas, *field);
}

std::string Preset(AntennaControl& antennas, std::string_view argument) {
  if (argument.empty()) {
    std::string all = "ok antpreset";
    for (const auto& preset : accessories::RotatorPresets())
      all += (all == "ok antpreset" ? " " : ", ") + std::string(preset.name);
    return all;
  }
  if (const Status used = antennas.UsePreset(argument); !used) return Fail(used.error().message);
  antennas.Save();
  const int speed = accessories::FindRotatorPreset(argument)->speed;
  return "ok antpreset " + antennas.field(AntennaField::kCommString) +
         (speed == 0 ? ", at a port tcp:HOST:PORT" : ", usually at " + std::to_string(speed) + " baud");
}

std::string Port(AntennaControl& antennas, std::string_view argument) {
  if (EqualNoCase(argument, "open")) antennas.InitComm();
  if (!argument.empty() && !EqualNoCase(argument, "open")) return Fail("antport takes open, or nothing");
  return "ok antport " + antennas.SettingsText() + " " + antennas.port_state();
}

}  // namespace

void AddAccessoryCommands(CommandLine& commands, Station& station) {
  AntennaControl& antennas = station.accessories->antennas;
  DirectPort& direct = station.accessories->direct;
  const auto add = [&commands](const char* name, const char* usage, auto& target, auto handler) {
    commands.Add(name, usage,
                 [&target, handler](std::string_view argument) { return handler(target, Trim(argument)); });
  };
  add("bearing", "[[long|short] 0..359|LOCATOR]: turn the rotator and switch in the antennas of that bearing", antennas,
      Bearing);
  add("antenna", "[1..4]: switch in an antenna, or tell which one is", antennas, Antenna);
  add("bit", "[0..7 set|clear|press|pulse [MICROSECONDS]]: a data line of the parallel port, or how all of them are",
      direct, Bit);
  add("antset", "[FIELD [TEXT]]: a field of the antenna windows, or sets it; kept in rig.ini", antennas, SetField);
  add("antpreset", "[NAME]: the rotator's command for a controller, or the names of those that are known", antennas,
      Preset);
  add("antport", "[open]: the rotator's port, or opens it anew", antennas, Port);
}

std::string AntennaJson(const Station& station) {
  const AntennaControl& antennas = station.accessories->antennas;
  return "{\"bearing\":" + JsonString(antennas.LastBearing()) + ",\"antenna\":" + std::to_string(antennas.antenna()) +
         ",\"bits\":" + JsonString(Lamps(station.accessories->direct)) +
         ",\"port\":" + JsonString(antennas.field(AntennaField::kRport)) +
         ",\"port_state\":" + JsonString(antennas.port_state()) +
         ",\"command\":" + JsonString(antennas.last_command()) + ",\"reply\":" + JsonString(antennas.last_reply()) +
         "}";
}

}  // namespace kvx::console
