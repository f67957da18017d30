#include "links/logger_links.h"

#include "core/text.h"
#include "links/logger_process.h"

namespace kvx::links {
namespace {

/// The number of the keyer's serial port; 0: it has none.
int PortOf(const keyer::KeyerSettings& keyer) {
  const bool serial = keyer.kind == keyer::KeyerKind::kWinkey || keyer.kind == keyer::KeyerKind::kComLine;
  return serial ? keyer.port : 0;
}

}  // namespace

LoggerLinks::LoggerLinks(Loop& loop, Console& console, cat::Engine& engine, keyer::Keyer& keyer,
                         const platform::SerialPort& keyer_port, const LoggerPorts& ports)
    : logger(loop, console, engine, *ports.cat),
      winkey(loop, console, keyer, keyer_port, *ports.winkey),
      keyer_(keyer),
      processes_(ports.processes) {}

void LoggerLinks::Use(const config::Settings& settings, int rig_port, std::string_view program) {
  LinkPort cat = LinkPort::From(settings, "CWSKIMMER=", "LOGGERLINK=");
  LinkPort cw = LinkPort::From(settings, "WINKEYIN=", "KEYERLINK=");
  for (LinkPort* port : {&cat, &cw}) {
    if (port->number == PortOf(keyer_.settings())) port->used_by = "the keyer";
    if (port->number == rig_port) port->used_by = "the rig";
  }
  if (cat.is_chosen() && cw.number == cat.number) cw.used_by = "the other link to the logger";
  logger.Use(cat);
  winkey.Use(cw);
  const std::string_view named = Trim(settings.text("N1MMEXE="));
  program_ = named.empty() ? program : named;
}

void LoggerLinks::PortMoved(int number) {
  const auto open_anew = [number](auto& link) {
    if (link.settings().number != number) return;
    const LinkPort settings = link.settings();
    link.Use({.on = settings.on});  // lets go what is keyed
    link.Use(settings);
  };
  open_anew(logger);
  open_anew(winkey);
}

void LoggerLinks::Close() {
  logger.Close();
  winkey.Close();
}

std::string LoggerLinks::program_state() const {
  return processes_ == nullptr ? std::string() : LoggerSentence(*processes_, program_);
}

}  // namespace kvx::links
