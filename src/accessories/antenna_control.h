#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "accessories/antenna_settings.h"
#include "accessories/bearing.h"
#include "config/settings.h"
#include "core/console.h"
#include "core/listeners.h"
#include "core/loop.h"
#include "platform/files.h"
#include "platform/port_access.h"
#include "platform/serial_port.h"

namespace kvx::accessories {

/// A hexadecimal text as binary digits, four for each, at least eight. kInvalid, "HexToBin: Invalid Input", for a
/// character that is none of 0-9 and A-F.
Result<std::string> HexToBin(std::string_view hex);
/// A data byte as eight binary digits, most significant first.
std::string BitText(std::uint8_t data);

/// What the accessories are put together from. Everything is borrowed.
struct AccessoryParts {
  Loop& loop;
  Console& console;
  platform::Files& files;
  platform::Path folder;
  platform::SerialPort* rotator = nullptr;  ///< null: there is none
  platform::PortAccess* ports = nullptr;    ///< the parallel ports; null: there are none
};

/// The antenna window's part that needs no window: going to a bearing turns the rotator and switches in the antennas
/// whose range holds it. Antenna N, 1 to 4, is data bit N + 1 of the parallel port, pin N + 3.
class AntennaControl final {
 public:
  using Done = platform::PortAccess::Done;

  explicit AntennaControl(const AccessoryParts& parts);
  AntennaControl(const AntennaControl&) = delete;
  AntennaControl& operator=(const AntennaControl&) = delete;
  ~AntennaControl();

  /// Takes the fields from rig.ini and the last bearing from its file, and opens the rotator's port.
  void Load(const config::Settings& settings);
  /// For the end: gives the ports back, with no pulse left under way, and keeps the last bearing. Nothing is driven any
  /// more.
  void Close();

  const AntennaFields& fields() const { return fields_; }
  const std::string& field(AntennaField which) const { return fields_[static_cast<std::size_t>(which)]; }
  bool is_on(AntennaField flag) const { return field(flag) == "True"; }
  /// Sets a field and announces it. kInvalid, with one sentence, when it cannot hold that text.
  Status SetField(AntennaField which, std::string_view text);
  /// Puts a controller's command into CommString. kNotFound for a name that is no preset.
  Status UsePreset(std::string_view name);
  /// Writes all fields to rig.ini; SaveChanges only when one has been changed since.
  void Save();
  void SaveChanges() {
    if (changed_fields_) Save();
  }

  /// Opens the rotator's port, or closes it when Rport is "0". Errors are no message; port_state() has them. A port
  /// that cannot be opened, or is lost, is tried again from time to time.
  void InitComm();
  /// "none", "closed", "opening", "open", or why it is not open.
  const std::string& port_state() const { return port_state_; }
  /// "9600,N,8,1"
  std::string SettingsText() const;

  /// What is typed as the bearing: a number or a locator; announced.
  void SetBearing(std::string_view text);
  const std::string& IBearing() const { return bearing_; }
  void SetLongPath(bool on);
  bool long_path() const { return long_path_; }
  /// Where SendIt would go with what is typed.
  Result<Target> PreviewTarget() const { return ParseTarget(bearing_, field(AntennaField::kLocator), long_path_); }
  /// What it would send to the rotator, control characters made visible.
  std::string PreviewCommand() const;
  /// Goes to the bearing: the antennas follow it even where the rotator has not been turned. The sentence of an error
  /// has been announced or shown.
  Status SendIt();
  /// The same for a bearing given at once, the long way round if that is wanted; that choice is for this time only.
  Status GoTo(std::string_view bearing, bool long_path);
  const std::string& LastBearing() const { return last_bearing_; }
  /// The last command to the rotator, and the last line that it answered; control characters made visible.
  const std::string& last_command() const { return last_command_; }
  const std::string& last_reply() const { return last_reply_; }

  /// The antenna buttons: lights the lamp and drives the line. kInvalid for a number that is no antenna; the sentence
  /// of any error has been shown.
  Status PressAntenna(int antenna);
  /// Drives an antenna line: a pulse of MSec at pin p4 or, when MSec is 0, the four lines as the lamps are.
  /// `done` is called when the last line has been driven, with an error when nothing is to be.
  Status SendChar1(int p1, int p2, int p3, int p4, int p5, Done done = {});
  /// Sets or clears a data bit and lets the lamps follow what the port shows. `port`: 0, that of PPort.
  Status SetClearPort(int bit, platform::PortAction action, int port = 0, Done done = {});
  /// One call of the parallel ports. The error of one that fails at once; why one fails later is shown. kBusy for an
  /// antenna's line while AntLock holds it.
  Status Call(const platform::PortAccessCall& call, Done done);
  /// Lamps 1 to 4 from the characters 6, 5, 4 and 3 of eight binary digits.
  void SetLights(std::string_view bits);
  bool AntDot(int antenna) const { return lamps_.at(static_cast<std::size_t>(antenna - 1)); }
  /// The antenna whose lamp is lit, the lowest; 0: none.
  int antenna() const;
  /// Lets the lamps follow the port as it is. One that is not in use is not claimed for that: its lamps are out.
  void ReadLights(int port = 0);
  /// The same for one that is about to be used.
  void ReadPort(int port = 0);
  /// That of PPort, 1 when it is 0.
  int parallel_port() const;
  /// MSec as a length; 0: the lines are latched, below 0: nothing is sent.
  int pulse_microseconds() const;

  /// Keeps the last bearing in AntContF.Pos, whose other lines are the window's place.
  void SaveBearing();
  /// Puts a sentence into SPKBX while announcements are on. Of one topic only the latest is told.
  void Announce(int topic, const std::string& sentence);

  mutable Listeners changed;                                ///< told of every change of what can be asked here
  std::function<Status(std::string_view bytes)> write_rig;  ///< UseRig; the error says why it was not written
  std::function<bool()> transmitting;                       ///< for AntLock
  std::function<void(int topic, const std::string& sentence)> announce;  ///< announcements are on
  std::function<void(const std::string& text)> show;                     ///< a message to the operator
  std::function<void(std::vector<config::SettingChange> lines)> keep;    ///< into rig.ini
  /// The data byte of a port has been read.
  std::function<void(int port, std::uint8_t data)> on_data;

 private:
  friend class DirectPort;  // which chooses the port for a moment

  std::string& at(AntennaField which) { return fields_[static_cast<std::size_t>(which)]; }
  void Show(const std::string& text);
  void OpenRotator();
  Task KeepOpen();
  Status TurnRotator(std::string_view bearing);
  Status WriteRotator(const std::string& bytes);
  Status NotLocked(int pin) const;
  void RotatorOpened();
  void RotatorLost(const std::string& why);
  void RotatorSaid();
  void SetPortState(const std::string& state);
  void TookData(int port, std::uint8_t data);

  Loop& loop_;
  Console& console_;
  platform::Files& files_;
  platform::Path file_;
  platform::SerialPort* rotator_;
  platform::PortAccess* ports_;
  AntennaFields fields_;
  std::string bearing_;
  bool long_path_ = false;
  std::string last_bearing_;
  std::string port_state_ = "none";
  std::string pending_;  ///< for a port that takes time to open
  std::string last_command_;
  std::string last_reply_;
  std::string reply_;
  bool changed_fields_ = false;
  bool ended_ = false;
  std::array<bool, kAntennas> lamps_{};
  Task keep_open_;
};

}  // namespace kvx::accessories
