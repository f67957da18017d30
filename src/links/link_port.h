#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "config/settings.h"
#include "core/result.h"
#include "core/retry_timer.h"
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

/// The port of a link, opened as the settings say. One that cannot be opened or goes is tried again; that it has gone
/// and that it is back is said once. Takes the port's on_opened and on_lost.
class LinkLine {
 public:
  /// `name`: as the sentences about it begin.
  LinkLine(Loop& loop, platform::SerialPort& port, std::string name);
  ~LinkLine();

  /// Opens it, anew if it is open. The error is not said.
  Status Open(const LinkPort& wanted);
  void Close();
  const std::string& failure() const { return failure_; }

  std::function<void()> on_lost;
  std::function<void()> on_change;  ///< it has been opened or closed, or why it is not open has changed
  std::function<void(const std::string& line)> on_notice;

 private:
  Status Try();
  void Opened();
  void Lost(const std::string& why);

  platform::SerialPort& port_;
  std::string name_;
  LinkPort wanted_;
  std::string failure_;
  bool missed_ = false;  ///< the operator knows that it is not open
  RetryTimer again_;
};

}  // namespace kvx::links
