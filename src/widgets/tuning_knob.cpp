#include "widgets/tuning_knob.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>

#include "core/text.h"
#include "widgets/accessible_number.h"
#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

// In the size of usual text.
constexpr double kUsualEms = 12;
constexpr double kSmallestEms = 5;
constexpr double kStepEms = 0.3;  // one step of a drag: a hand's width tunes a few hundred hertz to some kilohertz
// In the knob's radius.
constexpr double kFace = 0.83;  // the disc inside the ring
constexpr double kTickFrom = 0.88;
constexpr double kTickTo = 0.95;
constexpr double kDimpleAt = 0.62;
constexpr double kDimple = 0.14;
constexpr int kFewerTicks = 3;  // every third one where the knob is smaller than kFewTicksEms
constexpr double kFewTicksEms = 7;
constexpr double kFocusRing = 2;  // pixels
constexpr int kNotch = 120;
constexpr double kReadoutLimit = 1e6;

struct KeyRow {
  int key;
  int steps;
};

constexpr std::array kKeys{
    KeyRow{Qt::Key_Left, -1}, KeyRow{Qt::Key_Down, -1},      KeyRow{Qt::Key_Right, 1},
    KeyRow{Qt::Key_Up, 1},    KeyRow{Qt::Key_PageDown, -10}, KeyRow{Qt::Key_PageUp, 10},
};

/// 0 for a key that does not tune.
int StepsOf(const QKeyEvent& event) {
  if (event.modifiers() & ~Qt::KeypadModifier) return 0;
  const auto* const row =
      std::find_if(kKeys.begin(), kKeys.end(), [&](const KeyRow& r) { return r.key == event.key(); });
  return row == kKeys.end() ? 0 : row->steps;
}

/// A point of the knob around (0, 0); degrees clockwise from the top.
QPointF Around(double degrees, double radius) {
  const double radians = degrees * M_PI / 180;
  return {radius * std::sin(radians), -radius * std::cos(radians)};
}

}  // namespace

TuningKnob::TuningKnob(const Appearance& appearance, QWidget* parent)
    : QWidget(parent), appearance_(appearance), accessible_(MakeAccessible()) {
  setFocusPolicy(Qt::StrongFocus);
  setContextMenuPolicy(Qt::PreventContextMenu);  // the right button tunes
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  setCursor(Qt::SizeHorCursor);
  setAccessibleName(tr("Tuning knob"));
  setToolTip(
      tr("Hold the left mouse button and move left or right: tune; the right button tunes at double the rate\n"
         "Wheel, Left / Right, Up / Down: one step\nPage Up / Page Down: ten steps"));
  connect(&appearance, &Appearance::Changed, this, qOverload<>(&QWidget::update));
}

AccessibleNumber* TuningKnob::MakeAccessible() {
  return new AccessibleNumber(
      *this, {.role = QAccessible::Dial,
              .minimum = -kReadoutLimit,
              .maximum = kReadoutLimit,
              .value = [this] { return static_cast<double>(position_); },
              .text = [this] { return readout_; },
              .on_set =  // the read-out counts against the frequency
              [this](double wanted) {
                const double bounded = std::clamp(wanted, -kReadoutLimit, kReadoutLimit);
                Turn(static_cast<int>(std::clamp<std::int64_t>(position_ - std::llround(bounded), -1000, 1000)));
              },
              .on_step = [this](int steps) { Turn(steps); }});
}

void TuningKnob::SetReadout(const QString& text) {
  if (text == readout_) return;
  readout_ = text;
  position_ = LeadingNumber(text.toStdString());
  accessible_->Announce();
  update();
}

QSize TuningKnob::sizeHint() const {
  const int side = static_cast<int>(std::ceil(Em(*this) * kUsualEms));
  return {side, side};
}

QSize TuningKnob::minimumSizeHint() const {
  const int side = static_cast<int>(std::ceil(Em(*this) * kSmallestEms));
  return {side, side};
}

void TuningKnob::Turn(int steps) {
  if (steps != 0 && on_turn) on_turn(steps);
}

/// Follows the buttons that are really held: with both, the right one counts; with none the drag is over, however the
/// release got lost.
void TuningKnob::Grip(double x, Qt::MouseButtons buttons) {
  if (!(buttons & (Qt::LeftButton | Qt::RightButton))) return LetGo();
  motion_.Press(x, Em(*this) * kStepEms, buttons & Qt::RightButton);
  update();
}

void TuningKnob::LetGo() {
  motion_.Release();
  update();
}

void TuningKnob::mousePressEvent(QMouseEvent* event) {
  Grip(event->position().x(), event->buttons());
}

