#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "cat/engine.h"
#include "core/console.h"
#include "core/loop.h"
#include "links/kenwood_replies.h"
#include "links/link_activity.h"
#include "links/link_port.h"
#include "links/rigctl_rig.h"
#include "platform/serial_port.h"

namespace kvx::links {

inline constexpr const char* kNoLoggerPort = "Please select a comm port for N1MM or CWSkimmer in the config menu.";
inline constexpr const char* kNoLoggerPortOpens = "Unable to open N1MM/CWSkimmer port";

/// A contest logger or a skimmer on a virtual pair of ports: to it the console is a Kenwood, whatever rig there is. It
/// is answered from the console's state, at once and in one write; what it sets goes through the console's own
/// operations. What it has keyed is released when it is switched off, loses its port, goes, or the console ends. Engine
/// thread only.
class LoggerBridge final {
 public:
  LoggerBridge(Loop& loop, Console& console, cat::Engine& engine, platform::SerialPort& port);
  ~LoggerBridge();
  LoggerBridge(const LoggerBridge&) = delete;
  LoggerBridge& operator=(const LoggerBridge&) = delete;

  /// Follows the settings; the port is opened when it is another one than before.
  void Use(const LinkPort& settings);
  /// Opens the logger's port. Says so when that cannot be done.
  void InitComm2();
  /// The link's switch; a port that is closed is tried again. An error, one sentence that on_notice has had too, when
  /// it does not work.
  Status Switch(bool on);
  /// Releases what the logger has keyed and closes its port, until Use or Switch.
  void Close();
  /// The program at the other end of a virtual pair has closed it.
  void FarEndClosed();

  bool is_on() const { return settings_.on && settings_.is_chosen(); }
  bool is_open() const { return port_.is_open(); }
  const LinkPort& settings() const { return settings_; }
  std::string state() const { return LinkState(settings_, is_open(), line_.failure()); }
  const LinkActivity& activity() const { return activity_; }

  std::function<void(const std::string& line)> on_notice;   ///< one line for the operator
  std::function<void(std::string_view bytes)> on_received;  ///< whatever arrives, with the link off as well

 private:
  void Receive();
  void Serve();
  void Do(const LoggerCommand& command);
  std::string ReplyTo(const LoggerCommand& command) const;
  Frequency frequency_b() const;
  bool may_key() const;
  bool keyed() const { return engine_.transmission.is_of(waiting_.party); }
  void Transmit();
  void End();
  void Release();
  void Forget();
  void Show() { console_.LoggerLink.Set(state()); }
  void Follow(Field field);

  Loop& loop_;
  Console& console_;
  cat::Engine& engine_;
  platform::SerialPort& port_;
  RigctlRig rig_;
  RigctlClient waiting_;  ///< the logger as a client of it
  LinkPort settings_;
  bool used_ = false;  ///< settings have been taken over
  LinkLine line_;
  std::string unfinished_;
  char information_ = '0';  ///< the logger's AI setting, which it is told and nothing comes of
  LinkActivity activity_;
  bool told_b_ = false;  ///< the logger has set VFO B and is told what is on it
  Loop::TimerId gone_ = 0;
  Console::Subscription subscription_;
};

}  // namespace kvx::links
