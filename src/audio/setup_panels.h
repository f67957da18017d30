#pragma once

#include <QFrame>

#include "audio/control_set.h"

namespace kvx::audio {

// The panels of the audio window's setup area.

/// The scales, and the waterfall's colours.
class DisplayPanel final : public QFrame {
  Q_OBJECT

 public:
  explicit DisplayPanel(ControlSet& controls, QWidget* parent = nullptr);
};

/// Brightness, pace and manner of what is drawn.
class DrawingPanel final : public QFrame {
  Q_OBJECT

 public:
  explicit DrawingPanel(ControlSet& controls, QWidget* parent = nullptr);
};

/// How the first trace is kept, and the second one.
class TracePanel final : public QFrame {
  Q_OBJECT

 public:
  explicit TracePanel(ControlSet& controls, QWidget* parent = nullptr);
};

/// Where the decoder listens, and how it reads.
class DecoderPanel final : public QFrame {
  Q_OBJECT

 public:
  explicit DecoderPanel(ControlSet& controls, QWidget* parent = nullptr);
};

}  // namespace kvx::audio
