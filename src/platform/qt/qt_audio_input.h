#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>
#include <optional>
#include <vector>

#include "platform/audio_input.h"
#include "platform/resampler.h"

QT_BEGIN_NAMESPACE
class QAudioDevice;
class QAudioFormat;
class QAudioSource;
QT_END_NAMESPACE

namespace kvx::platform {

/// A capture device of the system through Qt. Where the device does not give mono samples of 16 bits at the rate that
/// is wanted, they are made of what it gives.
class QtAudioInput final : public QObject, public AudioInput {
 public:
  /// `device`: an id or a name of the list.
  explicit QtAudioInput(std::string device);
  ~QtAudioInput() override;

  Status Open(int samples_per_second) override;
  void Close() override;
  bool is_open() const override { return source_ != nullptr; }

 private:
  QAudioDevice FindDevice() const;
  void Take();
  void Convert(const char* bytes, std::size_t frames);
  void Give();
  void CheckPresence();
  void Lose(const std::string& why);

  std::string device_;
  QByteArray opened_id_;
  std::unique_ptr<QAudioFormat> format_;  ///< what the device gives
  std::unique_ptr<QAudioSource> source_;  ///< null: closed
  QPointer<QIODevice> stream_;            ///< the source's, which deletes it
  std::optional<Resampler> resampler_;
  QTimer look_;  ///< whether the device is still there
  QByteArray bytes_;
  std::vector<float> samples_;
  std::vector<float> resampled_;
  std::vector<std::int16_t> waiting_;
  std::size_t chunk_ = 0;
  unsigned round_ = 0;  ///< counts what has been closed
};

/// The capture devices that Qt finds. The system is first asked when somebody wants to know.
class QtAudioDevices final : public AudioDeviceList {
 public:
  QtAudioDevices();
  std::vector<AudioDevice> Devices() const override;

  std::function<bool()> may_ask;  ///< before the system is looked at again, which may wait for a sound server

 private:
  std::vector<AudioDevice> Ask() const;

  mutable std::vector<AudioDevice> told_;
  mutable QTimer look_;
};

}  // namespace kvx::platform
