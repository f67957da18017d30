#pragma once

#include "app/local_sound.h"
#include "platform/qt/qt_audio_input.h"

namespace kvx::app {

/// What Qt finds.
class QtSound final : public LocalSound {
 public:
  QtSound();
  std::vector<platform::AudioDevice> Devices() const override { return devices_.Devices(); }
  std::unique_ptr<platform::AudioInput> MakeInput(const std::string& device) override;
  std::unique_ptr<platform::SoundOutput> MakeOutput() override;

 private:
  platform::QtAudioDevices devices_;
};

}  // namespace kvx::app
