#pragma once

#include <QWidget>
#include <functional>

#include "widgets/appearance.h"
#include "widgets/knob_motion.h"

namespace kvx::widgets {

class AccessibleNumber;

/// The tuning knob. Dragging left or right with the left button tunes down or up, with the right button at double the
/// rate; so do the wheel, and the keys left / down, right / up, Page Down / Page Up (ten steps).
class TuningKnob final : public QWidget {
  Q_OBJECT

 public:
  explicit TuningKnob(const Appearance& appearance, QWidget* parent = nullptr);

  /// The position read-out in the middle ("5500"); its value also turns the drawn knob.
  void SetReadout(const QString& text);
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

  std::function<void(int steps)> on_turn;  ///< so many steps up, or down when negative

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  AccessibleNumber* MakeAccessible();
  void Turn(int steps);
  void Grip(double x, Qt::MouseButtons buttons);
  void LetGo();
  void PaintRing(QPainter& painter, double radius) const;
  void PaintDimple(QPainter& painter, double radius) const;

  const Appearance& appearance_;
  QString readout_;
  std::int64_t position_ = 0;  // the read-out's number
  KnobMotion motion_;
  NotchCounter notches_;
  AccessibleNumber* accessible_;  // a child
};

}  // namespace kvx::widgets
