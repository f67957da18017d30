#include "console/link_commands.h"

#include <array>

#include "core/text.h"

namespace kvx::console {
namespace {

std::string NetState(const Station& station) {
  return station.net ? station.net->state() : "not in this program";
}

/// One link of the command: what it is called, how it is switched, where it is.
struct Link {
  std::string_view name;
  std::string (*switch_it)(StationSetup& setup, bool on);
  std::string (*state)(const Station& station);
};

std::string LoggerState(const Station& station) {
  if (!station.loggers) return "not in this program";
  const std::string program = station.loggers->program_state();
  return station.loggers->logger.state() + (program.empty() ? "" : "; " + program);
}

std::string KeyerState(const Station& station) {
  return station.loggers ? station.loggers->winkey.state() : "not in this program";
}

/// The setting is kept unless there is no port for the link.
template <class LinkOf>
Status SwitchLink(StationSetup& setup, LinkOf& link, const std::string& key, bool on) {
  Status kept = Ok();
  if (!on || link.settings().is_chosen()) kept = setup.SetSetting(key, on ? "on" : "off");
  const Status switched = link.Switch(on);
  return switched ? kept : switched;
}

std::string Answer(const Status& done, const std::string& state) {
  return done ? "ok link " + state : "error: " + done.error().message;
}

std::string DoSwitchNet(StationSetup& setup, bool on) {
  const Status done = SwitchNet(setup, on);
  return Answer(done, "net " + NetState(setup.station()));
}

std::string DoSwitchLogger(StationSetup& setup, bool on) {
  const Status done = SwitchLogger(setup, on);
  return Answer(done, "logger " + LoggerState(setup.station()));
}

std::string DoSwitchKeyer(StationSetup& setup, bool on) {
  const Status done = SwitchLoggerKeyer(setup, on);
  return Answer(done, "keyer " + KeyerState(setup.station()));
}

std::string DdeState(const Station& station) {
  return station.dde ? station.dde->state() : "not in this program";
}

/// The setting is kept. "on" tries again at once where it could not be started.
std::string SwitchDde(StationSetup& setup, bool on) {
  Station& station = setup.station();
  if (!station.dde) return "error: " + DdeState(station);
  if (const Status kept = setup.SetSetting("DDESERVER=", on ? "on" : "off"); !kept)
    return "error: " + kept.error().message;
  if (on && DdeState(station).starts_with("off")) station.dde->INITDDE();  // else the setting has started it
  const std::string state = DdeState(station);
  return (state.starts_with("off") == on ? "error: link dde " : "ok link dde ") + state;
}

constexpr std::array kLinks{Link{"logger", DoSwitchLogger, LoggerState}, Link{"keyer", DoSwitchKeyer, KeyerState},
                            Link{"dde", SwitchDde, DdeState}, Link{"net", DoSwitchNet, NetState}};

std::string DoLink(StationSetup& setup, std::string_view argument) {
  argument = Trim(argument);
  const std::string_view name = argument.substr(0, argument.find_first_of(" \t"));
  const std::string_view word = Trim(argument.substr(name.size()));
  std::string states;
  for (const Link& link : kLinks) {
    const std::string state = std::string(link.name) + " " + link.state(setup.station());
    states += (states.empty() ? "" : "; ") + state;
    if (!EqualNoCase(link.name, name)) continue;
    if (word.empty()) return "ok link " + state;
    if (EqualNoCase(word, "on") || EqualNoCase(word, "off")) return link.switch_it(setup, EqualNoCase(word, "on"));
    return "error: link " + std::string(link.name) + " takes on or off";
  }
  return argument.empty() ? "ok link " + states : "error: there is no link " + OneLine(name, 40);
}

Error NoLoggers() {
  return {ErrorCode::kNotFound, "this program has no links to a logger"};
}

}  // namespace

Status SwitchLogger(StationSetup& setup, bool on) {
  Station& station = setup.station();
  if (!station.loggers) return NoLoggers();
  Status done = SwitchLink(setup, station.loggers->logger, "LOGGERLINK=", on);
  // Whoever switches it on before the logger has been started is told so; it works all the same.
  const std::string program = station.loggers->program_state();
  if (done && on && program.ends_with("not running")) station.Notice(program);
  return done;
}

Status SwitchLoggerKeyer(StationSetup& setup, bool on) {
  if (!setup.station().loggers) return NoLoggers();
  return SwitchLink(setup, setup.station().loggers->winkey, "KEYERLINK=", on);
}

Status SwitchNet(StationSetup& setup, bool on) {
  Station& station = setup.station();
  if (const Status kept = setup.SetSetting("NETSERVER=", on ? "on" : "off"); !kept) return kept;
  if (station.net) station.net->Retry();
  if (station.net && station.net->is_listening() == on) return Ok();
  return Error{ErrorCode::kBusy, NetState(station)};
}

void AddLinkCommands(CommandLine& commands, StationSetup& setup) {
  commands.Add("link", "[logger|keyer|dde|net on|off]: the links to other programs, or switches one",
               [&setup](std::string_view argument) { return DoLink(setup, argument); });
}

}  // namespace kvx::console
