#include "app/audio_sources.h"

#include "core/text.h"
#include "platform/wav_input.h"
#include "sim/receiver_input.h"
#include "sim/simulated_port.h"
#include "sim/winkey_device.h"

namespace kvx::app {

AudioSources::AudioSources(Loop& loop, LocalSound* local) : loop_(loop), server_(loop), local_(local) {
  const auto tell = [this] {
    if (on_changed) on_changed();
  };
  server_.on_changed = tell;
  if (local_ == nullptr) return;
  local_->on_changed = tell;
  local_->may_ask = [this] { return server_.absent(); };
}

std::vector<platform::AudioDevice> AudioSources::Devices() const {
  std::vector<platform::AudioDevice> devices = server_.Devices();
  if (server_.present()) return devices;
  if (local_ != nullptr && server_.absent()) return local_->Devices();
  return {{"", "System default"}};
}

Result<std::unique_ptr<platform::AudioInput>> AudioSources::Make(const std::string& source) {
  std::unique_ptr<platform::AudioInput> input;
  if (source.starts_with("wav:")) {
    input = std::make_unique<platform::WavInput>(loop_, source.substr(4));
  } else if (EqualNoCase(source, "sim:receiver")) {
    input = std::make_unique<sim::ReceiverInput>(loop_, own_);
  } else if (source.starts_with("sim:")) {
    return Error{ErrorCode::kInvalid, "There is no simulated source of audio " + OneLine(source)};
  } else {
    (void)Devices();  // from now on somebody wants to know when they change
    const std::string device = platform::IsDefaultDevice(source) ? "" : source;
    if (server_.present()) {
      input = std::make_unique<platform::PulseInput>(loop_, device);
    } else if (server_.absent()) {
      if (local_ == nullptr) return Error{ErrorCode::kNotFound, "This computer has no sound server"};
      input = local_->MakeInput(device);
    } else {
      return Error{ErrorCode::kBusy, "The sound server does not answer"};
    }
  }
  return input;
}

void AudioSources::ListenTo(platform::SerialPort& port) {
  auto* simulated = dynamic_cast<sim::SimulatedPort*>(&port);
  auto* keyer = simulated == nullptr ? nullptr : dynamic_cast<sim::WinkeyDevice*>(simulated->device());
  if (keyer == nullptr) return;
  keyer->on_key = [this, keyer](bool down, TimePoint when) { own_.Key(down, when, keyer->side_tone_hertz()); };
}

}  // namespace kvx::app
