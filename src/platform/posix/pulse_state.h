#pragma once

#include <chrono>

#include "platform/sound_state.h"

namespace kvx::platform {

/// Asks the user's sound server, on a connection that ends with this call, for that time at most. Any thread.
SoundState AskSoundServer(std::chrono::milliseconds limit);

}  // namespace kvx::platform
