#include "console/station_setup.h"

#include <algorithm>

#include "console/usual_port.h"
#include "core/text.h"
#include "platform/ports_file.h"
#include "sim/simulated_device.h"

namespace kvx::console {
namespace {

constexpr std::string_view kSimulated = "sim:";
constexpr const char* kSimulatedRig = "TS-2000";
constexpr const char* kSimulatedAddress = "sim:ts2000";
constexpr const char* kSimulatedKeyer = "sim:winkey";
constexpr int kSimulatedSpeed = 57'600;
constexpr const char* kDdeServer = "DDESERVER=";

Status Wrong(const std::string& why) {
  return Error{ErrorCode::kInvalid, why};
}

bool HasSwitches(int port) {
  return port >= 1 && port < config::kSwitchedPorts;
}

/// "RRGGBB" and the stored 0xBBGGRR: the outer pairs of digits change places.
std::int64_t Swapped(std::int64_t color) {
  return (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
}

}  // namespace

StationSetup::StationSetup(Loop& loop, Station& station, platform::Files& files, platform::DeviceList& devices)
    : station_(station),
      files_(files),
      devices_(devices),
      test_(loop, station),
      usual_(std::make_unique<UsualPorts>(files, station.folder(), station.data())) {}

StationSetup::~StationSetup() = default;

std::vector<DeviceChoice> StationSetup::Devices() const {
  std::vector<DeviceChoice> choices;
  const int number = station_.settings().rig_port;
  const std::string used = number == 0 ? std::string() : AddressOf(number);
  for (platform::Device& device : devices_.List()) {
    const bool in_use = device.address == used || device.leads_to == used;
    choices.push_back({std::move(device), in_use});
  }
  for (const std::string& name : sim::DeviceNames()) {
    const std::string address = std::string(kSimulated) + name;
    const char* what = sim::IsKeyer(name) ? "simulated keyer" : "simulated rig";
    choices.push_back({{address, "", what}, EqualNoCase(address, used)});
  }
  return choices;
}

std::string StationSetup::AddressOf(int number) const {
  return platform::ReadPortTable(files_, station_.folder()).AddressOf(number);
}

Status StationSetup::CheckDevice(int number, const std::string& address) const {
  if (auto formed = platform::CheckAddress(address); !formed) return formed;
  const int other = platform::ReadPortTable(files_, station_.folder()).LinkOwner(address, number);
  if (other > 0 && address != AddressOf(number))
    return Wrong("The link " + OneLine(address, 60) + " is that of COM" + std::to_string(other));
  if (!address.starts_with(kSimulated)) return Ok();
  const std::string name = address.substr(kSimulated.size());
  std::string known;
  for (const std::string& candidate : sim::DeviceNames()) {
    if (EqualNoCase(candidate, name)) return Ok();
    known += (known.empty() ? "" : " ") + candidate;
  }
  return Wrong("There is no simulated device " + OneLine(name, 40) + " (" + known + ")");
}

void StationSetup::PortMoved(int number) {
  station_.keyer.PortMoved(number);
  if (station_.loggers) station_.loggers->PortMoved(number);
}

Status StationSetup::SetDevice(int number, const std::string& address) {
  if (number < 1 || number > platform::kHighestPort) return Wrong("The port number is 1 to 99");
  if (auto checked = CheckDevice(number, address); !checked) return checked;
  if (address != AddressOf(number)) {
    if (auto written = platform::WriteAddress(files_, station_.folder(), number, address); !written) return written;
    PortMoved(number);
  }
  if (number == station_.settings().rig_port) station_.OpenRigPort();
  return Ok();
}

RigPortChoice StationSetup::RigPort() const {
  return PortNumbered(station_.settings().rig_port);
}

RigPortChoice StationSetup::PortNumbered(int number) const {
  const config::StationSettings& settings = station_.settings();
  RigPortChoice choice{.number = number, .speed = settings.rig_speed, .stop_bits = settings.stop_bits()};
  if (number > 0) choice.address = AddressOf(number);
  if (HasSwitches(number)) {
    choice.dtr = settings.dtr_on[static_cast<std::size_t>(number)];
    choice.rts = settings.rts_on[static_cast<std::size_t>(number)];
  }
  return choice;
}

Status StationSetup::CheckRigPort(const RigPortChoice& choice) const {
  if (choice.number < 0 || choice.number > platform::kHighestPort)
    return Wrong("The port number is 1 to 99, or 0 for none");
  if (choice.speed < config::kSlowestLine || choice.speed > config::kFastestLine)
    return Wrong("The speed is " + std::to_string(config::kSlowestLine) + " to " +
                 std::to_string(config::kFastestLine) + " baud");
  if (choice.stop_bits != 1 && choice.stop_bits != 2) return Wrong("There are 1 or 2 stop bits");
  if (choice.number == 0) return Ok();
  const Status apart = keyer::CheckPorts(station_.keyer.settings(), choice.number);
  if (!apart) return apart;
  if ((choice.dtr || choice.rts) && !HasSwitches(choice.number))
    return Wrong("DTR and RTS can be raised on ports 1 to 8 only");
  return CheckDevice(choice.number, choice.address);
}

Status StationSetup::ApplyRigPort(const RigPortChoice& choice) {
  if (auto checked = CheckRigPort(choice); !checked) return checked;
  if (choice.number > 0 && choice.address != AddressOf(choice.number)) {
    auto written = platform::WriteAddress(files_, station_.folder(), choice.number, choice.address);
    if (!written) return written;
    PortMoved(choice.number);
  }
  station_.ChangeSettings(
      [&](config::StationSettings& settings) {
        settings.rig_port = choice.number;
        settings.rig_speed = choice.speed;
        settings.rig_stop = std::to_string(choice.stop_bits);
        if (!HasSwitches(choice.number)) return;
        settings.dtr_on[static_cast<std::size_t>(choice.number)] = choice.dtr;
        settings.rts_on[static_cast<std::size_t>(choice.number)] = choice.rts;
      },
      [&](const config::StationSettings& settings) {
        auto lines = config::RigPortChanges(settings);
        for (auto& line : config::PortSwitchChanges(settings, choice.number)) lines.push_back(std::move(line));
        return lines;
      });
  station_.OpenRigPort();
  return Ok();
}

const config::RigSetup* StationSetup::UsualSetup() {
  const config::RigSetup* setup = usual_->Of(*station_.console.RigName);
  for (const std::string& complaint : usual_->TakeComplaints()) station_.Notice(complaint);
  return setup;
}

Result<RigPortChoice> StationSetup::UsualRigPort() {
  const std::string& rig = *station_.console.RigName;
  if (EqualNoCase(rig, "NONE")) return Error{ErrorCode::kNotFound, "No rig is chosen"};
  const config::RigSetup* setup = UsualSetup();
  if (setup == nullptr || setup->speed == 0)
    return Error{ErrorCode::kNotFound, "How the port of the " + OneLine(rig, 40) + " leaves the factory is not known"};
  return WithUsual(RigPort(), *setup);
}

/// The number that leads to the simulated device already, else the first one that nobody has a use for; 0: there is
/// none.
int StationSetup::PortForSimulated(const std::string& address) const {
  const auto addresses = platform::ReadPortTable(files_, station_.folder()).addresses;
  for (const auto& [number, known] : addresses) {
    if (EqualNoCase(known, address)) return number;
  }
  const config::Settings stored = Stored();
  const auto is_named = [&stored](int number) {  // by the keyer, the antenna switch, a link
    const std::string digits = std::to_string(number);
    const auto& keys = config::SettingKeys();
    return std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
      const std::string_view value = Trim(stored.text(key));
      const bool port = key.find("PORT") != std::string::npos || key == "PADDLECOM=";
      return port && (value == digits || value == "COM" + digits);
    });
  };
  for (int number = 1; number <= platform::kHighestPort; ++number) {
    if (number != station_.settings().rig_port && !addresses.contains(number) && !is_named(number)) return number;
  }
  return 0;
}

