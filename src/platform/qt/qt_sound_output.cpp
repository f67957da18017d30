#include "platform/qt/qt_sound_output.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QMediaDevices>
#include <algorithm>
#include <cstring>
#include <vector>

namespace kvx::platform {
namespace {

constexpr int kBufferMilliseconds = 100;  // what the system may hold: what it has is heard whatever happens
constexpr int kRestAfter = 5000;          // milliseconds
constexpr qint64 kSampleBytes = sizeof(std::int16_t);

}  // namespace

qint64 SoundStream::bytesAvailable() const {
  return std::max<qint64>(static_cast<qint64>(queue_.waiting()) * kSampleBytes, 1 << 16) + QIODevice::bytesAvailable();
}

qint64 SoundStream::readData(char* bytes, qint64 limit) {
  std::vector<std::int16_t> samples = queue_.Take(static_cast<std::size_t>(limit / kSampleBytes));
  samples.resize(static_cast<std::size_t>(limit / kSampleBytes));
  std::memcpy(bytes, samples.data(), samples.size() * kSampleBytes);
  return static_cast<qint64>(samples.size()) * kSampleBytes;
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
  stream_.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
  sink_->start(&stream_);
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
  stream_.close();
}

void QtSoundOutput::Close() {
  open_ = false;
  StopStream();
  queue_.Clear();
}

void QtSoundOutput::Play(std::span<const std::int16_t> samples) {
  if (!open_ || !queue_.Append(samples, rate_)) return;
  if (sink_ != nullptr) {
    rest_.start(kRestAfter);
  } else if (!StartStream()) {
    QTimer::singleShot(0, this, [this] { Lose(); });
  }
}

void QtSoundOutput::Stop() {
  queue_.Fade(rate_);
}

Duration QtSoundOutput::remaining() const {
  return open_ ? queue_.Length(rate_) : Duration{0};
}

void QtSoundOutput::Lose() {
  if (!open_) return;
  Close();
  if (on_lost) on_lost("The sound output has gone");
}

}  // namespace kvx::platform
