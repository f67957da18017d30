#include "widgets/tone_pointer.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>
#include <algorithm>
#include <cmath>

namespace kvx::widgets {
namespace {

constexpr double kReach = 8;  // pixels
constexpr int kNotch = 120;
constexpr int kPageSteps = 10;
constexpr double kZoom = 0.8;    // a notch
constexpr double kMove = 0.125;  // of what is shown, a notch

}  // namespace

TonePointer::TonePointer(QWidget& view) : QObject(&view), view_(view) {
  view.installEventFilter(this);
  view.setFocusPolicy(Qt::StrongFocus);
}

bool TonePointer::eventFilter(QObject*, QEvent* event) {
  if (scale_.empty()) return false;
  switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseMove: {
      const auto* mouse = static_cast<QMouseEvent*>(event);
      const bool pressed = event->type() == QEvent::MouseButtonPress;
      const QPointF at = mouse->position();
      if (pressed) held_ = mouse->button() == Qt::LeftButton && !(is_elsewhere && is_elsewhere(at.x(), at.y()));
      if (!held_ || !(mouse->buttons() & Qt::LeftButton)) return false;
      Point(at.x());
      return true;
    }
    case QEvent::MouseButtonRelease:
    case QEvent::Hide:
      held_ = false;
      return false;
    case QEvent::Wheel:
      Turn(*static_cast<QWheelEvent*>(event));
      event->accept();
      return true;
    case QEvent::KeyPress:
      return Press(static_cast<QKeyEvent*>(event)->key());
    default:
      return false;
  }
}

bool TonePointer::Press(int key) {
  switch (key) {
    case Qt::Key_Left:
      return Step(-1), true;
    case Qt::Key_Right:
      return Step(1), true;
    case Qt::Key_PageDown:
      return Step(-kPageSteps), true;
    case Qt::Key_PageUp:
      return Step(kPageSteps), true;
    case Qt::Key_Home:
      return MoveTo(scale_.from()), true;
    case Qt::Key_End:
      return MoveTo(scale_.to()), true;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
      return Show(scale_.Zoomed(marker_, kZoom, highest_)), true;
    case Qt::Key_Minus:
      return Show(scale_.Zoomed(marker_, 1 / kZoom, highest_)), true;
    default:
      return false;
  }
}

void TonePointer::Turn(const QWheelEvent& event) {
  const QPoint delta = event.angleDelta();
  wheel_ += delta.y() != 0 ? delta.y() : delta.x();
  const int notches = wheel_ / kNotch;
  wheel_ -= notches * kNotch;
  if (notches == 0) return;
  const bool sideways = event.modifiers() & Qt::ShiftModifier || delta.y() == 0;
  if (sideways) return Show(scale_.Moved(-notches * kMove * (scale_.to() - scale_.from()), highest_));
  Show(scale_.Zoomed(scale_.HertzAt(event.position().x()), std::pow(kZoom, notches), highest_));
}

void TonePointer::Point(double x) {
  if (on_point) on_point(scale_.HertzAt(x), kReach * scale_.hertz_per_pixel());
}

/// To the next multiple of the step, so that round tones are met.
void TonePointer::Step(int steps) {
  const double step = scale_.KeyStep();
  const double base = steps > 0 ? std::floor(marker_ / step) : std::ceil(marker_ / step);
  MoveTo((base + steps) * step);
}

/// Shows it at once, so that held keys add up.
void TonePointer::MoveTo(double hertz) {
  marker_ = std::clamp(hertz, 0.0, highest_);
  view_.update();
  if (on_move) on_move(marker_);
}

void TonePointer::Show(const ToneScale& scale) {
  if (on_range) on_range(scale.from(), scale.to());
}

}  // namespace kvx::widgets
