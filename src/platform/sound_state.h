#pragma once

#include <string>
#include <vector>

#include "platform/audio_input.h"

namespace kvx::platform {

/// How it stands with the computer's sound.
struct SoundState {
  enum class Server { kAbsent, kSilent, kAnswers };
  struct Source {
    AudioDevice device;
    bool is_default = false;
    bool silent = false;  ///< muted, or its volume is 0
  };
  Server server = Server::kAbsent;
  std::string server_program;  ///< that is installed; empty: none
  std::vector<Source> sources;
};

}  // namespace kvx::platform
