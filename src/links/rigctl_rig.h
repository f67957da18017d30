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
  RigctlClient(Loop& loop, cat::Engine& engine)
      : party(engine.transmission.NewParty()), waiting(loop, engine.dispatcher) {}

  cat::Party party;
  char vfo = '\0';              ///< 'A' or 'B'; '\0': the one in use, whichever that is
  bool names_vfo = false;       ///< it has asked to name the VFO in every command
  bool ended = false;           ///< it has said so
  cat::LatestCommands waiting;  ///< for the VFO that is not in use
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
  Rprt SetSplit(bool on, char transmit);
  Rprt Key(RigctlClient& client);
  Rprt Release(const RigctlClient& client);
  /// The client goes: what it has keyed is released, what it has set still goes out.
  void Leave(RigctlClient& client);

  /// The value of a level as the protocol writes it; nothing for one that the rig has not.
  std::optional<std::string> level(std::string_view name) const;
  Rprt SetLevel(std::string_view name, double value);
  Rprt SendMorse(std::string_view text) const;
  Rprt StopMorse() const;

  /// Whether clients may change anything.
  bool writable = true;
  /// The station's keyer; unset: there is none.
  std::function<Status(std::string_view text)> send_morse;
  std::function<void()> stop_morse;
  std::function<Status(int wpm)> set_key_speed;

 private:
  std::string FrequencyTemplate(char vfo) const;
  bool targeted() const { return FrequencyTemplate('A') != FrequencyTemplate('B'); }
  /// Sends commands to the VFO that is not in use; on a rig that has to be on a VFO to set it, there and back.
  cat::SendOutcome SendOther(char vfo, bool select, const std::string& command);
  bool CanSelect() const;
  std::optional<std::size_t> SplitFunction() const;

  Console& console_;
  cat::Engine& engine_;
};

}  // namespace kvx::links
