#pragma once

#include <string>
#include <vector>

namespace kvx::audio {

/// One of the signals in the passband that are read at the same time.
struct HeardSignal {
  int number = 0;  ///< stays with the signal as long as it is listed
  double hertz = 0;
  double wpm = 0;                      ///< 0: not known yet
  double snr_db = 0;                   ///< key-down carrier over the noise in 2500 Hz
  bool present = false;                ///< whether it is being sent now
  std::string text;                    ///< the end of what has been read
  std::vector<std::string> callsigns;  ///< picked out of what has been read, each once, the latest last
};

}  // namespace kvx::audio
