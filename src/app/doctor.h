#pragma once

#include "app/options.h"
#include "console/doctor.h"
#include "platform/posix/device_inspector.h"
#include "platform/posix/device_list.h"
#include "platform/posix/files.h"
#include "platform/posix/network_inspector.h"
#include "platform/posix/process_list.h"
#include "platform/posix/station_inspector.h"

namespace kvx::app {

/// Whom the doctor asks on this system.
class DoctorAdapters {
 public:
  /// `dde` is borrowed; null: there is none.
  console::DoctorParts Parts(const platform::Path& folder, const platform::DdeTransport* dde, bool demo) const;

 private:
  platform::PosixFiles files_;
  platform::PosixDeviceList devices_;
  platform::PosixDeviceInspector inspector_;
  platform::PosixStationInspector station_;
  platform::PosixNetworkInspector network_;
  platform::PosixProcessList processes_;
};

/// Examines the station and prints a line for each finding; 1 when there is an error among them, else 0.
int RunDoctor(int argc, char** argv, const Options& options);

}  // namespace kvx::app
