#include "platform/posix/pulse_input.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/text.h"
#include "platform/samples.h"

namespace kvx::platform {
namespace {

using namespace std::chrono_literals;

constexpr int kChunksPerSecond = 50;
constexpr Duration kPumpEvery = 10ms;
constexpr Duration kLookEvery = 1s;
constexpr Duration kTryAgain = 2s;
constexpr Duration kLookSoon = 50ms;  // while an answer is expected
constexpr std::uint32_t kAny = 0xFFFFFFFF;

}  // namespace

PulseInput::PulseInput(Loop& loop, std::string device) : loop_(loop), device_(std::move(device)) {}

PulseInput::~PulseInput() {
  Close();
}

Status PulseInput::Open(int samples_per_second) {
  Close();
  rate_ = samples_per_second;
  chunk_ = static_cast<std::size_t>(samples_per_second / kChunksPerSecond);
  server_ = std::make_unique<PulseConnection>(loop_);
  Status opened = Ok();
  server_->GiveAMoment([this, &opened] {
    opened = Advance();
    return !opened || resampler_;
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

void PulseInput::Close() {
  ++*round_;
  loop_.StopTimer(timer_);
  timer_ = 0;
  if (stream_ != nullptr) {
    pa_stream_disconnect(stream_);
    pa_stream_unref(stream_);
  }
  stream_ = nullptr;
  server_.reset();
  resampler_.reset();
  open_ = false;
  waiting_.clear();
}

/// As far as the server's answers allow: connected, its devices known, the stream begun, the stream running. From then
/// on, whether all that still holds.
Status PulseInput::Advance() {
  if (!server_->good() && resampler_) return Error{ErrorCode::kNotFound, "The sound server has gone"};
  if (!server_->good() || server_->silent()) return server_->failure();
  if (server_->answers() == 0) return Ok();
  if (stream_ == nullptr) {
    const auto source = FindSource();
    return source ? StartStream(*source) : Status(source.error());
  }
  const pa_stream_state_t state = pa_stream_get_state(stream_);
  if (state == PA_STREAM_CREATING) return Ok();
  if (state != PA_STREAM_READY && resampler_) return Error{ErrorCode::kNotFound, "The sound input has gone"};
  if (state != PA_STREAM_READY) return Error{ErrorCode::kIo, OneLine(source_) + " cannot be used"};
  if (!resampler_) resampler_.emplace(static_cast<int>(pa_stream_get_sample_spec(stream_)->rate), rate_);
  if (!device_.empty() || std::exchange(heard_, server_->answers()) == server_->answers()) return Ok();
  const auto usual = FindSource();
  if (usual && *usual == source_) return Ok();
  return Error{ErrorCode::kNotFound, "The system has another default sound input"};
}

Result<std::string> PulseInput::FindSource() const {
  const auto& sources = server_->sources();
  const auto find = [&sources](auto fits) {
    const auto found = std::find_if(sources.begin(), sources.end(), fits);
    return found == sources.end() ? std::string() : found->device.id;
  };
  std::string id;
  if (device_.empty()) {
    id = find([](const auto& source) { return source.is_default; });
    return id.empty() ? Result<std::string>(Error{ErrorCode::kNotFound, "This computer has no sound input"}) : id;
  }
  id = find([this](const auto& source) { return source.device.id == device_; });
  if (id.empty()) id = find([this](const auto& source) { return EqualNoCase(source.device.name, device_); });
  if (id.empty()) return Error{ErrorCode::kNotFound, "There is no sound input " + OneLine(device_)};
  return id;
}

Status PulseInput::StartStream(const std::string& source) {
  const pa_sample_spec wanted{PA_SAMPLE_S16NE, static_cast<std::uint32_t>(rate_), 1};
  const std::size_t chunk_bytes = pa_usec_to_bytes(1'000'000 / kChunksPerSecond, &wanted);
  const pa_buffer_attr buffer{kAny, kAny, kAny, kAny, static_cast<std::uint32_t>(chunk_bytes)};
  const auto flags =
      static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_FIX_RATE | PA_STREAM_DONT_MOVE);
  const Error unusable{ErrorCode::kIo, OneLine(source) + " cannot be used"};
  stream_ = pa_stream_new(server_->context(), "receiver", &wanted, nullptr);
  if (stream_ == nullptr || pa_stream_connect_record(stream_, source.c_str(), &buffer, flags) < 0) return unusable;
  source_ = source;
  heard_ = server_->answers();
  server_->Ask();  // its silence counts while the stream is made
  next_look_ = loop_.Now() + kLookEvery;
  return Ok();
}

/// What is told last may close or destroy this source.
void PulseInput::Fire() {
  timer_ = loop_.StartTimer(loop_.Now() + kPumpEvery, [this] { Fire(); });
  server_->Pump();
  if (auto advanced = Advance(); !advanced) return Lose(advanced.error().message);
  if (!resampler_) return;
  TakeFromServer();
  if (loop_.Now() >= next_look_) {
    server_->Ask();
    next_look_ = loop_.Now() + kLookEvery;
  }
  Give();
}

void PulseInput::TakeFromServer() {
  while (pa_stream_readable_size(stream_) > 0) {
    const void* bytes = nullptr;
    std::size_t size = 0;
    if (pa_stream_peek(stream_, &bytes, &size) < 0 || size == 0) return;
    samples_.assign(size / sizeof(std::int16_t), 0.0F);  // a hole is silence
    for (std::size_t i = 0; bytes != nullptr && i < samples_.size(); ++i) {
      std::int16_t sample = 0;
      std::memcpy(&sample, static_cast<const char*>(bytes) + i * sizeof sample, sizeof sample);
      samples_[i] = ToFloat(sample);
    }
    pa_stream_drop(stream_);
    std::vector<float> resampled;
    resampler_->Feed(samples_, resampled);
    for (const float sample : resampled) waiting_.push_back(To16Bits(sample));
  }
}

void PulseInput::Give() {
  const auto give = on_samples;
  const std::vector<std::int16_t> samples = std::exchange(waiting_, {});
  const std::shared_ptr<const int> round = round_;
  for (std::size_t at = 0, before = static_cast<std::size_t>(*round); at < samples.size(); at += chunk_) {
    if (give) give(std::span(samples).subspan(at, std::min(chunk_, samples.size() - at)));
    if (static_cast<std::size_t>(*round) != before) return;
  }
}

void PulseInput::Lose(const std::string& why) {
  Close();
  const auto tell = on_lost;
  if (tell) tell(why);
}

std::vector<AudioDevice> PulseDevices::Devices() const {
  Follow();
  GiveAMoment();
  if (timer_ == 0) timer_ = loop_.StartTimer(loop_.Now() + kLookSoon, [this] { Look(); });
  return devices_;
}

bool PulseDevices::absent() const {
  next_try_ = TimePoint{};
  Follow();
  GiveAMoment();
  return !server_ && !silent_;
}

/// Only a new connection, and only once: a server that has been silent is looked at from time to time.
void PulseDevices::GiveAMoment() const {
  if (!server_ || silent_ || !std::exchange(fresh_, false)) return;
  server_->GiveAMoment([this] { return server_->answers() > 0; });
  Follow();
}

void PulseDevices::Follow() const {
  if (server_) server_->Pump();
  if (server_ && !server_->good()) {
    const bool answered = server_->answers() > 0;
    silent_ = !answered && (silent_ || !server_->refused());  // whose connections are full refuses too
    next_try_ = loop_.Now() + (answered ? Duration{0} : kTryAgain);
    server_.reset();
    devices_.clear();
  }
  if (!server_) {
    if (loop_.Now() < next_try_) return;
    server_ = std::make_unique<PulseConnection>(loop_);
    fresh_ = true;
    heard_ = 0;
    return;
  }
  if (std::exchange(heard_, server_->answers()) != server_->answers()) {
    silent_ = false;
    next_question_ = loop_.Now() + kLookEvery;
    devices_ = {{"", "System default"}};
    for (const PulseConnection::Source& source : server_->sources()) devices_.push_back(source.device);
  } else if (server_->silent()) {
    silent_ = true;
    devices_.clear();
  } else if (loop_.Now() >= next_question_) {
    server_->Ask();
  }
}

void PulseDevices::Look() const {
  const std::vector<AudioDevice> before = devices_;
  Follow();
  const bool expected = server_ && !silent_ && loop_.Now() >= next_question_;
  timer_ = loop_.StartTimer(loop_.Now() + (expected ? kLookSoon : kLookEvery), [this] { Look(); });
  if (devices_ != before && on_changed) on_changed();
}

}  // namespace kvx::platform
