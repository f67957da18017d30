#include <algorithm>
#include <array>
#include <filesystem>

#include "accessories/antenna_settings.h"
#include "console/doctor_checks.h"
#include "core/text.h"
#include "links/link_port.h"
#include "sim/simulated_device.h"

namespace kvx::console {
namespace {

using platform::DeviceFacts;

constexpr std::size_t kMostChoices = 6;
constexpr std::string_view kPseudo = "/dev/pts/";

/// The findings of one port; what is wrong with one that nothing uses at present is a warning.
class PortChart {
 public:
  PortChart(const Patient& patient, PortUse use, Chart& chart)
      : patient_(patient), use_(std::move(use)), chart_(chart) {}

  void Check() {
    const std::string address = patient_.ports.AddressOf(use_.number);
    if (const Status formed = platform::CheckAddress(address); !formed)
      return Wrong(formed.error().message + ": " + Choose());
    if (address.starts_with("sim:")) return CheckSimulated(address);
    if (address.starts_with("tcp:")) return CheckConnection(address);
    if (address.starts_with("pty:")) return CheckVirtual(address.substr(4));
    CheckDevice(address);
  }

 private:
  void Wrong(const std::string& text) {
    const std::string line = use_.name + ": " + text;
    use_.on ? chart_.Error(line) : chart_.Warn(line);
  }
  void Ok(const std::string& text) { chart_.Ok(use_.name + ": " + text); }
  std::string Choose() const {
    return "choose the device (window Setup; or the command device " + std::to_string(use_.number) + " ADDRESS)";
  }

  void CheckSimulated(const std::string& address) {
    const auto& names = sim::DeviceNames();
    const auto is_it = [&](const std::string& name) { return EqualNoCase("sim:" + name, address); };
    if (std::any_of(names.begin(), names.end(), is_it)) return Ok("is the simulated device " + address);
    Wrong("there is no simulated device " + OneLine(address, 40) + ": " + Choose());
  }

  /// Not connected to: the server would open its own port, which may key a transmitter.
  void CheckConnection(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    const std::string host = address.substr(4, colon - 4);
    const int port = static_cast<int>(LeadingNumber(address.substr(colon + 1)));
    const auto found = patient_.parts.network.AddressOf(host);
    if (!found)
      return Wrong("the computer " + OneLine(host, 60) + " is not found (" + found.error().message +
                   "): check its name and the network, or " + Choose());
    const auto server = patient_.parts.network.ListenerAt(*found, port);
    if (patient_.parts.network.IsOwn(*found) && !server)
      return Wrong("nothing waits for connections on port " + std::to_string(port) +
                   " of this computer: start the serial server, or " + Choose());
    Ok("is " + address + ", " + (server ? "served by " + NameOf(*server) : "whose computer is known by the network") +
       "; not tried, since the server would open its own port");
  }

  void CheckVirtual(const std::string& link) {
    const platform::Path folder = platform::Path(link).parent_path();
    const DeviceFacts facts = patient_.parts.inspector.Inspect(link);
    const bool left = facts.is_link && (!facts.exists || facts.leads_to.starts_with(kPseudo));
    if ((facts.exists || facts.is_link) && !left)
      return Wrong("something else stands at " + link + ", where the virtual port's link belongs: mv " + Quoted(link) +
                   " " + Quoted(link + ".old"));
    if (!patient_.parts.station.Look(folder).writable)
      return Wrong("the folder " + folder.string() + " is not there or cannot be written by this user: " + Choose());
    if (left && facts.exists && facts.maker && !patient_.IsConsole(*facts.maker))
      return chart_.Warn(use_.name + ": " + link + " leads to a terminal of " + NameOf(*facts.maker) +
                         ", whose link the console would replace: end that program or choose another path");
    Ok("is a virtual port whose other end is " + link);
  }

