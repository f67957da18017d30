#pragma once

#include <algorithm>
#include <array>

namespace kvx::config {

/// The speeds that serial ports and rigs have, in baud. Others between kSlowestLine and kFastestLine are tried as well,
/// and told.
inline constexpr std::array kUsualSpeeds{300,    600,    1200,   2400,    4800,    9600,    14'400,
                                         19'200, 38'400, 57'600, 115'200, 230'400, 460'800, 921'600};
inline constexpr const char* kNoUsualSpeed =
    " is no usual speed of a serial port, as 4800, 9600, 19200, 38400, 57600 and 115200 are";

inline bool IsUsualSpeed(int speed) {
  return std::find(kUsualSpeeds.begin(), kUsualSpeeds.end(), speed) != kUsualSpeeds.end();
}

}  // namespace kvx::config
