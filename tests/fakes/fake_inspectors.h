#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/device_inspector.h"
#include "platform/network_inspector.h"
#include "platform/process_list.h"
#include "platform/station_inspector.h"

namespace kvx {

/// Devices as a test says they are; a path that it does not name is not there.
class FakeDeviceInspector final : public platform::DeviceInspector {
 public:
  platform::DeviceFacts Inspect(const std::string& path) const override {
    const auto facts = devices.find(path);
    return facts == devices.end() ? platform::DeviceFacts() : facts->second;
  }
  bool sees_all() const override { return all_seen; }
  std::vector<platform::BrailleClaim> BrailleClaims() const override { return claims; }
  bool has_driver(std::string_view name) const override { return name == driver; }

  /// A device that this user may use and that nobody has.
  platform::DeviceFacts& Plug(const std::string& path, const std::string& leads_to = "") {
    platform::DeviceFacts& facts = devices[path];
    facts.exists = facts.is_device = facts.usable = true;
    facts.leads_to = leads_to.empty() ? path : leads_to;
    facts.owner = "root";
    return facts;
  }

  std::map<std::string, platform::DeviceFacts> devices;
  std::vector<platform::BrailleClaim> claims;
  std::string driver;
  bool all_seen = true;
};

/// A station's surroundings as a test says they are; every folder can be written.
class FakeStationInspector final : public platform::StationInspector {
 public:
  platform::FolderFacts Look(const platform::Path&) const override { return folder; }
  std::optional<platform::RunningProgram> HolderOf(const platform::Path& file) const override {
    const auto holder = holders.find(file.filename().string());
    return holder == holders.end() ? std::nullopt : std::optional(holder->second);
  }
  bool may_have_real_time() const override { return real_time; }
  std::string display() const override { return ":0"; }

  platform::FolderFacts folder{true, true, true, true, 1ULL << 40, {}};
  std::map<std::string, platform::RunningProgram> holders;  ///< by the name of the locked file
  bool real_time = true;
};

class FakeNetworkInspector final : public platform::NetworkInspector {
 public:
  std::optional<platform::RunningProgram> ListenerAt(const std::string&, int port) const override {
    const auto listener = listeners.find(port);
    return listener == listeners.end() ? std::nullopt : std::optional(listener->second);
  }
  bool IsOwn(const std::string& address) const override { return address.starts_with("127."); }
  Result<std::string> AddressOf(const std::string& host) const override {
    const auto address = hosts.find(host);
    if (address == hosts.end()) return Error{ErrorCode::kNotFound, "Name or service not known"};
    return address->second;
  }

  std::map<int, platform::RunningProgram> listeners;
  std::map<std::string, std::string> hosts;
};

class FakeProcessList final : public platform::ProcessList {
 public:
  std::vector<std::string> Names() const override { return names; }

  std::vector<std::string> names;
};

}  // namespace kvx
