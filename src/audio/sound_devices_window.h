#pragma once

#include <QDialog>

#include "audio/audio_analysis.h"

QT_BEGIN_NAMESPACE
class QLabel;
class QListWidget;
QT_END_NAMESPACE

namespace kvx::audio {

/// Asks for a WAV file and makes it the source.
void AskForWavFile(AudioAnalysis& audio, QWidget* parent);

/// Where the sound comes from: the system's capture devices by name, a WAV file, or the simulated receiver.
class SoundDevices final : public QDialog {
  Q_OBJECT

 public:
  explicit SoundDevices(AudioAnalysis& audio, QWidget* parent = nullptr);

 private:
  void Show();
  void Use(const std::string& source);

  AudioAnalysis& audio_;
  QListWidget* list_;
  QLabel* state_;
  Listeners::Following following_;
};

}  // namespace kvx::audio
