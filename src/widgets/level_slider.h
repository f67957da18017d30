#pragma once

#include <QSlider>

#include "widgets/appearance.h"

namespace kvx::widgets {

/// A vertical slider with the accent below its handle. Dragging the handle moves it; a click beside it goes by a page;
/// a notch of the wheel by one step, or by a page with Shift or Ctrl.
class LevelSlider final : public QSlider {
  Q_OBJECT

 public:
  explicit LevelSlider(const Appearance& appearance, QWidget* parent = nullptr);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  QSizeF handle_size() const;
  QRectF handle() const;
  /// The part of the height along which the handle's middle moves.
  double travel() const;

  const Appearance& appearance_;
  double grip_ = 0;  ///< where on the handle it was taken
  int wheel_ = 0;    ///< of a notch, carried to the next event
};

}  // namespace kvx::widgets