Status StationSetup::UseSimulatedRig() {
  const auto names = station_.RigNames();
  if (!names) return names.error();
  if (std::find(names->begin(), names->end(), kSimulatedRig) == names->end())
    return Wrong("There is no rig definition " + std::string(kSimulatedRig) + " for the simulated rig");
  const int number = PortForSimulated(kSimulatedAddress);
  if (number == 0) return Wrong("Every port number has a device: there is none left for the simulated rig");
  if (AddressOf(number) != kSimulatedAddress) {
    const Status written = platform::WriteAddress(files_, station_.folder(), number, kSimulatedAddress);
    if (!written) return written;
  }
  station_.ChangeSettings(
      [number](config::StationSettings& settings) {
        settings.rig_port = number;
        settings.rig_speed = kSimulatedSpeed;
        settings.rig_stop = "1";
      },
      config::RigPortChanges);
  return station_.ChooseRig(kSimulatedRig);  // gives the rig in use up before the other port is opened
}

Status StationSetup::UseSimulatedKeyer() {
  const config::Settings stored = Stored();
  const std::string own = config::SavedRigKey("KEYERPORT", 1);
  if (!Trim(stored.text("KEYERPORT=")).empty() || !Trim(stored.text(own)).empty()) return Ok();
  const int number = PortForSimulated(kSimulatedKeyer);
  if (number == 0) return Wrong("Every port number has a device: there is none left for the simulated keyer");
  Status done = platform::WriteAddress(files_, station_.folder(), number, kSimulatedKeyer);
  if (done) done = SetSetting("PADDLECOM=", std::to_string(number));
  if (done) done = SetSetting("WINKEY1=", "on");
  return done ? SetSetting("KEYERPORT=", "WINKEY") : done;
}

