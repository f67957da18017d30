#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/audio_input.h"
#include "platform/sound_output.h"

namespace kvx::app {

/// Sound where there is no sound server. It may wait without end for a server that is silent, so it is asked only where
/// there is none. The windows bring it along; a console without them has none.
class LocalSound {
 public:
  virtual ~LocalSound() = default;
  virtual std::vector<platform::AudioDevice> Devices() const = 0;
  virtual std::unique_ptr<platform::AudioInput> MakeInput(const std::string& device) = 0;
  virtual std::unique_ptr<platform::SoundOutput> MakeOutput() = 0;

  std::function<bool()> may_ask;     ///< before the system is looked at again
  std::function<void()> on_changed;  ///< devices have come or gone
};

}  // namespace kvx::app
