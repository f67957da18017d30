#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "cat/command_keys.h"
#include "cat/reply.h"
#include "cat/rig_link.h"
#include "cat/transmission.h"
#include "cat/transmit.h"
#include "core/console.h"

namespace kvx::cat {

/// What became of a command.
enum class SendOutcome {
  kSent,
  kClosed,      ///< the rig port is not open
  kNoTemplate,  ///< the rig has no such command
  kRefused,     ///< it could not be built; the console's error text or message area says why
};

/// What releases a rig that was out of reach when another one was chosen.
struct OwedRelease {
  std::string rig;
  int port = 0;
  std::string bytes;
};

/// The one door to the rig: picks the template of a logical key from the loaded row, fills it in, encodes it as text or
/// as hexadecimal bytes and writes it to the rig port. Queries are armed, so that the reply parser knows what comes.
class Dispatcher {
 public:
  Dispatcher(Loop& loop, Console& console, RigLink& link, const config::RigDefinition& rig, ArmedQueries& armed,
             Transmission& transmission)
      : loop_(loop), console_(console), link_(link), rig_(rig), armed_(armed), transmission_(transmission) {}

  /// `key_or_command`: a logical key in any case ("XVFOA", "ALC"), or a literal command.
  SendOutcome SendData(std::string_view key_or_command);
  /// Sends keys or literal commands that belong together: all of them, in their order, or none.
  SendOutcome SendTogether(const std::vector<std::string>& keys_or_commands);
  /// Whether the loaded row has something to send for the key.
  bool Has(std::string_view key) const;
  /// The template of a key, uncut; empty without one.
  std::string TemplateOf(const CommandKey& key) const;

  /// A finished command (placeholders filled) as the bytes for the wire: text, or hexadecimal pairs converted from the
  /// left. `field`: where in the rig's row it stands, for who reads of a fault in it.
  std::string Encode(std::string_view command, std::string_view field = {});
  /// Fills a command's placeholders; empty, with the error text set, when that fails.
  std::string FillIn(std::string command, std::string_view field = {});
  /// Another definition has been loaded: its faults are told anew.
  void ForgetFaults() { faulty_.clear(); }
  /// What releases the rig in use: by its row, else by what its family is known to do.
  std::string ReleaseOfRig();

  /// A query in the pieces that a binary rig's poll is written in; ArmPollQuery says that it has been written.
  std::vector<std::string> PollPieces(std::string_view key);
  void ArmPollQuery(std::string_view key);

  /// The value that stands for <F?VAL> in a mode button's command.
  void SetButtonValue(std::string_view key, std::string value) { button_values_[Upper(key)] = std::move(value); }
  const std::map<std::string, std::string>& button_values() const { return button_values_; }
  int line_speed() const { return link_.speed(); }
  TimePoint line_free_at() const { return link_.line_free_at(); }
  /// Sends the rig's transmit command for a party. kRefused while it is another one that transmits.
  SendOutcome KeyTransmitter(Party party);
  /// Releases the transmitter, whoever has keyed it: with the command of the rig that was keyed, before everything that
  /// waits. True when such a command was written.
  bool ReleaseTransmitter();
  /// A release has been written and may still be in the buffers of the port, which drops them when it closes.
  bool release_is_under_way() const { return !arriving_.done(); }
  /// The port has gone or closes with it: the transmitter may be keyed still.
  void ReleaseNotDelivered();
  /// Releases what that party has keyed. False when it is still keyed.
  bool ReleaseTransmitter(Party party) { return !transmission_.is_of(party) || ReleaseTransmitter(); }
  /// Bytes have gone out on the line, from wherever: those that key the transmitter or release it are known by the
  /// family, whatever the row calls them.
  void FollowBytes(std::string_view bytes);
  /// A line has been opened: what was begun on the one before is not continued. A transmitter that was keyed when it
  /// went is released.
  void PortOpened();
  /// A console before this one may have left the rig keyed: its release is the first thing that goes out when the port
  /// opens.
  void OweRelease() { owes_release_ = true; }
  /// Another rig, or another port, comes in the place of one that could not be released: its release is kept until it
  /// is back at its port. False when it was not owed any.
  bool GiveUpRig(bool for_another);
  /// A rig that is not in use now could not be released.
  bool has_put_aside() const { return !put_aside_.empty(); }
  /// The transmitter has been keyed, or how that is undone has changed: `release` are the bytes to write then.
  std::function<void(std::string_view release)> on_keyed;
  /// When a command that is no query was last written.
  TimePoint last_command() const { return last_command_; }

 private:
  SendOutcome SendQuery(std::string_view text, const CommandKey* key, bool frequency);
  SendOutcome SendFunction(const CommandKey& key);
  SendOutcome SendFrequency(const CommandKey& key);
  SendOutcome SendCommand(std::string command, std::string_view field);
  void FollowTransmitter(std::string_view command, std::string_view keyed_before);
  void Keyed(std::string_view release);
  void Released();
  std::string Resynchronise() const;
  Task Arrive(TimePoint leaves);
  void PutAside(std::string release);
  void PayRelease();
  void TellFault(const std::string& why, std::string_view field);
  void FollowMeter(const CommandKey& key, std::string_view command);
  SendOutcome Refuse(const std::string& why);
  SendOutcome FillValue(std::string& command, const std::string& value);
  void ArmAcknowledgements(std::size_t bytes);
  void Push(ArmedQuery armed);
  void Arm(const std::string& command, const QueryTemplate& query, const CommandKey* key, bool frequency);

  Loop& loop_;
  Console& console_;
  RigLink& link_;
  const config::RigDefinition& rig_;
  ArmedQueries& armed_;
  Transmission& transmission_;
  std::map<std::string, std::string> button_values_;
  TimePoint last_command_{};
  Task arriving_;          ///< the latest release, on its way to the device
  std::string release_;    ///< the bytes that release the transmitter that is keyed
  std::string keyed_rig_;  ///< whose they are
  std::vector<OwedRelease> put_aside_;
  std::set<std::string, std::less<>> faulty_;  ///< fields of the row whose fault has been told
  KeyingReader keying_;
  bool owes_release_ = false;
};

}  // namespace kvx::cat