Status StationSetup::ChangeSavedRig(int slot, const std::function<void(config::StationSettings&)>& change) {
  if (slot < 1 || slot > config::kSavedRigs) return Wrong("Saved rigs have the numbers 1 to 8");
  station_.ChangeSettings(
      change, [slot](const config::StationSettings& settings) { return config::SavedRigChanges(settings, slot); });
  station_.console.SavedRigs.Set(*station_.console.SavedRigs + 1);
  return Ok();
}

Status StationSetup::StoreSavedRig(int slot) {
  if (EqualNoCase(*station_.console.RigName, "NONE")) return Wrong("There is no rig to save: choose one first");
  return ChangeSavedRig(slot, [slot](config::StationSettings& settings) {
    config::SavedRig& saved = settings.saved_rigs[static_cast<std::size_t>(slot)];
    saved.name = settings.rig;
    saved.speed = settings.rig_speed;
    saved.start_bit = settings.rig_start;
    saved.stop_bit = settings.rig_stop;
  });
}

Status StationSetup::ClearSavedRig(int slot) {
  return ChangeSavedRig(slot, [slot](config::StationSettings& settings) {
    config::SavedRig& saved = settings.saved_rigs[static_cast<std::size_t>(slot)];
    saved = {.keyer_port = saved.keyer_port};
  });
}

void StationSetup::Keep(const std::function<void(config::StationSettings&)>& change, const std::string& key,
                        const std::string& value) {
  station_.ChangeSettings(change, [&](const config::StationSettings&) {
    return std::vector<config::SettingChange>{{key, value}};
  });
  station_.FollowSettings();
}

Status StationSetup::SetRegion(int region) {
  if (region < 1 || region > 3) return Wrong("The IARU regions are 1, 2 and 3");
  Keep([region](config::StationSettings& settings) { settings.band_plan = region; }, "BANDPLAN=", NumberText(region));
  if (on_redraw) on_redraw();
  return Ok();
}

Status StationSetup::SetPollInterval(int milliseconds) {
  if (milliseconds < config::kShortestPollMilliseconds || milliseconds > config::kLongestPollMilliseconds)
    return Wrong("The poll interval is 10 to 5000 milliseconds");
  Keep([milliseconds](config::StationSettings& settings) { settings.poll_milliseconds = milliseconds; },
       "POLLTIME=", NumberText(milliseconds));
  return Ok();
}

Status StationSetup::SetGmtHours(int hours) {
  if (hours < -kMostGmtHours || hours > kMostGmtHours) return Wrong("The clock is -14 to 14 hours from local time");
  Keep(
      [hours](config::StationSettings& settings) {
        settings.gmt_hours = hours;
        settings.gmt_is_set = hours != 0;
      },
      "GMT=", NumberText(hours));
  return Ok();
}

int StationSetup::gmt_hours() const {
  return station_.settings().gmt_is_set ? station_.settings().gmt_hours : 0;
}

Status StationSetup::SetOffset(const std::string& khz) {
  const std::string text = ReplaceAll(std::string(Trim(khz)), ",", ".");
  const auto offset = ParseKhz(text);
  if (!offset) return Wrong("The offset is a number of kHz, as in 116000 or -1.5");
  Keep([&](config::StationSettings& settings) { settings.offset = text; },
       "PDOFFSET=", (text.starts_with('-') ? "" : " ") + text);
  return Ok();
}

