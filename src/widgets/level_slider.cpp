#include "widgets/level_slider.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

constexpr int kNotch = 120;
constexpr double kRingRoom = 4;  // pixels around the handle for the focus ring

}  // namespace

LevelSlider::LevelSlider(const Appearance& appearance, QWidget* parent)
    : QSlider(Qt::Vertical, parent), appearance_(appearance) {
  setFocusPolicy(Qt::StrongFocus);
  connect(&appearance, &Appearance::Changed, this, [this] {
    updateGeometry();
    update();
  });
}

QSizeF LevelSlider::handle_size() const {
  const double em = Em(*this);
  return {std::round(1.4 * em), std::round(0.9 * em)};
}

double LevelSlider::travel() const {
  return std::max(height() - handle_size().height() - 2 * kRingRoom, 1.0);
}

QRectF LevelSlider::handle() const {
  const QSizeF size = handle_size();
  const double span = std::max(maximum() - minimum(), 1);
  const double share = (sliderPosition() - minimum()) / span;
  const double top = kRingRoom + (1 - share) * travel();
  return {QPointF((width() - size.width()) / 2, std::round(top)), size};
}

QSize LevelSlider::sizeHint() const {
  const QSizeF size = handle_size();
  return QSizeF(size.width() + 2 * kRingRoom, size.height() * 12).toSize();
}

QSize LevelSlider::minimumSizeHint() const {
  const QSizeF size = handle_size();
  return QSizeF(size.width() + 2 * kRingRoom, size.height() * 4).toSize();
}

void LevelSlider::paintEvent(QPaintEvent*) {
  const Theme& theme = appearance_.theme();
  const double thick = std::max(std::round(0.4 * Em(*this)), 3.0);
  const QRectF knob = handle();
  const QRectF track((width() - thick) / 2, kRingRoom, thick, height() - 2 * kRingRoom);
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(isEnabled() ? Groove(theme) : Mixed(theme.panel, theme.quiet_ink, 0.1));
  painter.drawRoundedRect(track, thick / 2, thick / 2);
  if (isEnabled()) {
    painter.setBrush(theme.accent);
    painter.drawRoundedRect(QRectF(track.left(), knob.center().y(), thick, track.bottom() - knob.center().y()),
                            thick / 2, thick / 2);
  }
  painter.setBrush(isEnabled() ? theme.ink : Mixed(theme.panel, theme.quiet_ink, 0.4));
  painter.drawRoundedRect(knob, 3, 3);
  if (hasFocus()) {
    PaintFocusRing(painter, theme, knob.adjusted(-kRingRoom, -kRingRoom, kRingRoom, kRingRoom), 3 + kRingRoom / 2);
  }
}

void LevelSlider::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  const QRectF knob = handle();
  const double y = event->position().y();
  if (y < knob.top()) {
    triggerAction(SliderPageStepAdd);
  } else if (y > knob.bottom()) {
    triggerAction(SliderPageStepSub);
  } else {
    grip_ = y - knob.top();
    setSliderDown(true);
  }
}

void LevelSlider::mouseMoveEvent(QMouseEvent* event) {
  if (!isSliderDown()) return;
  const double share = 1 - (event->position().y() - grip_ - kRingRoom) / travel();
  const double position = minimum() + std::clamp(share, 0.0, 1.0) * (maximum() - minimum());
  setSliderPosition(static_cast<int>(std::lround(position)));
}

void LevelSlider::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) setSliderDown(false);
}

void LevelSlider::wheelEvent(QWheelEvent* event) {
  const QPoint delta = event->angleDelta();
  // With Shift or Alt some systems turn the wheel sideways.
  const int turned = delta.y() != 0 ? delta.y() : delta.x();
  if ((turned < 0) != (wheel_ < 0)) wheel_ = 0;
  wheel_ += turned;
  const int notches = wheel_ / kNotch;
  wheel_ -= notches * kNotch;
  const bool pages = event->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier);
  if (notches != 0) setValue(value() + notches * (pages ? pageStep() : singleStep()));
  event->accept();
}

void LevelSlider::hideEvent(QHideEvent* event) {
  setSliderDown(false);
  QSlider::hideEvent(event);
}

}  // namespace kvx::widgets
