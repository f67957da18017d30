#pragma once

#include <string>

#include "links/rigctl_rig.h"

namespace kvx::links {

/// What `\dump_state` tells a client library of the rig: protocol version 1, down to its "done".
std::string DumpState(const RigctlRig& rig);
/// What `\dump_caps` tells, for people and for programs that look for "Can set Frequency:" and its like.
std::string DumpCaps(const RigctlRig& rig);

}  // namespace kvx::links
