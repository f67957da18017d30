#include "config/kept_settings.h"
#include "config/station_settings.h"
#include "input.h"
#include "keyer/keyer_settings.h"
#include "platform/ports_file.h"

/// A rig.ini with anything in it, read, rewritten and read again; and the same as ports.ini.
KVX_FUZZ(input) {
  using namespace kvx;
  const std::string content(input.Rest());
  const config::Settings settings = config::Settings::Parse(content);
  const config::StationSettings station = config::StationSettings::From(settings);
  keyer::KeyerSettings::From(settings, 0);
  const std::string rewritten = config::RewriteSettings(content, config::ConsoleChanges(station));
  const config::StationSettings again = config::StationSettings::From(config::Settings::Parse(rewritten));
  fuzz::Demand(config::RewriteSettings(rewritten, config::ConsoleChanges(again)).size() <= rewritten.size() + 16,
               "a rewrite does not let rig.ini grow");

  const platform::PortTable table = platform::PortTable::Parse(content);
  const std::string with = platform::WithAddress(content, 3, "/dev/ttyUSB0");
  fuzz::Demand(platform::PortTable::Parse(with).AddressOf(3) == "/dev/ttyUSB0", "the line that was written is read");
  fuzz::Demand(table.addresses.size() <= platform::kHighestPort, "there are no ports beyond the highest");
}
