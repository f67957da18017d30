#include "platform/posix/pulse_output.h"

#include <pulse/pulseaudio.h>

#include <string>
#include <vector>

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr Duration kPumpEvery = 10ms;
constexpr Duration kLookEvery = 1s;
constexpr pa_usec_t kHeld = 100'000;  // microseconds that the server holds: what it has is heard whatever happens
constexpr pa_usec_t kPiece = 10'000;
constexpr std::uint32_t kAny = 0xFFFFFFFF;

Error Unusable() {
  return {ErrorCode::kIo, "The sound output cannot be used"};
}

}  // namespace

Status PulseOutput::Open(int samples_per_second) {
  Close();
  rate_ = samples_per_second;
  server_ = std::make_unique<PulseConnection>(loop_);
  Status opened = Ok();
  server_->GiveAMoment([this, &opened] {
    opened = Advance();
    return !opened || running_;
  });
  if (opened) opened = Advance();
  if (!opened) {
    Close();
    return opened;
  }
  open_ = true;
  timer_ = loop_.StartTimer(loop_.Now() + kPumpEvery, [this] { Fire(); });
  return Ok();
}

void PulseOutput::Close() {
  loop_.StopTimer(timer_);
  timer_ = 0;
  if (stream_ != nullptr) {
    pa_stream_disconnect(stream_);
    pa_stream_unref(stream_);
  }
  stream_ = nullptr;
  server_.reset();
  queue_.Clear();
  open_ = running_ = false;
}

/// As far as the server's answers allow: connected, the stream begun, the stream running. From then on, whether all
/// that still holds.
Status PulseOutput::Advance() {
  if (!server_->good() && running_) return Error{ErrorCode::kNotFound, "The sound output has gone"};
  if (!server_->good() || server_->silent()) return server_->failure();
  if (server_->answers() == 0) return Ok();
  if (stream_ == nullptr) return StartStream();
  const pa_stream_state_t state = pa_stream_get_state(stream_);
  if (state == PA_STREAM_CREATING) return Ok();
  if (state != PA_STREAM_READY) return running_ ? Error{ErrorCode::kNotFound, "The sound output has gone"} : Unusable();
  running_ = true;
  return Ok();
}

Status PulseOutput::StartStream() {
  const pa_sample_spec form{PA_SAMPLE_S16NE, static_cast<std::uint32_t>(rate_), 1};
  const auto bytes = [&form](pa_usec_t time) { return static_cast<std::uint32_t>(pa_usec_to_bytes(time, &form)); };
  // A sound begins with its first sample; between sounds nothing is sent.
  const pa_buffer_attr buffer{kAny, bytes(kHeld), static_cast<std::uint32_t>(sizeof(std::int16_t)), bytes(kPiece),
                              kAny};
  stream_ = pa_stream_new(server_->context(), "side tone", &form, nullptr);
  if (stream_ == nullptr) return Unusable();
  if (pa_stream_connect_playback(stream_, nullptr, &buffer, PA_STREAM_ADJUST_LATENCY, nullptr, nullptr) < 0) {
    return Unusable();
  }
  server_->Ask();  // its silence counts while the stream is made
  next_look_ = loop_.Now() + kLookEvery;
  return Ok();
}

/// What is told may close or destroy this output.
void PulseOutput::Fire() {
  timer_ = loop_.StartTimer(loop_.Now() + kPumpEvery, [this] { Fire(); });
  server_->Pump();
  if (const Status advanced = Advance(); !advanced) {
    Close();
    if (const auto tell = on_lost) tell(advanced.error().message);
    return;
  }
  if (loop_.Now() >= next_look_) {
    server_->Ask();
    next_look_ = loop_.Now() + kLookEvery;
  }
  Give();
}

void PulseOutput::Play(std::span<const std::int16_t> samples) {
  if (open_ && queue_.Append(samples, rate_)) Give();
}

void PulseOutput::Give() {
  if (!running_ || !server_->good()) return;
  const std::size_t room = pa_stream_writable_size(stream_);
  if (room == static_cast<std::size_t>(-1) || queue_.waiting() == 0) return;
  const std::vector<std::int16_t> samples = queue_.Take(room / sizeof(std::int16_t));
  if (samples.empty()) return;
  (void)pa_stream_write(stream_, samples.data(), samples.size() * sizeof samples[0], nullptr, 0, PA_SEEK_RELATIVE);
  server_->Pump();
}

}  // namespace kvx::platform