void TuningKnob::mouseReleaseEvent(QMouseEvent* event) {
  if (motion_.active()) Grip(event->position().x(), event->buttons());
}

void TuningKnob::mouseMoveEvent(QMouseEvent* event) {
  if (!(event->buttons() & (Qt::LeftButton | Qt::RightButton))) return LetGo();
  Turn(motion_.Move(event->position().x()));
}

void TuningKnob::wheelEvent(QWheelEvent* event) {
  event->accept();
  const int movement = event->angleDelta().isNull()
                           ? event->pixelDelta().y() * kNotch / std::max(fontMetrics().height(), 1)
                           : event->angleDelta().y();
  Turn(notches_.Add(movement));
}

void TuningKnob::keyPressEvent(QKeyEvent* event) {
  const int steps = StepsOf(*event);
  if (steps == 0) return QWidget::keyPressEvent(event);
  Turn(steps);
}

bool TuningKnob::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride && StepsOf(static_cast<QKeyEvent&>(*event)) != 0) {
    event->accept();
    return true;
  }
  if (event->type() == QEvent::UngrabMouse) LetGo();
  return QWidget::event(event);
}

void TuningKnob::focusOutEvent(QFocusEvent* event) {
  LetGo();
  QWidget::focusOutEvent(event);
}

void TuningKnob::leaveEvent(QEvent* event) {
  notches_.Reset();
  LetGo();
  QWidget::leaveEvent(event);
}

void TuningKnob::hideEvent(QHideEvent* event) {
  LetGo();
  QWidget::hideEvent(event);
}

void TuningKnob::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) updateGeometry();
  if (event->type() == QEvent::EnabledChange && !isEnabled()) LetGo();
  QWidget::changeEvent(event);
}

void TuningKnob::paintEvent(QPaintEvent*) {
  const Theme& theme = appearance_.theme();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(QRectF(rect()).center());
  const double room = std::min(width(), height()) / 2.0;
  if (hasFocus()) {
    painter.setPen(QPen(theme.focus, kFocusRing));
    painter.drawEllipse(QPointF(), room - kFocusRing / 2, room - kFocusRing / 2);
  }
  const double radius = room - 2 * kFocusRing;
  PaintRing(painter, radius);
  PaintDimple(painter, radius);
  QFont small = font();
  small.setPixelSize(std::max(6, static_cast<int>(std::min(Em(*this), radius * 0.3))));
  painter.setFont(small);
  painter.setPen(isEnabled() ? theme.quiet_ink : theme.edge);
  painter.drawText(QRectF(-radius, -radius, 2 * radius, 2 * radius), Qt::AlignCenter, readout_);
}

void TuningKnob::PaintRing(QPainter& painter, double radius) const {
  const Theme& theme = appearance_.theme();
  painter.setPen(QPen(theme.edge, theme.edge_width));
  painter.setBrush(theme.button);
  painter.drawEllipse(QPointF(), radius - theme.edge_width / 2.0, radius - theme.edge_width / 2.0);
  painter.setBrush(theme.panel);
  painter.drawEllipse(QPointF(), radius * kFace, radius * kFace);
  painter.setPen(QPen(theme.quiet_ink, std::max(1.0, radius / 80), Qt::SolidLine, Qt::FlatCap));
  const int every = 2 * radius < kFewTicksEms * Em(*this) ? kFewerTicks : 1;
  for (int tick = 0; tick < kKnobSteps; tick += every) {
    const double angle = 360.0 / kKnobSteps * tick;
    painter.drawLine(Around(angle, radius * kTickFrom), Around(angle, radius * kTickTo));
  }
}

/// The finger's dimple points at a tick; both light up while the knob can be turned right away.
void TuningKnob::PaintDimple(QPainter& painter, double radius) const {
  const Theme& theme = appearance_.theme();
  const double angle = AngleOf(position_);
  const bool live = hasFocus() || motion_.active();
  if (live) {
    painter.setPen(QPen(theme.accent, std::max(2.0, radius / 30), Qt::SolidLine, Qt::FlatCap));
    painter.drawLine(Around(angle, radius * kTickFrom), Around(angle, radius * kTickTo));
  }
  painter.setPen(QPen(live ? theme.accent : Mixed(theme.edge, theme.quiet_ink, 0.4), theme.edge_width));
  painter.setBrush(live ? theme.accent : theme.background);
  painter.drawEllipse(Around(angle, radius * kDimpleAt), radius * kDimple, radius * kDimple);
}

}  // namespace kvx::widgets
