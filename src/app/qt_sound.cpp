#include "app/qt_sound.h"

#include "platform/qt/qt_sound_output.h"

namespace kvx::app {

QtSound::QtSound() {
  devices_.may_ask = [this] { return may_ask && may_ask(); };
  devices_.on_changed = [this] {
    if (on_changed) on_changed();
  };
}

std::unique_ptr<platform::AudioInput> QtSound::MakeInput(const std::string& device) {
  return std::make_unique<platform::QtAudioInput>(device);
}

std::unique_ptr<platform::SoundOutput> QtSound::MakeOutput() {
  return std::make_unique<platform::QtSoundOutput>();
}

}  // namespace kvx::app
