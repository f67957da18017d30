#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "config/rig_setups.h"
#include "console/station_setup.h"

namespace kvx::console {

/// How the ports of the rigs leave the factory: the shipped tables, and the station folder's own "rig_setups.csv",
/// which comes first and may change at any time. Everything is borrowed.
class UsualPorts final {
 public:
  UsualPorts(const platform::Files& files, platform::Path folder, platform::Path data);

  /// The setup of a rig, until the next call; null when none is known.
  const config::RigSetup* Of(std::string_view rig);
  /// What was found wrong with the tables since the last call, a sentence each.
  std::vector<std::string> TakeComplaints() { return std::exchange(complaints_, {}); }

 private:
  void ReadShipped();
  void ReadTable(const platform::Path& file, std::vector<config::RigSetup>& table);

  const platform::Files& files_;
  platform::Path folder_;
  platform::Path data_;
  std::vector<config::RigSetup> own_;
  std::vector<std::vector<config::RigSetup>> shipped_;  ///< a table a maker
  std::vector<std::string> complaints_;
};

/// A port as it stands, with the speed, stop bits and line switches that the rig leaves the factory with. A port
/// without stored switches keeps them low.
RigPortChoice WithUsual(RigPortChoice port, const config::RigSetup& setup);
/// "4800 baud, 2 stop bits, DTR on, RTS on; reads back frequency, mode; receives 0.03-30 MHz"
std::string UsualSentence(const config::RigSetup& setup);

}  // namespace kvx::console
