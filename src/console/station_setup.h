#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "config/kept_settings.h"
#include "config/rig_setups.h"
#include "console/rig_test.h"
#include "console/station.h"
#include "platform/device_list.h"

namespace kvx::console {

/// The rig port as the operator sets it up.
struct RigPortChoice {
  int number = 0;       ///< 1 to 99; 0: none, and nothing else counts
  std::string address;  ///< device path, "pty:PATH", "tcp:HOST:PORT" or "sim:NAME"
  int speed = 9600;     ///< baud, kSlowestLine to kFastestLine
  int stop_bits = 1;    ///< 1 or 2
  bool dtr = false;     ///< raised while open; ports 1 to 8 only
  bool rts = false;
  bool operator==(const RigPortChoice&) const = default;
};

/// Something that may stand behind a port number.
struct DeviceChoice {
  platform::Device device;
  bool in_use = false;  ///< it is what stands behind the rig port
};

class UsualPorts;

enum class ScreenPart { kBody, kScreen };

inline constexpr int kMostGmtHours = 14;

/// What the setup dialog and the headless commands do to a station: each operation checks what it is given, keeps it in
/// rig.ini or ports.ini and lets the running station follow at once. An error is one sentence, and then nothing has
/// changed. Everything is borrowed; a test of the rig ends before this does.
class StationSetup {
 public:
  StationSetup(Loop& loop, Station& station, platform::Files& files, platform::DeviceList& devices);
  ~StationSetup();
  StationSetup(const StationSetup&) = delete;
  StationSetup& operator=(const StationSetup&) = delete;

  Station& station() { return station_; }

  /// This computer's devices and the simulated rigs.
  std::vector<DeviceChoice> Devices() const;
  /// What stands behind a port number.
  std::string AddressOf(int number) const;
  Status SetDevice(int number, const std::string& address);
  RigPortChoice RigPort() const;
  /// What is stored for a port of that number, with the present speed and stop bits.
  RigPortChoice PortNumbered(int number) const;
  Status ApplyRigPort(const RigPortChoice& choice);
  /// How the port of the rig in use leaves the factory; null when that is not known.
  const config::RigSetup* UsualSetup();
  /// The rig port as it stands, but set as the rig leaves the factory. kNotFound when that is not known.
  Result<RigPortChoice> UsualRigPort();
  /// Turns this station into one with a simulated TS-2000, on a port number that nothing else uses: a number with a
  /// device behind it keeps its device, and the rig in use until now hears nothing but its release.
  Status UseSimulatedRig();
  /// Makes the simulated keyer the station's, unless rig.ini names a keyer.
  Status UseSimulatedKeyer();
  /// Asks the rig and says what it answered.
  Task TestRig(std::shared_ptr<RigTestResult> result) { return test_.Run(std::move(result)); }

  /// Saved rigs 1 to 8. The line switches belong to the port number and stay with it.
  Status StoreSavedRig(int slot);
  Status ClearSavedRig(int slot);

  Status SetRegion(int region);
  Status SetPollInterval(int milliseconds);
  /// Hours added to local time for the UTC clock; 0: the system's own UTC.
  Status SetGmtHours(int hours);
  int gmt_hours() const;
  /// kHz text: the rig is this much above the display.
  Status SetOffset(const std::string& khz);
  /// "RRGGBB", kept as the number 0xBBGGRR.
  Status SetColor(ScreenPart part, std::string_view rrggbb);
  std::string ColorText(ScreenPart part) const;

  /// The settings that are kept for the keyer and for the links to other programs: as they stand in rig.ini now, and
  /// what counts where no line says whether DDE is served.
  config::Settings Stored() const;
  /// The value of one of them. kNotFound for a key that is none of them.
  Result<std::string> Setting(const std::string& key) const;
  /// Writes its one line. kBusy when it has not reached the disk yet: the message area says what came of it.
  Status SetSetting(const std::string& key, const std::string& value);

  /// What windows draw has changed without a field of the console saying so: the stored colours, the band plan.
  std::function<void()> on_redraw;

 private:
  Status CheckDevice(int number, const std::string& address) const;
  Status CheckRigPort(const RigPortChoice& choice) const;
  /// Another device stands behind that number: who has it open opens it anew.
  void PortMoved(int number);
  int PortForSimulated(const std::string& address) const;
  Status CheckKeyer(const config::KeptSetting& setting, const std::string& value) const;
  Status ChangeSavedRig(int slot, const std::function<void(config::StationSettings&)>& change);
  void Keep(const std::function<void(config::StationSettings&)>& change, const std::string& key,
            const std::string& value);

  Station& station_;
  platform::Files& files_;
  platform::DeviceList& devices_;
  RigTest test_;
  const std::unique_ptr<UsualPorts> usual_;
};

}  // namespace kvx::console
