#pragma once

#include <string>
#include <string_view>

#include "config/settings.h"
#include "core/result.h"
#include "platform/serial_port.h"

namespace kvx::links {

/// The port and the switch of a link to a logger, as rig.ini has them.
struct LinkPort {
  std::string name;  ///< what the line holds
  int number = 0;
  bool on = false;      ///< the link's switch
  std::string used_by;  ///< "the rig": that part of the console has the port already; empty: none

  static LinkPort From(const config::Settings& settings, std::string_view port_key, std::string_view switch_key);
  /// Whether there is a port to open: "NONE", 0 and 19 are none.
  bool is_chosen() const;
  bool same_port(const LinkPort& other) const;
};

/// Closes the port if it is open and opens it with the line settings of such a link, both control lines up.
Status OpenLinkPort(platform::SerialPort& port, const LinkPort& wanted);

/// "off", "on COM7", "on, COM7 is closed (why)", "off, no port".
std::string LinkState(const LinkPort& wanted, bool open, const std::string& failure);

}  // namespace kvx::links