  void CheckDevice(const std::string& address) {
    const DeviceFacts facts = patient_.parts.inspector.Inspect(address);
    if (!facts.exists || !facts.hardware) return Missing(address, facts);
    if (!facts.is_device) return Wrong(address + " is no serial device: " + Choose());
    if (!facts.usable) return Denied(address, facts);
    const auto other = std::find_if(facts.users.begin(), facts.users.end(),
                                    [&](const auto& user) { return !patient_.IsConsole(user); });
    if (other != facts.users.end())
      return Wrong(address + " is in use by " + NameOf(*other) + ": end that program, or " + Choose());
    if (!CheckLockFiles(address, facts)) return;
    std::string text = "is " + address;
    if (const std::string lasting = LastingName(address, facts); !lasting.empty())
      text += ", whose lasting name is " + lasting;
    if (!facts.users.empty()) return Ok(text + ", in use by the console");
    text += patient_.parts.inspector.sees_all() ? ", which nobody has open" : ", which no program of yours has open";
    Ok(text + (facts.maker ? "; a terminal of " + NameOf(*facts.maker) : ""));
  }

  void Missing(const std::string& address, const DeviceFacts& facts) {
    const bool own_line = patient_.ports.addresses.contains(use_.number);
    std::string text = facts.exists ? "there is no hardware behind " + address : address + " does not exist";
    if (!own_line) text += ", which a port stands for that has no line in ports.ini";
    text += own_line && !facts.exists ? ": plug the device in, or " : ": ";
    std::string choices;
    const auto devices = patient_.parts.devices.List();
    for (std::size_t i = 0; i < devices.size() && i < kMostChoices; ++i)
      choices += (i == 0 ? "" : ", ") + OneLine(devices[i].address, 120) + " (" + devices[i].description + ")";
    Wrong(text + Choose() + (choices.empty() ? "; no serial device is plugged in" : "; there are " + choices));
  }

  void Denied(const std::string& address, const DeviceFacts& facts) {
    std::string text = address + ": this user may not read and write it";
    if (facts.leads_to.starts_with(kPseudo)) {
      text += "; it is a terminal of " + (facts.maker ? NameOf(*facts.maker) : "the user " + facts.owner) +
              ": start that program as the same user as the console";
    } else if (facts.group.empty()) {
      text += ", only " + facts.owner + " may: sudo chgrp dialout " + Quoted(facts.leads_to) + " and sudo chmod 660 " +
              Quoted(facts.leads_to) +
              ", until it is plugged in again (a udev rule lasts: GROUP=\"dialout\", MODE=\"0660\")";
    } else if (facts.listed) {
      text += ", because the group " + facts.group + " does not count in this session yet: log out and in again";
    } else {
      text += ", the members of the group " + facts.group + " may: sudo adduser $USER " + facts.group +
              ", then log in again";
    }
    Wrong(text);
  }

  /// False: something has been found.
  bool CheckLockFiles(const std::string& address, const DeviceFacts& facts) {
    for (const platform::PortLockFile& lock : facts.locks) {
      const bool known = std::any_of(facts.users.begin(), facts.users.end(),
                                     [&](const auto& user) { return user.process == lock.holder.process; });
      if (known || (lock.alive && patient_.IsConsole(lock.holder))) continue;
      if (lock.alive) {
        Wrong(address + " is taken by " + NameOf(lock.holder) + ", as " + lock.path + " says: end that program");
        return false;
      }
      if (lock.removable) continue;  // the console removes it by itself
      Wrong(lock.path + " was left by a program that has ended, and keeps others out: sudo rm " + Quoted(lock.path));
      return false;
    }
    return true;
  }

  std::string LastingName(const std::string& address, const DeviceFacts& facts) const {
    if (address.find("/by-id/") != std::string::npos || facts.usb.empty()) return "";
    for (const platform::Device& device : patient_.parts.devices.List()) {
      if (device.leads_to == facts.leads_to && device.address != address) return device.address;
    }
    return "";
  }

