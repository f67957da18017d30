#pragma once

#include <QObject>
#include <functional>

#include "widgets/tone_scale.h"

class QEvent;
class QKeyEvent;
class QWheelEvent;
class QWidget;

namespace kvx::widgets {

/// The operator's hand in a display of tones: a click or a drag points at one, the wheel zooms around the pointer, with
/// Shift it moves what is shown; Left, Right, Page Up, Page Down, Home and End move the marker, + and - zoom. A child
/// of the display, whose events it takes.
class TonePointer final : public QObject {
  Q_OBJECT

 public:
  explicit TonePointer(QWidget& view);

  void SetScale(const ToneScale& scale) { scale_ = scale; }
  const ToneScale& scale() const { return scale_; }
  void SetMarker(double hertz) { marker_ = hertz; }
  double marker() const { return marker_; }
  /// The highest frequency that there is to be seen.
  void SetHighest(double hertz) { highest_ = hertz; }
  void Step(int steps);

  std::function<bool(double x, double y)> is_elsewhere;      ///< this place of the display is for something else
  std::function<void(double hertz, double reach)> on_point;  ///< with the mouse, so many hertz exact
  std::function<void(double hertz)> on_move;                 ///< with the keys
  std::function<void(double from, double to)> on_range;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool Press(int key);
  void Turn(const QWheelEvent& event);
  void Point(double x);
  void MoveTo(double hertz);
  void Show(const ToneScale& scale);

  QWidget& view_;
  ToneScale scale_;
  double marker_ = 0;
  double highest_ = 24000;
  bool held_ = false;
  int wheel_ = 0;  ///< eighths of a degree that are not yet a notch
};

}  // namespace kvx::widgets
