#pragma once

#include <functional>
#include <string>

#include "core/console.h"
#include "keyer/keyer.h"
#include "links/link_activity.h"
#include "links/link_port.h"
#include "platform/serial_port.h"

namespace kvx::links {

inline constexpr const char* kNoKeyerLinkPort = "Please select a comm port for Winkeyin in the config menu.";
inline constexpr const char* kNoKeyerLinkPortOpens = "Unable to open WINKEY INPUT port";
inline constexpr const char* kNoKeyerPortOpens = "Unable to open WINKEYER output port";

/// A logger that keys CW with the station's WinKeyer, on a virtual pair of ports: while the link is on, its bytes go to
/// the keyer and the keyer's to it, unchanged and at once. Engine thread only.
class KeyerLink final {
 public:
  /// `keyer_port`: of the WinKeyer. `port`: towards the logger.
  KeyerLink(Loop& loop, Console& console, keyer::Keyer& keyer, const platform::SerialPort& keyer_port,
            platform::SerialPort& port);
  ~KeyerLink();
  KeyerLink(const KeyerLink&) = delete;
  KeyerLink& operator=(const KeyerLink&) = delete;

  /// Follows the settings; the port is opened when it is another one than before.
  void Use(const LinkPort& settings);
  /// Opens the logger's keyer port. Says so when that cannot be done.
  void InitComm3();
  /// The link's switch; a port that is closed is tried again, and so is the keyer's. An error, one sentence that
  /// on_notice has had too, when it does not work.
  Status Switch(bool on);
  /// Ends the passing and closes the port, until Use or Switch.
  void Close();

  bool is_on() const { return settings_.on && settings_.is_chosen(); }
  bool is_open() const { return port_.is_open(); }
  const LinkPort& settings() const { return settings_; }
  std::string state() const { return LinkState(settings_, is_open(), line_.failure()); }
  const LinkActivity& activity() const { return activity_; }
  /// What the logger has had sent lately, blanks left out.
  std::string text() const { return keyer_.winkeyer() == nullptr ? std::string() : keyer_.winkeyer()->logger_text(); }

  std::function<void(const std::string& line)> on_notice;  ///< one line for the operator

 private:
  void Receive();
  void Watch();
  void Show() { console_.KeyerLink.Set(state()); }
  void Follow();
  bool has_keyer() const;
  void CheckKeyer();

  Console& console_;
  keyer::Keyer& keyer_;
  const platform::SerialPort& keyer_port_;
  platform::SerialPort& port_;
  LinkPort settings_;
  bool used_ = false;  ///< settings have been taken over
  bool told_ = false;  ///< the operator knows that the keyer cannot be reached
  LinkLine line_;
  LinkActivity activity_;
  Console::Subscription subscription_;
};

}  // namespace kvx::links
