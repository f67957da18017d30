#include "platform/qt/qt_audio_input.h"

#include <dlfcn.h>

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSource>
#include <QFileInfo>
#include <QMediaDevices>
#include <QStandardPaths>
#include <algorithm>
#include <cstring>
#include <utility>

#include "core/text.h"
#include "platform/samples.h"

namespace kvx::platform {
namespace {

constexpr int kChunksPerSecond = 50;
constexpr int kLookAgain = 1000;  // milliseconds: Qt does not always tell
#ifdef Q_OS_WIN
constexpr const char* kDefaultName = "Microsoft Sound Mapper";
#else
constexpr const char* kDefaultName = "System default";
#endif

QAudioFormat Wanted(int samples_per_second) {
  QAudioFormat format;
  format.setSampleRate(samples_per_second);
  format.setChannelCount(1);
  format.setSampleFormat(QAudioFormat::Int16);
  return format;
}

bool HasSoundServer() {
  const auto exists = [](const QString& path) { return QFileInfo::exists(path); };
  const QString server = qEnvironmentVariable("PULSE_SERVER");
  if (!server.isEmpty()) {
    const QString path = server.startsWith("unix:") ? server.mid(5) : server;
    return !path.startsWith('/') || exists(path);
  }
  const QString runtime =
      qEnvironmentVariable("PULSE_RUNTIME_PATH", qEnvironmentVariable("XDG_RUNTIME_DIR") + "/pulse");
  return exists(runtime + "/native") || exists("/run/pulse/native") ||
         !QStandardPaths::findExecutable("pulseaudio").isEmpty();
}

/// Qt looks for PulseAudio once, when it is first asked, and never again when there was none: it is not asked before
/// there is one, or something that starts one. A Qt that does without PulseAudio may always be asked.
bool MayAskSystem() {
  static bool asked = false;
  if (asked) return true;
  asked = ::dlsym(RTLD_DEFAULT, "pa_context_new") == nullptr || HasSoundServer();
  return asked;
}

}  // namespace

QtAudioInput::QtAudioInput(std::string device) : device_(std::move(device)) {
  look_.setInterval(kLookAgain);
  connect(&look_, &QTimer::timeout, this, [this] { CheckPresence(); });
}

QtAudioInput::~QtAudioInput() {
  Close();
}

QAudioDevice QtAudioInput::FindDevice() const {
  if (!MayAskSystem()) return {};
  if (IsDefaultDevice(device_)) return QMediaDevices::defaultAudioInput();
  const QList<QAudioDevice> devices = QMediaDevices::audioInputs();
  for (const QAudioDevice& device : devices) {
    if (device.id() == QByteArray::fromStdString(device_)) return device;
  }
  for (const QAudioDevice& device : devices) {
    if (EqualNoCase(device.description().toStdString(), device_)) return device;
  }
  return {};
}

Status QtAudioInput::Open(int samples_per_second) {
  Close();
  const QAudioDevice device = FindDevice();
  if (device.isNull()) {
    return Error{ErrorCode::kNotFound, IsDefaultDevice(device_) ? "This computer has no sound input"
                                                                : "There is no sound input " + OneLine(device_)};
  }
  QAudioFormat format = Wanted(samples_per_second);
  if (!device.isFormatSupported(format)) format = device.preferredFormat();
  if (!format.isValid()) {
    return Error{ErrorCode::kInvalid, OneLine(device.description().toStdString()) + " cannot give " +
                                          std::to_string(samples_per_second) + " samples a second"};
  }
  format_ = std::make_unique<QAudioFormat>(format);
  source_ = std::make_unique<QAudioSource>(device, format);
  source_->setBufferSize(format.bytesForDuration(1'000'000 / kChunksPerSecond));
  stream_ = source_->start();
  if (stream_ == nullptr || source_->error() != QAudio::NoError) {
    Close();
    return Error{ErrorCode::kIo, OneLine(device.description().toStdString()) + " cannot be used"};
  }
  resampler_.emplace(format.sampleRate(), samples_per_second);
  chunk_ = static_cast<std::size_t>(samples_per_second / kChunksPerSecond);
  opened_id_ = device.id();
  // Not from inside the signals: what is told may close the source.
  connect(
      stream_, &QIODevice::readyRead, this, [this] { Take(); }, Qt::QueuedConnection);
  const auto follow = [this](QAudio::State state) {
    if (state == QAudio::StoppedState) Lose("The sound input has gone");
  };
  connect(source_.get(), &QAudioSource::stateChanged, this, follow, Qt::QueuedConnection);
  look_.start();
  return Ok();
}

void QtAudioInput::Close() {
  ++round_;
  look_.stop();
  if (stream_ != nullptr) stream_->disconnect(this);
  if (source_ != nullptr) source_->disconnect(this);
  stream_ = nullptr;
  source_.reset();
  bytes_.clear();
  waiting_.clear();
}

/// The system would give the sound of another device in the place of one that has gone. Who wants the default device
/// follows it.
void QtAudioInput::CheckPresence() {
  const QAudioDevice device = FindDevice();
  if (device.isNull() || device.id() != opened_id_) Lose("The sound input has gone");
}

void QtAudioInput::Take() {
  if (stream_ == nullptr) return;
  const QByteArray more = stream_->readAll();
  if (more.isEmpty()) return;
  bytes_ += more;
  const auto frame_bytes = static_cast<std::size_t>(format_->bytesPerFrame());
  const std::size_t frames = static_cast<std::size_t>(bytes_.size()) / frame_bytes;
  Convert(bytes_.constData(), frames);
  bytes_.remove(0, static_cast<qsizetype>(frames * frame_bytes));
  Give();
}

/// To mono, the mean of the channels, at the rate that is wanted.
void QtAudioInput::Convert(const char* bytes, std::size_t frames) {
  const auto channels = static_cast<std::size_t>(format_->channelCount());
  const auto sample_bytes = static_cast<std::size_t>(format_->bytesPerSample());
  samples_.assign(frames, 0);
  for (std::size_t i = 0; i < frames * channels; ++i) {
    const char* at = bytes + i * sample_bytes;
    std::int16_t sample = 0;
    if (format_->sampleFormat() == QAudioFormat::Int16) {
      std::memcpy(&sample, at, sizeof sample);
      samples_[i / channels] += ToFloat(sample);
    } else {
      samples_[i / channels] += static_cast<float>(format_->normalizedSampleValue(at));
    }
  }
  resampled_.clear();
  resampler_->Feed(samples_, resampled_);
  for (const float sample : resampled_) waiting_.push_back(To16Bits(sample / static_cast<float>(channels)));
}

/// What is told may close or destroy this source, or open it anew.
void QtAudioInput::Give() {
  const auto give = on_samples;
  std::vector<std::int16_t> samples;
  samples.swap(waiting_);
  const QPointer<QtAudioInput> here(this);
  const std::size_t chunk = chunk_;
  const unsigned round = round_;
  for (std::size_t at = 0; at < samples.size(); at += chunk) {
    if (give) give(std::span(samples).subspan(at, std::min(chunk, samples.size() - at)));
    if (here == nullptr || round_ != round) return;
  }
}

void QtAudioInput::Lose(const std::string& why) {
  if (!is_open()) return;
  Close();
  const auto tell = on_lost;
  if (tell) tell(why);
}

QtAudioDevices::QtAudioDevices() {
  look_.setInterval(kLookAgain);
  QObject::connect(&look_, &QTimer::timeout, &look_, [this] {
    if (may_ask && !may_ask()) return;
    const std::vector<AudioDevice> before = std::exchange(told_, Ask());
    if (told_ != before && on_changed) on_changed();
  });
}

std::vector<AudioDevice> QtAudioDevices::Devices() const {
  look_.start();
  told_ = Ask();
  return told_;
}

std::vector<AudioDevice> QtAudioDevices::Ask() const {
  std::vector<AudioDevice> devices{{"", kDefaultName, false}};
  if (!MayAskSystem()) return devices;
  for (const QAudioDevice& device : QMediaDevices::audioInputs()) {
    const std::string id = device.id().toStdString();
    const std::string name = device.description().toStdString();
    devices.push_back({id, name, ContainsNoCase(id, ".monitor") || ContainsNoCase(name, "monitor of")});
  }
  return devices;
}

}  // namespace kvx::platform
