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
constexpr Duration kTryHungAgain = 30s;  // each try takes half a second
constexpr std::uint32_t kAny = 0xFFFFFFFF;

}  // namespace

PulseInput::PulseInput(Loop& loop, std::string device) : loop_(loop), device_(std::move(device)) {}

PulseInput::~PulseInput() {
  Close();
}

Status PulseInput::Open(int samples_per_second) {
  Close();
  server_ = std::make_unique<PulseConnection>(loop_);
  Status opened = server_->Connect();
  if (opened) {
    const auto source = FindSource();
    opened = source ? StartStream(*source, samples_per_second) : Status(source.error());
  }
  if (!opened) {
    Close();
    return opened;
  }
  open_ = true;
  chunk_ = static_cast<std::size_t>(samples_per_second / kChunksPerSecond);
  next_look_ = loop_.Now() + kLookEvery;
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
  open_ = false;
  waiting_.clear();
}

Result<std::string> PulseInput::FindSource() {
  const auto sources = server_->Sources();
  if (!sources) return Error{ErrorCode::kBusy, "The sound server does not answer"};
  const auto find = [&sources](auto fits) {
    const auto found = std::find_if(sources->begin(), sources->end(), fits);
    return found == sources->end() ? std::string() : found->device.id;
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

Status PulseInput::StartStream(const std::string& source, int samples_per_second) {
  const pa_sample_spec wanted{PA_SAMPLE_S16NE, static_cast<std::uint32_t>(samples_per_second), 1};
  const std::size_t chunk_bytes = pa_usec_to_bytes(1'000'000 / kChunksPerSecond, &wanted);
  const pa_buffer_attr buffer{kAny, kAny, kAny, kAny, static_cast<std::uint32_t>(chunk_bytes)};
  const auto flags =
      static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_FIX_RATE | PA_STREAM_DONT_MOVE);
  const Error unusable{ErrorCode::kIo, OneLine(source) + " cannot be used"};
  stream_ = pa_stream_new(server_->context(), "receiver", &wanted, nullptr);
  if (stream_ == nullptr || pa_stream_connect_record(stream_, source.c_str(), &buffer, flags) < 0) return unusable;
  const auto settled = [this] { return pa_stream_get_state(stream_) != PA_STREAM_CREATING; };
  if (!server_->WaitFor(settled) || pa_stream_get_state(stream_) != PA_STREAM_READY) return unusable;
  resampler_.emplace(static_cast<int>(pa_stream_get_sample_spec(stream_)->rate), samples_per_second);
  source_ = source;
  return Ok();
}

/// What is told last may close or destroy this source.
void PulseInput::Fire() {
  timer_ = loop_.StartTimer(loop_.Now() + kPumpEvery, [this] { Fire(); });
  server_->Pump();
  if (!server_->good()) return Lose("The sound server has gone");
  if (pa_stream_get_state(stream_) != PA_STREAM_READY) return Lose("The sound input has gone");
  TakeFromServer();
  if (device_.empty() && loop_.Now() >= next_look_) {
    const auto usual = FindSource();
    if (usual && *usual != source_) return Lose("The system has another default sound input");
    next_look_ = loop_.Now() + (usual ? kLookEvery : kTryHungAgain);
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
  Ask();
  if (timer_ == 0) timer_ = loop_.StartTimer(loop_.Now() + kLookEvery, [this] { Look(); });
  return devices_;
}

void PulseDevices::Ask() const {
  if (server_) server_->Pump();
  if (!present()) {
    server_.reset();
    devices_.clear();
  }
  if (loop_.Now() < next_try_) return;
  if (!server_) {
    auto server = std::make_unique<PulseConnection>(loop_);
    const Status connected = server->Connect();
    const bool hung = !connected && connected.error().code == ErrorCode::kBusy;
    next_try_ = loop_.Now() + (hung ? kTryHungAgain : kTryAgain);
    if (!connected) return;
    server_ = std::move(server);
  }
  const auto sources = server_->Sources();
  next_try_ = loop_.Now() + (sources ? Duration{0} : kTryHungAgain);
  if (!sources) return;
  devices_ = {{"", "System default"}};
  for (const PulseConnection::Source& source : *sources) devices_.push_back(source.device);
}

void PulseDevices::Look() const {
  timer_ = loop_.StartTimer(loop_.Now() + kLookEvery, [this] { Look(); });
  const std::vector<AudioDevice> before = devices_;
  Ask();
  if (devices_ != before && on_changed) on_changed();
}

}  // namespace kvx::platform
