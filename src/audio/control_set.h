#pragma once

#include <QKeySequence>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

#include "audio/audio_analysis.h"

QT_BEGIN_NAMESPACE
class QAbstractButton;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;
class QWidget;
QT_END_NAMESPACE

namespace kvx::audio {

/// The window's controls of the audio analysis: each has the control's name as its object name, hands what the operator
/// does to the analysis, and shows what the analysis has.
class ControlSet final {
 public:
  explicit ControlSet(AudioAnalysis& audio) : audio_(audio) {}

  /// A button with the caption that the control has at the time; lit while `is_on`.
  QPushButton* Button(const char* name, const QString& tip, bool SpectrumSettings::*is_on = nullptr);
  /// One of the three trace modes.
  QPushButton* Option(const char* name, TraceMode mode, const QString& text, const QString& tip);
  QCheckBox* Box(const char* name, const QString& text, const QString& tip);
  QSlider* Slider(const char* name, const QString& title, const QString& tip);
  /// What a slider is set to: the control's own caption, or `text` with its value.
  QLabel* Value(const char* name, const QString& text = {});
  QComboBox* List(const char* name, const QString& title, const QString& tip, const QStringList& values);
  QLineEdit* Line(const char* name, const QString& title, const QString& tip);

  /// Shows every control as it is.
  void Refresh() const;
  AudioAnalysis& audio() const { return audio_; }

  std::function<void(const Status& status)> on_entered;  ///< what came of it

 private:
  QString ValueOf(const char* name) const;
  void Enter(const char* name, const QString& value) const;

  AudioAnalysis& audio_;
  std::vector<std::function<void()>> refreshed_;
};

/// Presses a button with these keys from anywhere in the window.
void AddKeys(QWidget* window, QAbstractButton* button, const QKeySequence& keys);

}  // namespace kvx::audio
