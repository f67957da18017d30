#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/frequency.h"
#include "core/result.h"

namespace kvx::config {

struct FrequencyRange {
  Frequency low, high;
  bool operator==(const FrequencyRange&) const = default;
};

/// How the CAT port of a shipped rig leaves the factory, and what of the rig can be read through it.
struct RigSetup {
  std::string rig;
  int speed = 0;  ///< baud; 0: the rig has no CAT port
  int stop_bits = 1;
  bool dtr = false;  ///< the rig wants the line on (or is powered by it)
  bool rts = false;
  std::string address;                 ///< CI-V, two hexadecimal digits; else empty
  int digits = 0;                      ///< of its frequency data
  std::vector<FrequencyRange> ranges;  ///< what it receives, lowest first
  std::vector<std::string> replies;    ///< "frequency", "mode", "meter", "vfob"

  bool Receives(Frequency frequency) const;
};

// Setups as an RFC 4180 table; `#` lines and empty lines are skipped.
//
//   RigName,Speed,StopBits,DTR,RTS,Address,Digits,Ranges,Replies
//   TS-2000,9600,1,on,on,,11,0.03-60 142-152 420-450,frequency mode meter vfob

/// Reads a table; an error names the line and what is wrong with it, and then nothing is taken.
Result<std::vector<RigSetup>> ParseRigSetups(std::string_view csv);

/// The setup of a rig, its name in any case; null when there is none.
const RigSetup* FindRigSetup(const std::vector<RigSetup>& setups, std::string_view rig);

}  // namespace kvx::config
