#pragma once

#include <string>
#include <string_view>

#include "config/rig_definition.h"
#include "core/loop.h"

namespace kvx::cat {

/// Then a transmission of a program has been forgotten, whatever the operator may do himself.
inline constexpr Duration kLongestTransmission = std::chrono::minutes(5);

/// How long a transmission may last where the operator has set a limit for it, 0 for none; 0: as long as he likes.
inline Duration LimitOf(Duration set, bool of_operator) {
  return set > Duration{0} || of_operator ? set : kLongestTransmission;
}

/// What bytes on the line do to the rig's transmitter.
struct Keying {
  enum class Effect { kNone, kOn, kOff };
  Effect effect = Effect::kNone;
  std::string release;  ///< for kOn: the bytes that end the transmission
};

/// What one whole command does to the transmitter of a rig of that family. Queries do nothing to it.
using FamilyKeying = Keying (*)(std::string_view command, const config::RigDefinition& rig);

Keying KeyingKenwood(std::string_view command, const config::RigDefinition& rig);
Keying KeyingYaesu(std::string_view command, const config::RigDefinition& rig);
Keying KeyingIcom(std::string_view command, const config::RigDefinition& rig);
Keying KeyingTenTec(std::string_view command, const config::RigDefinition& rig);

/// What stands at the end of each of a rig's commands; '\0' for commands of five bytes, which have no end mark.
char EndMark(const config::RigDefinition& rig);

/// What bytes that go out do to the transmitter: of several commands the last that does something counts, with or
/// without what the row itself calls its transmit button.
Keying KeyingOf(const config::RigDefinition& rig, std::string_view bytes);

/// The bytes that release a rig of that family, whatever its row says; empty where it has no such command. `address`:
/// of an Icom rig.
std::string ReleaseOf(const config::RigDefinition& rig, std::string_view address);

/// Whether the user buttons Alpha and Bravo are "transmit on" and "transmit off": they are unless their caption says
/// otherwise.
bool ButtonsKeyTransmitter(const config::RigRow& row);

/// The same for a binary rig whose keying only its row knows: by the commands of its transmit buttons, at any address.
Keying KeyingByButtons(std::string_view command, const config::RigDefinition& rig);

/// Follows what goes out, whole commands or pieces of them.
class KeyingReader {
 public:
  Keying Read(const config::RigDefinition& rig, std::string_view bytes);
  void Forget() { unfinished_.clear(); }
  /// What is written next would be taken for the rest of a command.
  bool is_within_command() const { return !unfinished_.empty(); }

 private:
  std::string unfinished_;  ///< the beginning of a command whose end mark has not gone out yet
};

}  // namespace kvx::cat
