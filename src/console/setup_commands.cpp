#include "console/setup_commands.h"

#include <functional>
#include <limits>

#include "console/answers.h"
#include "console/usual_port.h"
#include "core/text.h"
#include "platform/ports_file.h"

namespace kvx::console {
namespace {

std::string Answer(const Status& status, const std::string& done) {
  return status.ok() ? "ok " + done : "error: " + status.error().message;
}

std::string Devices(const StationSetup& setup) {
  std::string answer = "ok";
  for (const DeviceChoice& choice : setup.Devices()) {
    answer += (answer == "ok" ? " " : ", ") + OneLine(choice.device.address) + " (" +
              OneLine(choice.device.description) + (choice.in_use ? ", in use" : "") + ")";
  }
  return answer;
}

std::string Device(StationSetup& setup, std::string_view argument) {
  const auto [word, address] = FirstWord(argument);
  const auto number = ParseNumber(word, 1, platform::kHighestPort);
  if (!number) return "error: device takes a port number 1 to 99 and what stands behind it";
  const int port = static_cast<int>(*number);
  const Status status = address.empty() ? Ok() : setup.SetDevice(port, std::string(address));
  return Answer(status, "device " + std::to_string(port) + " " + OneLine(setup.AddressOf(port)));
}

std::string Line(StationSetup& setup, std::string_view argument) {
  const auto [line, state] = FirstWord(argument);
  const bool on = EqualNoCase(state, "on");
  const bool dtr = EqualNoCase(line, "dtr");
  if ((!dtr && !EqualNoCase(line, "rts")) || (!on && !EqualNoCase(state, "off")))
    return "error: line takes dtr or rts, and on or off";
  RigPortChoice choice = setup.RigPort();
  if (choice.number == 0) return "error: no port is chosen";
  (dtr ? choice.dtr : choice.rts) = on;
  return Answer(setup.ApplyRigPort(choice), "line " + Lower(line) + " " + Lower(state));
}

std::string StopBits(StationSetup& setup, std::string_view argument) {
  const auto bits = ParseNumber(argument, 1, 2);
  if (!bits) return "error: stopbits takes 1 or 2";
  RigPortChoice choice = setup.RigPort();
  choice.stop_bits = static_cast<int>(*bits);
  return Answer(setup.ApplyRigPort(choice), "stopbits " + std::to_string(*bits));
}

std::string Usual(StationSetup& setup, std::string_view argument) {
  const bool apply = EqualNoCase(Trim(argument), "apply");
  if (!apply && !Trim(argument).empty()) return "error: usual takes apply, or nothing";
  const Result<RigPortChoice> port = setup.UsualRigPort();
  if (!port) return Fail(port.error().message);
  const std::string sentence = "usual " + UsualSentence(*setup.UsualSetup());
  if (!apply) return "ok " + sentence;
  if (port->number == 0) return "error: no port is chosen";
  return Answer(setup.ApplyRigPort(*port), sentence);
}

Task Test(std::reference_wrapper<StationSetup> setup, std::shared_ptr<std::string> answer) {
  const auto result = std::make_shared<RigTestResult>();
  Task test = setup.get().TestRig(result);
  co_await test;
  *answer = (result->answered ? "ok " : "error: ") + result->sentence;
}

std::string StoreSlot(StationSetup& setup, int slot) {
  const Status stored = setup.StoreSavedRig(slot);
  const config::StationSettings& settings = setup.station().settings();
  return Answer(stored,
                "storeslot " + std::to_string(slot) + " " + settings.rig + " " + std::to_string(settings.rig_speed));
}

std::string Color(StationSetup& setup, std::string_view argument) {
  const auto [name, color] = FirstWord(argument);
  const bool body = EqualNoCase(name, "body");
  if (!body && !EqualNoCase(name, "screen")) return "error: color takes body or screen, and RRGGBB";
  const ScreenPart part = body ? ScreenPart::kBody : ScreenPart::kScreen;
  const Status status = setup.SetColor(part, color);
  return Answer(status, "color " + Lower(name) + " " + setup.ColorText(part));
}

/// The longest key that the argument begins with (a saved rig's has a blank in it), and the rest.
std::pair<const config::KeptSetting*, std::string_view> KeyAndValue(std::string_view argument) {
  std::pair<const config::KeptSetting*, std::string_view> found{nullptr, argument};
  for (const config::KeptSetting& setting : config::KeptSettings()) {
    const std::string name = setting.name();
    if (!EqualNoCase(argument.substr(0, name.size()), name)) continue;
    const std::string_view rest = argument.substr(name.size());
    const bool ends = rest.empty() || rest.front() == ' ' || rest.front() == '=';
    if (ends && (found.first == nullptr || name.size() > found.first->name().size())) found = {&setting, Trim(rest)};
  }
  return found;
}

std::string SettingNames() {
  std::string names;
  for (const config::KeptSetting& setting : config::KeptSettings())
    names += (names.empty() ? "" : ", ") + setting.name();
  return names;
}

/// The equals sign is welcome, and needed for an empty value.
std::string Setting(StationSetup& setup, std::string_view argument) {
  if (argument.empty()) return "ok setting " + SettingNames();
  auto [setting, value] = KeyAndValue(argument);
  if (setting == nullptr) return "error: " + setup.Setting(std::string(FirstWord(argument).first)).error().message;
  const std::string name = "setting " + setting->name();
  if (!value.empty()) {
    if (value.front() == '=') value = Trim(value.substr(1));
    if (const Status kept = setup.SetSetting(setting->key, std::string(value)); !kept) return Answer(kept, name);
  }
  return "ok " + name + "=" + OneLine(*setup.Setting(setting->key));
}

/// Adds a command that takes one whole number; the operation knows its bounds.
void AddNumber(CommandLine& commands, const std::string& name, const std::string& usage,
               std::function<std::string(int number)> operation) {
  commands.Add(name, usage, [name, operation = std::move(operation)](std::string_view argument) {
    const auto number = ParseNumber(argument, std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    return number ? operation(static_cast<int>(*number)) : "error: " + name + " takes a number";
  });
}

void AddPortCommands(CommandLine& commands, StationSetup& setup) {
  commands.Add("devices", "the devices that a port number may stand for",
               [&setup](std::string_view) { return Devices(setup); });
  commands.Add("device", "N [ADDRESS]: what stands behind a port number, or puts a device there",
               [&setup](std::string_view argument) { return Device(setup, argument); });
  commands.Add("line", "dtr|rts on|off: a line of the rig port",
               [&setup](std::string_view argument) { return Line(setup, argument); });
  commands.Add("stopbits", "1|2: of the rig port",
               [&setup](std::string_view argument) { return StopBits(setup, argument); });
  commands.Add("usual", "[apply]: how the rig's port leaves the factory, or sets the rig port so",
               [&setup](std::string_view argument) { return Usual(setup, argument); });
  commands.AddProcedure(
      "test", "asks the rig and says what it answered",
      [&setup](std::string, std::shared_ptr<std::string> answer) { return Test(setup, std::move(answer)); });
}

void AddStationCommands(CommandLine& commands, StationSetup& setup) {
  AddNumber(commands, "storeslot", "1..8: keep the rig and its speed as a saved rig",
            [&setup](int slot) { return StoreSlot(setup, slot); });
  AddNumber(commands, "clearslot", "1..8: empty a saved rig",
            [&setup](int slot) { return Answer(setup.ClearSavedRig(slot), "clearslot " + std::to_string(slot)); });
  AddNumber(commands, "region", "1|2|3: the IARU region of the band plan",
            [&setup](int region) { return Answer(setup.SetRegion(region), "region " + std::to_string(region)); });
  AddNumber(commands, "interval", "10..5000: milliseconds between two beats of the poll", [&setup](int milliseconds) {
    return Answer(setup.SetPollInterval(milliseconds), "interval " + std::to_string(milliseconds));
  });
  AddNumber(commands, "gmt", "-14..14: hours added to local time for the clock; 0: the system's own UTC",
            [&setup](int hours) { return Answer(setup.SetGmtHours(hours), "gmt " + std::to_string(hours)); });
  commands.Add("offset", "KHZ: the rig is this much above the display", [&setup](std::string_view argument) {
    const Status status = setup.SetOffset(std::string(argument));
    return Answer(status, "offset " + setup.station().settings().offset);
  });
}

void AddKeptCommands(CommandLine& commands, StationSetup& setup) {
  commands.Add("setting", "KEY [VALUE]: a setting that is kept for the keyer or the links, or sets it; KEY= empties it",
               [&setup](std::string_view argument) { return Setting(setup, Trim(argument)); });
}

void AddAppearanceCommands(CommandLine& commands, StationSetup& setup) {
  commands.Add("theme", "dark|light|contrast|classic", [&setup](std::string_view argument) {
    const Status status = setup.station().SetTheme(std::string(argument));
    return Answer(status, "theme " + *setup.station().console.Theme);
  });
  AddNumber(commands, "textsize", "70..250: percent", [&setup](int percent) {
    return Answer(setup.station().SetTextSize(percent), "textsize " + std::to_string(percent));
  });
  commands.Add("color", "body|screen RRGGBB: of the classic theme",
               [&setup](std::string_view argument) { return Color(setup, argument); });
}

}  // namespace

void AddSetupCommands(CommandLine& commands, StationSetup& setup) {
  AddPortCommands(commands, setup);
  AddStationCommands(commands, setup);
  AddKeptCommands(commands, setup);
  AddAppearanceCommands(commands, setup);
}

}  // namespace kvx::console