  const Patient& patient_;
  PortUse use_;
  Chart& chart_;
};

/// Two numbers, one device.
void CheckTwice(const Patient& patient, const std::vector<PortUse>& uses, Chart& chart) {
  const auto place = [&](const PortUse& use) {
    const std::string address = patient.ports.AddressOf(use.number);
    if (!address.starts_with('/')) return Lower(address);
    std::error_code error;
    const platform::Path target = std::filesystem::canonical(address, error);
    return error ? address : target.string();
  };
  for (std::size_t i = 0; i < uses.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      const std::string where = place(uses[i]);
      if (where != place(uses[j]) || where.starts_with("sim:") || where.starts_with("tcp:")) continue;
      const std::string line = uses[j].name + " and " + uses[i].name + ": both are " + where +
                               ", which only one of them can have: choose another device for one (window Setup)";
      uses[i].on&& uses[j].on ? chart.Error(line) : chart.Warn(line);
    }
  }
}

std::string UsbName(const std::string& numbers) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kKnown{
      {{"1a86:7523", "CH340"}, {"10c4:ea60", "CP210x"}, {"0403:6001", "FT232"}, {"067b:2303", "PL2303"}}};
  for (const auto& [known, name] : kKnown) {
    if (known == numbers) return std::string(name) + ", " + numbers;
  }
  return numbers;
}

bool Runs(const std::vector<std::string>& programs, std::string_view name) {
  return std::any_of(programs.begin(), programs.end(),
                     [name](const auto& program) { return EqualNoCase(program, name); });
}

void CheckBraille(const Patient& patient, bool running, Chart& chart) {
  constexpr const char* kEnd =
      "sudo systemctl stop brltty-udev.service brltty.service, then sudo systemctl mask the same two, and plug the "
      "adapter in anew; who reads Braille masks its rule for this adapter instead";
  bool told = false;
  for (const platform::BrailleClaim& claim : patient.parts.inspector.BrailleClaims()) {
    const std::string what =
        "the USB serial adapter " + OneLine(claim.description, 60) + " (" + UsbName(claim.usb) + ")";
    told = true;
    if (claim.has_port) {
      chart.Warn("brltty: the Braille service takes " + what + " for a Braille display and may grab it: " + kEnd);
    } else {
      chart.Error("brltty: the Braille service has grabbed " + what + ", which is no serial port now: " + kEnd);
    }
  }
  if (!told)
    chart.Ok(running ? "brltty: the Braille service runs and claims no serial adapter" : "brltty: does not run");
}

/// It sends commands for mobile modems to what has just been plugged in.
void CheckModems(const Patient& patient, bool running, Chart& chart) {
  if (!running) return chart.Ok("ModemManager: does not run");
  for (const PortUse& use : PortsInUse(patient)) {
    const std::string address = patient.ports.AddressOf(use.number);
    if (!address.starts_with('/')) continue;
    if (patient.parts.inspector.Inspect(address).leads_to.find("/ttyACM") == std::string::npos) continue;
    return chart.Warn("ModemManager: runs and may send modem commands to the " + use.name +
                      " whenever it is plugged in" +
                      ": sudo systemctl mask --now ModemManager, unless a mobile modem is used");
  }
  chart.Ok("ModemManager: runs; it leaves ports like this station's alone");
}

}  // namespace

