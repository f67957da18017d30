#include "platform/qt/qt_sound_output.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QMediaDevices>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace kvx::platform {
namespace {

constexpr int kBufferMilliseconds = 100;  // what the system may hold: what it has is heard whatever happens
constexpr int kFadeMilliseconds = 5;
constexpr int kRestAfter = 5000;  // milliseconds
constexpr std::size_t kMostSeconds = 60;
constexpr qint64 kSampleBytes = sizeof(std::int16_t);

}  // namespace

void SoundQueue::Append(std::span<const std::int16_t> samples) {
  samples_.insert(samples_.end(), samples.begin(), samples.end());
}

void SoundQueue::Fade(std::size_t fade) {
  if (samples_.size() > fade) samples_.resize(fade);
  for (std::size_t i = 0; i < samples_.size(); ++i) {
    const double level = (1 + std::cos(std::numbers::pi * static_cast<double>(i) / static_cast<double>(fade))) / 2;
    samples_[i] = static_cast<std::int16_t>(std::lround(samples_[i] * level));
  }
}

qint64 SoundQueue::bytesAvailable() const {
  return std::max<qint64>(static_cast<qint64>(samples_.size()) * kSampleBytes, 1 << 16) + QIODevice::bytesAvailable();
}

qint64 SoundQueue::readData(char* bytes, qint64 limit) {
  const auto wanted = static_cast<std::size_t>(limit / kSampleBytes);
  const std::size_t count = std::min(wanted, samples_.size());
  for (std::size_t i = 0; i < wanted; ++i) {
    const std::int16_t sample = i < count ? samples_[i] : std::int16_t{0};
    std::memcpy(bytes + i * kSampleBytes, &sample, kSampleBytes);
  }
  samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(count));
  return static_cast<qint64>(wanted) * kSampleBytes;
}

QtSoundOutput::QtSoundOutput() {
  rest_.setSingleShot(true);
  connect(&rest_, &QTimer::timeout, this, [this] { queue_.waiting() > 0 ? rest_.start(kRestAfter) : StopStream(); });
}

QtSoundOutput::~QtSoundOutput() {
  Close();
}

Status QtSoundOutput::Open(int samples_per_second) {
  Close();
  rate_ = samples_per_second;
  if (auto started = StartStream(); !started) return started;
  open_ = true;
  return Ok();
}

/// On what is the system's usual output at this moment.
Status QtSoundOutput::StartStream() {
  const QAudioDevice device = QMediaDevices::defaultAudioOutput();
  if (device.isNull()) return Error{ErrorCode::kNotFound, "This computer has no sound output"};
  QAudioFormat format;
  format.setSampleRate(rate_);
  format.setChannelCount(1);
  format.setSampleFormat(QAudioFormat::Int16);
  sink_ = std::make_unique<QAudioSink>(device, format);
  sink_->setBufferSize(rate_ * kBufferMilliseconds / 1000 * kSampleBytes);
  queue_.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
  sink_->start(&queue_);
  if (sink_->error() != QAudio::NoError) {
    StopStream();
    return Error{ErrorCode::kIo, "The sound output cannot be used"};
  }
  const auto follow = [this](QAudio::State state) {
    if (state == QAudio::StoppedState) Lose();
  };
  // Not from inside the sink's own signal: it is about to go.
  connect(sink_.get(), &QAudioSink::stateChanged, this, follow, Qt::QueuedConnection);
  rest_.start(kRestAfter);
  return Ok();
}

void QtSoundOutput::StopStream() {
  rest_.stop();
  if (sink_ != nullptr) sink_->disconnect(this);
  sink_.reset();
  queue_.close();
}

void QtSoundOutput::Close() {
  open_ = false;
  StopStream();
  queue_.Clear();
}

void QtSoundOutput::Play(std::span<const std::int16_t> samples) {
  if (!open_ || queue_.waiting() > kMostSeconds * static_cast<std::size_t>(rate_)) return;
  queue_.Append(samples);
  if (sink_ != nullptr) {
    rest_.start(kRestAfter);
  } else if (!StartStream()) {
    QTimer::singleShot(0, this, [this] { Lose(); });
  }
}

void QtSoundOutput::Stop() {
  queue_.Fade(static_cast<std::size_t>(rate_ * kFadeMilliseconds / 1000));
}

Duration QtSoundOutput::remaining() const {
  if (!open_) return Duration{0};
  return Duration(static_cast<std::int64_t>(queue_.waiting()) * 1'000'000'000 / rate_);
}

void QtSoundOutput::Lose() {
  if (!open_) return;
  Close();
  if (on_lost) on_lost("The sound output has gone");
}

}  // namespace kvx::platform
