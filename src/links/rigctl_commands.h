#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "links/rigctl_reply.h"
#include "links/rigctl_rig.h"

namespace kvx::links {

/// One command as it came.
struct RigctlCall {
  RigctlRig& rig;
  RigctlClient& client;
  RigctlReply& reply;
  std::vector<std::string_view> arguments;  ///< without the VFO's name
  char vfo = 'A';                           ///< which VFO is meant

  std::string_view argument(std::size_t index) const {
    return index < arguments.size() ? arguments[index] : std::string_view();
  }
};

/// What a command does for its client.
enum class RigctlKind {
  kTells,    ///< answers with values
  kChanges,  ///< changes something for everybody: refused where clients may only read
  kOwn,      ///< changes something of the client's own
};

struct RigctlCommand {
  char letter;            ///< '\0': it has its long name alone
  std::string_view name;  ///< as written behind a backslash
  int arguments;          ///< how many it takes
  RigctlKind kind;
  Rprt (*run)(RigctlCall& call);  ///< null: the command is known, the console has nothing like it
  bool of_vfo = false;            ///< a VFO's name may stand before the arguments
  bool takes_rest = false;        ///< the rest of the line is its one argument
  bool bare = false;              ///< its answer has its own form: no "RPRT", the same in both forms
  int optional = 0;               ///< so many of the last arguments may be missing
};

/// By its letter or by its long name; null when there is no such command.
const RigctlCommand* FindRigctlCommand(char letter);
const RigctlCommand* FindRigctlCommand(std::string_view name);

/// The VFO of that name: 'A', 'B', '\0' for the one in use; '?' for what is no VFO.
char VfoNamed(std::string_view name);
/// A frequency in hertz, as "14025000", "14025000.5", "14025000,5"; fractions below 0.1 Hz are cut. Nothing for
/// anything else.
std::optional<Frequency> HertzOf(std::string_view text);
/// A plain decimal number with a point or a comma.
std::optional<double> DecimalOf(std::string_view text);

}  // namespace kvx::links
