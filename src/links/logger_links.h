#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "config/settings.h"
#include "links/keyer_link.h"
#include "links/logger_bridge.h"
#include "platform/process_list.h"

namespace kvx::links {

/// What the links to a logger are put together from. Everything is borrowed.
struct LoggerPorts {
  platform::SerialPort* cat = nullptr;     ///< towards the logger or the skimmer; null: there are no such links
  platform::SerialPort* winkey = nullptr;  ///< towards the logger's CW output
  const platform::ProcessList* processes = nullptr;  ///< null: nobody knows what runs
};

/// Both links to a logger: its rig and its keyer.
class LoggerLinks final {
 public:
  LoggerLinks(Loop& loop, Console& console, cat::Engine& engine, keyer::Keyer& keyer,
              const platform::SerialPort& keyer_port, const LoggerPorts& ports);

  /// Follows rig.ini. `rig_port`: the number that the rig has. `program`: the logger's, where rig.ini names none.
  void Use(const config::Settings& settings, int rig_port, std::string_view program);
  /// Another device stands behind that number.
  void PortMoved(int number);
  /// Ends both, until Use.
  void Close();
  /// "N1MMLogger.net.exe is running", "... is not running"; empty where nobody knows.
  std::string program_state() const;

  LoggerBridge logger;
  KeyerLink winkey;

 private:
  keyer::Keyer& keyer_;
  const platform::ProcessList* processes_;
  std::string program_;
};

}  // namespace kvx::links