std::vector<PortUse> PortsInUse(const Patient& patient) {
  using accessories::AntennaField;
  std::vector<PortUse> uses;
  const auto add = [&uses](const std::string& name, std::int64_t number, bool on) {
    if (number < 1 || number > platform::kHighestPort) return;
    uses.push_back({name + " COM" + std::to_string(number), static_cast<int>(number), on});
  };
  add("rig port", patient.settings.rig_port, true);
  const bool own = patient.keyer.port != patient.settings.rig_port;  // else CheckKeyer tells
  if (patient.keyer.kind == keyer::KeyerKind::kWinkey && own) add("WinKeyer port", patient.keyer.port, true);
  if (patient.keyer.kind == keyer::KeyerKind::kComLine && own) add("key line", patient.keyer.port, true);
  const accessories::AntennaFields fields = accessories::ReadAntennaFields(patient.stored);
  const auto field = [&fields](AntennaField which) { return fields[static_cast<std::size_t>(which)]; };
  if (field(AntennaField::kUseRig) != "True") add("rotator port", LeadingNumber(field(AntennaField::kRport)), true);
  const auto add_link = [&](const std::string& name, const links::LinkPort& port) {
    if (port.is_chosen()) add(name, port.number, port.on);
  };
  add_link("logger port", links::LinkPort::From(patient.stored, "CWSKIMMER=", "LOGGERLINK="));
  add_link("logger's CW port", links::LinkPort::From(patient.stored, "WINKEYIN=", "KEYERLINK="));
  return uses;
}

void CheckSerialPorts(const Patient& patient, Chart& chart) {
  const std::vector<PortUse> uses = PortsInUse(patient);
  std::vector<PortUse> devices;  // a number that two use is looked at once
  for (const PortUse& use : uses) {
    const auto seen = [&use](const PortUse& other) { return other.number == use.number; };
    if (std::any_of(devices.begin(), devices.end(), seen)) continue;
    devices.push_back(use);
    PortChart(patient, use, chart).Check();
  }
  CheckTwice(patient, uses, chart);
}

void CheckParallelPorts(const Patient& patient, Chart& chart) {
  using accessories::AntennaField;
  std::vector<std::pair<int, std::string>> used;
  if (patient.keyer.kind == keyer::KeyerKind::kLptPin) used.emplace_back(patient.keyer.port, "key line");
  const accessories::AntennaFields fields = accessories::ReadAntennaFields(patient.stored);
  const auto field = [&fields](AntennaField which) { return fields[static_cast<std::size_t>(which)]; };
  bool antennas = false;
  for (int antenna = 1; antenna <= accessories::kAntennas; ++antenna)
    antennas = antennas || !field(accessories::FromField(antenna)).empty();
  if (antennas) used.emplace_back(LeadingNumber(field(AntennaField::kPPort)), "antenna switch");
  for (const auto& [number, what] : used) {
    const bool register_alone = patient.parts.demo && !patient.ports.parallel.contains(number);
    const std::string address = register_alone ? "sim:lpt" : patient.ports.ParallelAddressOf(number);
    const std::string name = what + " LPT" + std::to_string(number) + ": ";
    if (address.starts_with("sim:")) {
      chart.Ok(name + "is simulated");
      continue;
    }
    const DeviceFacts facts = patient.parts.inspector.Inspect(address);
    if (!facts.exists) {
      chart.Error(name + address + " does not exist: sudo modprobe ppdev, and echo ppdev | sudo tee " +
                  "/etc/modules-load.d/ppdev.conf for every start; a port on a card may need its own driver");
    } else if (!facts.usable) {
      const std::string group = facts.group.empty() ? "lp" : facts.group;
      chart.Error(name + "this user may not use " + address +
                  (facts.listed ? ": log out and in again, so that the group " + group + " counts"
                                : ": sudo adduser $USER " + group + ", then log in again"));
    } else if (!facts.users.empty() && !patient.IsConsole(facts.users.front())) {
      chart.Error(name + address + " is in use by " + NameOf(facts.users.front()) + ": end that program");
    } else if (patient.parts.inspector.has_driver("lp")) {
      chart.Warn(name + "the printer driver lp has the port too and may take it: sudo rmmod lp");
    } else {
      chart.Ok(name + "is " + address);
    }
  }
}

void CheckPortServices(const Patient& patient, Chart& chart) {
  const std::vector<std::string> programs = patient.parts.processes.Names();
  CheckBraille(patient, Runs(programs, "brltty"), chart);
  CheckModems(patient, Runs(programs, "ModemManager"), chart);
}

}  // namespace kvx::console
