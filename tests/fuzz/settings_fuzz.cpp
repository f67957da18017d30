#include <utility>

#include "config/kept_settings.h"
#include "config/station_settings.h"
#include "input.h"
#include "keyer/keyer_settings.h"
#include "platform/ports_file.h"

/// A rig.ini with anything in it, read and rewritten again and again; and the same as ports.ini. A value that holds
/// another key is taken for that key's too, so that one rewrite may change the next one, but not for ever.
KVX_FUZZ(input) {
  using namespace kvx;
  const std::string content(input.Rest());
  keyer::KeyerSettings::From(config::Settings::Parse(content), 0);
  std::string before;
  std::string now = content;
  for (std::size_t round = 0, most = 2; now != before && round <= most; ++round) {
    const auto changes = config::ConsoleChanges(config::StationSettings::From(config::Settings::Parse(now)));
    before = std::exchange(now, config::RewriteSettings(now, changes));
    most = changes.size() + 2;
  }
  fuzz::Demand(now == before, "rewriting rig.ini comes to rest");

  const platform::PortTable table = platform::PortTable::Parse(content);
  const std::string with = platform::WithAddress(content, 3, "/dev/ttyUSB0");
  fuzz::Demand(platform::PortTable::Parse(with).AddressOf(3) == "/dev/ttyUSB0", "the line that was written is read");
  fuzz::Demand(table.addresses.size() <= platform::kHighestPort, "there are no ports beyond the highest");
}
