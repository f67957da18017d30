#include "app/usual_sound.h"

#include "platform/posix/pulse_output.h"

namespace kvx::app {

Status UsualSound::Open(int samples_per_second) {
  output_.reset();
  (void)server_.Devices();
  if (server_.present()) {
    output_ = std::make_unique<platform::PulseOutput>(loop_);
  } else if (server_.absent()) {
    output_ = local_.MakeOutput();
  } else {
    return Error{ErrorCode::kBusy, "The sound server does not answer"};
  }
  // The output may be replaced by what is told: nothing of it is used any more.
  output_->on_lost = [this](const std::string& why) {
    if (const auto tell = on_lost) tell(why);
  };
  return output_->Open(samples_per_second);
}

void UsualSound::Play(std::span<const std::int16_t> samples) {
  if (output_) output_->Play(samples);
}

void UsualSound::Stop() {
  if (output_) output_->Stop();
}

}  // namespace kvx::app
