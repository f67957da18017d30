#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>

#include "cat/operations.h"
#include "config/settings.h"
#include "core/console.h"
#include "core/loop.h"
#include "links/dde_answers.h"
#include "links/link_activity.h"
#include "platform/dde_transport.h"

namespace kvx::links {

/// The line of rig.ini.
struct DdeSettings {
  std::optional<bool> on = {};  ///< "DDESERVER="; without it: where the platform has DDE at hand

  static DdeSettings From(const config::Settings& settings);
  bool operator==(const DdeSettings&) const = default;
};

/// The console as a DDE server under the names of HRD's, for programs written for that: they read frequency and mode,
/// set them, and are told of changes. Engine thread only.
class DdeServer final {
 public:
  DdeServer(Loop& loop, Console& console, cat::Operations& operations, platform::DdeTransport& transport);
  ~DdeServer();
  DdeServer(const DdeServer&) = delete;
  DdeServer& operator=(const DdeServer&) = delete;

  /// Follows the settings.
  void Use(const DdeSettings& settings);
  /// Starts the service unless somebody has it already.
  void INITDDE();
  /// One transaction of a client.
  platform::DdeAnswer HandleDDECallback(const platform::DdeCall& call);
  /// Tells the advise links what has changed.
  void SendDDEx();
  /// Ends the service and all conversations.
  void DDEUnload();

  bool is_wanted() const { return settings_.on.value_or(transport_.is_at_hand()); }
  /// Whether the service can be found, be it this console's or another's.
  bool is_active() const;
  /// Whether a transaction is being dealt with.
  bool is_busy() const { return busy_; }
  int conversations() const { return transport_.conversations(); }
  /// The last frequency that went to a client, "X01402500X"; empty before the first.
  const std::string& told() const { return told_; }
  /// One line: "off", "off: Wine is not installed", "on, 2 clients".
  std::string state() const;
  const LinkActivity& activity() const { return activity_; }

  std::function<void(const std::string& line)> on_notice;  ///< one line for the operator

 private:
  void Follow(Field field);
  void Note(const platform::DdeCall& call, const platform::DdeAnswer& answer);
  void Show() { console_.DdeBox.Set(is_active() ? told_ : std::string()); }
  void WatchOther();
  void ServiceChanged(platform::DdeService service, const std::string& why);
  platform::DdeAnswer Data(const std::string& item, unsigned format);
  platform::DdeAnswer Carry(const DdeOrder& order);
  std::string DataOf(DdeItem item) const;

  Loop& loop_;
  Console& console_;
  cat::Operations& operations_;
  platform::DdeTransport& transport_;
  DdeSettings settings_;
  platform::DdeService service_ = platform::DdeService::kStopped;
  std::string why_;
  bool failure_told_ = false;
  bool busy_ = false;
  std::string told_;
  LinkActivity activity_;
  std::array<std::string, 3> posted_;  ///< the data of each item that advise links have been told of
  TimePoint next_post_{};
  Loop::TimerId post_ = 0;
  Loop::TimerId watch_ = 0;  ///< of another program that has the service
  Console::Subscription subscription_;
};

}  // namespace kvx::links
