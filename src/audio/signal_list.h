#pragma once

#include <QFrame>
#include <functional>
#include <vector>

#include "audio/heard_signal.h"
#include "widgets/appearance.h"

QT_BEGIN_NAMESPACE
class QLabel;
class QListWidget;
QT_END_NAMESPACE

namespace kvx::audio {

/// The colour that a signal has in the list and above the spectrum.
QColor SignalColor(const widgets::Theme& theme, int number);
/// The callsign by which a signal is known; empty as long as none has been read.
QString CallsignOf(const HeardSignal& signal);

/// The signals that are read at the same time, by tone: speed, callsign and the end of the text. One that is chosen, by
/// a click or with Enter, is where the decoder is wanted.
class SignalList final : public QFrame {
  Q_OBJECT

 public:
  explicit SignalList(const widgets::Appearance& appearance, QWidget* parent = nullptr);

  void Show(std::vector<HeardSignal> heard);
  QListWidget* list() const { return list_; }

  std::function<void(double hertz)> on_chosen;

 private:
  QLabel* none_;
  QListWidget* list_;
};

}  // namespace kvx::audio
