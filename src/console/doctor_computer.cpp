#include <algorithm>

#include "audio/spectrum_controls.h"
#include "console/doctor_checks.h"
#include "core/text.h"
#include "links/dde_server.h"
#include "links/net_server.h"

namespace kvx::console {
namespace {

using platform::SoundState;

constexpr int kFirstFreePort = 1024;  // those below are the system's

const SoundState::Source* Find(const SoundState& state, const std::string& chosen) {
  const auto fits = [&chosen](const SoundState::Source& source) {
    if (chosen.empty()) return source.is_default;
    return source.device.id == chosen || EqualNoCase(source.device.name, chosen);
  };
  const auto found = std::find_if(state.sources.begin(), state.sources.end(), fits);
  return found == state.sources.end() ? nullptr : &*found;
}

void CheckServer(const SoundState& state, Chart& chart) {
  if (state.server == SoundState::Server::kSilent)
    return chart.Error("sound: the sound server does not answer: systemctl --user restart " +
                       (state.server_program.empty() ? "pipewire-pulse" : state.server_program));
  if (state.server_program.empty())
    return chart.Warn("sound: this computer has no sound server, so there is no spectrum and no CW by ear: " +
                      std::string("sudo apt install pipewire-pulse, then log in again"));
  chart.Warn("sound: no sound server runs for this user, so there is no spectrum and no CW by ear: " +
             std::string("systemctl --user start ") + state.server_program +
             "; a command that runs under sudo has none");
}

void CheckSource(const SoundState& state, const std::string& chosen, Chart& chart) {
  const auto heard = [](const SoundState::Source& source) { return !source.device.monitor; };
  const SoundState::Source* source = Find(state, chosen);
  if (source == nullptr && !chosen.empty())
    return chart.Error("sound: the chosen source " + OneLine(chosen, 80) +
                       " is not there: plug it in, or choose another one (window Audio; or audio source NAME)");
  if (source == nullptr || (chosen.empty() && std::none_of(state.sources.begin(), state.sources.end(), heard)))
    return chart.Warn(
        "sound: this computer has no sound input: plug in the rig's USB cable or a sound card, and choose "
        "it (window Audio; or audio source NAME)");
  const std::string name = "sound: the source " + OneLine(source->device.name, 80);
  if (source->silent)
    return chart.Warn(name + " is muted: pactl set-source-mute " + Quoted(source->device.id) +
                      " 0, and raise its level");
  chart.Ok(name + " can be heard");
}

}  // namespace

void CheckNetwork(const Patient& patient, Chart& chart) {
  const links::NetSettings net = links::NetSettings::From(patient.stored);
  if (!net.on) return chart.Ok("NET rigctl server: off");
  const std::string name = "NET rigctl server " + OneLine(net.address, 60) + ":" + std::to_string(net.port) + ": ";
  if (!patient.parts.network.IsOwn(net.address))
    return chart.Error(name +
                       "this computer does not have that address: setting NETADDRESS 127.0.0.1 for this computer " +
                       "alone, or 0.0.0.0 for the network");
  const auto other = patient.parts.network.ListenerAt(net.address, net.port);
  if (!other) {
    if (patient.console) return chart.Warn(name + "the console does not serve it: link net tells why");
    if (net.port < kFirstFreePort) return chart.Warn(name + "ports below 1024 are the system's: setting NETPORT 4532");
    return chart.Ok(name + "free");
  }
  if (patient.IsConsole(*other)) return chart.Ok(name + "served by the console");
  chart.Error(name + "the port is taken by " + NameOf(*other) + ": end that program, or choose another port, as in " +
              "setting NETPORT " + std::to_string(net.port + 1));
}

void CheckSound(const Patient& patient, Chart& chart) {
  audio::SpectrumSettings settings;
  if (const auto content = patient.parts.files.Read(patient.parts.folder / "SpecDisplay.pos"))
    audio::ParseControls(*content, settings);
  const std::string& chosen = settings.source;
  if (chosen.starts_with("sim:")) return chart.Ok("sound: the source is the simulated receiver");
  if (chosen.starts_with("wav:")) {
    if (patient.parts.files.Exists(chosen.substr(4))) return chart.Ok("sound: the source is a recording");
    return chart.Error("sound: the recording " + OneLine(chosen.substr(4)) + " is not there: choose another source");
  }
  if (!patient.parts.sound) return chart.Ok("sound: not in this program");
  const SoundState state = patient.parts.sound();
  if (state.server != SoundState::Server::kAnswers) return CheckServer(state, chart);
  const bool usual = chosen.empty() || EqualNoCase(chosen, "default");
  CheckSource(state, usual ? std::string() : chosen, chart);
}

void CheckVoice(const Patient& patient, Chart& chart) {
  if (!patient.settings.announcements) return chart.Ok("announcements: off");
  const std::string missing = patient.parts.missing_voice ? patient.parts.missing_voice() : std::string();
  if (missing.empty()) return chart.Ok("announcements: on, and there is a voice");
  chart.Warn("announcements: on, but they are not spoken: " + missing);
}

void CheckDde(const Patient& patient, Chart& chart) {
  const platform::DdeTransport* dde = patient.parts.dde;
  if (dde == nullptr) return chart.Ok("DDE: not in this program");
  const auto on = links::DdeSettings::From(patient.stored).on;
  if (!on.value_or(dde->is_at_hand())) return chart.Ok("DDE: off");
  const std::string missing = dde->missing();
  if (missing.empty())
    return chart.Ok(dde->is_at_hand() ? "DDE: on, and Wine is there"
                                      : "DDE: on; Wine makes its folder at the first start, which takes a minute");
  const bool wine = ContainsNoCase(missing, "Wine");
  chart.Error("DDE: on, but " + missing +
              (wine ? ": sudo apt install wine64, or setting DDESERVER off"
                    : ": install the console anew with its Windows part, or setting DDESERVER off"));
}

void CheckDisplay(const Patient& patient, Chart& chart) {
  const std::string display = patient.parts.station.display();
  chart.Ok(display.empty() ? "display: none here, so the console runs without windows" : "display: " + display);
}

}  // namespace kvx::console
