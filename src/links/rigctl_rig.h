#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "cat/engine.h"
#include "cat/latest_commands.h"
#include "core/console.h"
#include "core/loop.h"
#include "links/rigctl_reply.h"

namespace kvx::links {

/// What a NET rigctl client has of its own.
struct RigctlClient {
  RigctlClient(Loop& loop, Console& console, cat::Engine& engine);

  cat::Party party;
  char vfo = '\0';              ///< 'A' or 'B'; '\0': the one in use, whichever that is
  bool names_vfo = false;       ///< it has asked to name the VFO in every command
  bool ended = false;           ///< it has said so
  cat::LatestCommands waiting;  ///< for the VFO that is not in use; held while somebody else transmits
  Console::Subscription resume;
};

/// Strength in decibels above S9 of a reading whose full scale is S9+60.
int StrengthOf(int reading, int full_scale);

/// The rig as NET rigctl clients see it. Reads come from the console's state and never wait for the rig. Sets go
/// through the console's own operations; those for the VFO that is not in use leave the display alone. What a client
/// has keyed is released by that client alone, by its command or by going.
class RigctlRig {
 public:
  RigctlRig(Console& console, cat::Engine& engine);
  RigctlRig(const RigctlRig&) = delete;
  RigctlRig& operator=(const RigctlRig&) = delete;

  bool is_open() const { return engine_.link.is_open(); }
  const std::string& name() const { return *console_.RigName; }
  char vfo_of(const RigctlClient& client) const { return client.vfo == '\0' ? *console_.ActiveVfo : client.vfo; }
  /// The names of the modes that the rig has, with blanks between; of all while no rig is chosen.
  std::string modes() const;
  /// Whether a mode's narrow key makes it narrow.
  bool HasNarrow(std::string_view key) const;
  bool can_key() const;
  bool can_split() const { return engine_.rig().split_function > 0; }
  /// Of VFO 'A' or 'B'; 0 while the rig has not told it. No error: client libraries take the choice of a VFO back when
  /// its frequency cannot be read.
  Frequency frequency(char vfo) const;
  /// The protocol's name of the mode of the VFO in use.
  std::string mode() const;
  int passband() const;
  bool transmitting() const { return *console_.Transmitting; }
  bool split() const;
  /// The VFO that transmits while split is on, else the one in use.
  char transmit_vfo() const;

  Rprt SetFrequency(RigctlClient& client, char vfo, Frequency frequency);
  /// `passband` in Hz; 0: the mode's usual one, -1: as it is. kInvalid for what is no mode, kNotAvailable for one that
  /// the console has not.
  Rprt SetMode(RigctlClient& client, char vfo, std::string_view mode, int passband);
  /// kRejected while transmitting: it would go on elsewhere.
  Rprt SetSplit(bool on, char transmit);
  /// kRejected when the rig would not transmit on `vfo`.
  Rprt Key(RigctlClient& client, char vfo);
  Rprt Release(const RigctlClient& client);
  /// The client goes, or may operate the rig no longer: what it has keyed is released, and so is its CW unless it has
  /// said that it ends; what it has set still goes out.
  void Leave(RigctlClient& client);

  /// The names of the levels that the rig has, with blanks between.
  std::string levels(bool to_set) const;
  /// The value of a level as the protocol writes it. kInvalid for what is no level, kNotAvailable for one that the rig
  /// has not.
  Rprt GetLevel(std::string_view name, std::string& value) const;
  Rprt SetLevel(std::string_view name, double value);
  Rprt SendMorse(const RigctlClient& client, std::string_view text) const;
  /// Stops what this client sends.
  Rprt StopMorse(const RigctlClient& client) const;

  /// Whether clients may change anything.
  bool writable = true;
  /// The station's keyer; unset: there is none.
  std::function<Status(cat::Party party, std::string_view text)> send_morse;
  std::function<void(cat::Party party)> stop_morse;
  std::function<Status(int wpm)> set_key_speed;

 private:
  std::string FrequencyTemplate(char vfo) const;
  bool targeted() const { return FrequencyTemplate('A') != FrequencyTemplate('B'); }
  /// Sends a command to a VFO; to the one that is not in use, on a rig that has to be on a VFO to set it, there and
  /// back, with split as it was.
  cat::SendOutcome SendTo(char vfo, bool select, const std::string& command);
  bool CanSelect() const;
  void AskFrequency(char vfo);
  /// Whether that client may change what is transmitted on.
  bool may_change(const RigctlClient& client) const { return !engine_.transmission.is_of_another(client.party); }

  Console& console_;
  cat::Engine& engine_;
};

}  // namespace kvx::links
