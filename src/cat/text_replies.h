#pragma once

#include <array>

#include "cat/reply.h"

namespace kvx::cat {

/// What differs between rigs whose replies are "FA00014025000;"-like text.
struct TextDialect {
  bool kenwood = false;        ///< "IF" reports with 11 digits and the mode as 30th character, "FR", "OM", "ZZMD"
  int mode_prefix_digits = 0;  ///< digits before the mode's code in "MD": 0 "MD3;", 1 "MD03;"
  int s_meter_digits = 0;      ///< the value: the last so many digits of "SM"; 0: as many as the rig sends, up to 5
  int meter_digits = 4;        ///< the value: so many digits after the meter's number in "RM"
  const std::array<ModeCode, 16>* modes = nullptr;
  const std::array<ModeCode, 16>* wide_modes = nullptr;  ///< of the two digits of "ZZMD"
};

/// Reads every complete reply (up to its ";") out of the buffer.
void ParseTextReplies(std::string& buffer, const TextDialect& dialect, ParseContext& context,
                      std::vector<Reply>& replies);

/// What the S-meter of a Kenwood-speaking rig says at S9+60.
int KenwoodFullScale(const config::RigDefinition& rig);

}  // namespace kvx::cat