config::Settings StationSetup::Stored() const {
  const Result<std::string> file = station_.ReadFile("rig.ini");
  const std::string content = file && IsText(*file) ? *file : std::string();
  config::Settings stored = config::Settings::Parse(content);
  if (!station_.dde || !Trim(stored.text(kDdeServer)).empty()) return stored;
  const char* wanted = station_.dde->is_wanted() ? "True" : "False";
  return config::Settings::Parse(config::RewriteSettings(content, {{kDdeServer, wanted}}));
}

Result<std::string> StationSetup::Setting(const std::string& key) const {
  const config::KeptSetting* setting = config::FindKeptSetting(key);
  if (setting == nullptr) return Error{ErrorCode::kNotFound, "There is no keyer or link setting " + OneLine(key, 40)};
  return config::ShownValue(*setting, Stored());
}

/// The keyer as it would be with that line. Only what chooses a port, an output or its levels can be in another's way.
Status StationSetup::CheckKeyer(const config::KeptSetting& setting, const std::string& value) const {
  const std::string& key = setting.key;
  const bool chooses =
      key.starts_with("KEYERPORT") || key == "PADDLECOM=" || key == "INVERT=" || key.starts_with("WINKEY");
  if (!chooses) return Ok();
  int slot = station_.keyer_slot();
  if (key == "KEYERPORT=") slot = 0;
  for (int saved = 1; saved <= config::kSavedRigs; ++saved) {
    if (key == config::SavedRigKey("KEYERPORT", saved)) slot = saved;
  }
  const std::string content = station_.ReadFile("rig.ini").ok() ? *station_.ReadFile("rig.ini") : std::string();
  const auto would_be = config::Settings::Parse(config::RewriteSettings(content, {{key, value}}));
  return keyer::CheckChoice(keyer::KeyerSettings::From(would_be, slot), station_.settings().rig_port);
}

Status StationSetup::SetSetting(const std::string& key, const std::string& value) {
  const config::KeptSetting* setting = config::FindKeptSetting(key);
  if (setting == nullptr) return Setting(key).error();
  const Result<std::string> line = config::ValueForFile(*setting, value);
  if (!line) return line.error();
  if (const Status possible = CheckKeyer(*setting, *line); !possible) return possible;
  station_.ChangeSettings(
      [&](config::StationSettings& settings) {
        for (int slot = 1; slot <= config::kSavedRigs; ++slot) {
          if (setting->key != config::SavedRigKey("KEYERPORT", slot)) continue;
          settings.saved_rigs[static_cast<std::size_t>(slot)].keyer_port = *line;
        }
      },
      [&](const config::StationSettings&) {
        return std::vector<config::SettingChange>{{setting->key, *line}};
      });
  if (!station_.saved()) return Error{ErrorCode::kBusy, setting->name() + " is not in rig.ini yet: see the messages"};
  return Ok();
}

Status StationSetup::SetColor(ScreenPart part, std::string_view rrggbb) {
  if (rrggbb.starts_with('#')) rrggbb.remove_prefix(1);
  std::int64_t color = 0;
  for (const char c : rrggbb) {
    const std::size_t digit = std::string_view("0123456789ABCDEF").find(Upper(std::string_view(&c, 1)));
    if (digit == std::string_view::npos || rrggbb.size() != 6) color = -1;
    if (color >= 0) color = color << 4 | static_cast<std::int64_t>(digit);
  }
  if (rrggbb.empty() || color < 0) return Wrong("A colour is six hexadecimal digits RRGGBB, as in C0C0C0");
  station_.ChangeSettings(
      [&](config::StationSettings& settings) {
        (part == ScreenPart::kBody ? settings.body_color : settings.screen_color) = Swapped(color);
      },
      config::AppearanceChanges);
  if (on_redraw) on_redraw();
  return Ok();
}

std::string StationSetup::ColorText(ScreenPart part) const {
  const config::StationSettings& settings = station_.settings();
  std::int64_t color = Swapped(part == ScreenPart::kBody ? settings.body_color : settings.screen_color);
  std::string text(6, '0');
  for (auto digit = text.rbegin(); digit != text.rend(); ++digit, color >>= 4) *digit = "0123456789ABCDEF"[color & 0xF];
  return text;
}

}  // namespace kvx::console
