#pragma once

#include <QIODevice>
#include <QTimer>
#include <memory>

#include "platform/sound_output.h"
#include "platform/sound_queue.h"

QT_BEGIN_NAMESPACE
class QAudioSink;
QT_END_NAMESPACE

namespace kvx::platform {

/// What waits to be heard, as the system's sound service takes it: silence where nothing waits, so that the stream goes
/// on and the next sound begins at once.
class SoundStream final : public QIODevice {
 public:
  explicit SoundStream(SoundQueue& queue) : queue_(queue) {}
  bool isSequential() const override { return true; }
  qint64 bytesAvailable() const override;

 protected:
  qint64 readData(char* bytes, qint64 limit) override;
  qint64 writeData(const char*, qint64) override { return -1; }

 private:
  SoundQueue& queue_;
};

/// The system's usual sound output through Qt. The stream rests while nothing has been played for some seconds.
class QtSoundOutput final : public QObject, public SoundOutput {
 public:
  QtSoundOutput();
  ~QtSoundOutput() override;

  Status Open(int samples_per_second) override;
  void Close() override;
  bool is_open() const override { return open_; }
  void Play(std::span<const std::int16_t> samples) override;
  void Stop() override;
  Duration remaining() const override;

 private:
  Status StartStream();
  void StopStream();
  void Lose();

  SoundQueue queue_;
  SoundStream stream_{queue_};
  QTimer rest_;
  std::unique_ptr<QAudioSink> sink_;  ///< null while the stream rests
  int rate_ = 0;
  bool open_ = false;
};

}  // namespace kvx::platform
