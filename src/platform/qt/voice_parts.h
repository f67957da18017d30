#pragma once

#include <string>

namespace kvx::platform {

/// What this computer lacks to speak, told by its files alone: a sentence and what to do, or nothing. Any thread.
std::string MissingVoice();

}  // namespace kvx::platform
