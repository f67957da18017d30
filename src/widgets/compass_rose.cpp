#include "widgets/compass_rose.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "widgets/accessible_number.h"
#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

// In the size of usual text.
constexpr double kUsualEms = 24;
constexpr double kSmallestEms = 12;
constexpr double kLabelEms = 1.7;  // the ring of the degrees
constexpr double kLaneEms = 1.6;
constexpr double kHubEms = 2.6;
constexpr double kSmallText = 0.86;
constexpr double kLargeText = 1.5;
constexpr double kLaneFill = 0.8;   // of a lane
constexpr double kTick = 0.04;      // of the radius
constexpr double kHeadShare = 0.1;  // the needle's head, of its radius
constexpr double kTint = 0.35;
constexpr double kReadable = 4.5;
constexpr int kTickDegrees = 10;
constexpr int kLabelDegrees = 30;
constexpr int kFarthest = 359;

struct KeyRow {
  int key;
  int degrees;
};
constexpr std::array kKeys{
    KeyRow{Qt::Key_Left, -1}, KeyRow{Qt::Key_Down, -1},      KeyRow{Qt::Key_Right, 1},
    KeyRow{Qt::Key_Up, 1},    KeyRow{Qt::Key_PageDown, -10}, KeyRow{Qt::Key_PageUp, 10},
};

QColor ArcColor(const Theme& theme, std::size_t index) {
  const std::array colors{theme.blue, theme.green, theme.amber, Mixed(theme.blue, theme.red, 0.5)};
  return colors[index % colors.size()];
}

/// As much colour as the text on it bears.
QColor ArcGround(const Theme& theme, const QColor& color) {
  for (double tint = kTint; tint > 0; tint -= 0.02) {
    const QColor ground = Mixed(theme.panel, color, tint);
    if (Contrast(theme.ink, ground) >= kReadable) return ground;
  }
  return theme.panel;
}

QPointF At(double bearing, double radius) {
  const RosePoint point = RoseAt(bearing, radius);
  return {point.x, point.y};
}

void DrawCentred(QPainter& painter, QPointF middle, const QString& text) {
  constexpr double kRoom = 1000;
  painter.drawText(QRectF(middle - QPointF(kRoom, kRoom), middle + QPointF(kRoom, kRoom)), Qt::AlignCenter, text);
}

QString CompassLabel(int degrees) {
  constexpr std::array kPoints{"N", "E", "S", "W"};
  return degrees % 90 == 0 ? QString(kPoints[static_cast<std::size_t>(degrees / 90)]) : QString::number(degrees);
}

}  // namespace

/// The rose's measures in the room that it has, around its centre.
struct CompassRose::Face {
  double outer;  ///< of the focus ring
  double rim;    ///< of the ticks
  double lane;   ///< width of one
  double hub;
  QFont small;
};

CompassRose::CompassRose(const Appearance& appearance, QWidget* parent)
    : QWidget(parent), appearance_(appearance), accessible_(MakeAccessible()) {
  setFocusPolicy(Qt::StrongFocus);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  setCursor(Qt::CrossCursor);
  setAccessibleName(tr("Compass rose"));
  setToolTip(
      tr("Click: go to that bearing; hold the button to see it first, Esc gives it up\n"
         "Left / Right: one degree, Page Down / Page Up: ten, Home: north; Enter goes there"));
  connect(&appearance, &Appearance::Changed, this, qOverload<>(&QWidget::update));
}

AccessibleNumber* CompassRose::MakeAccessible() {
  return new AccessibleNumber(*this, {.role = QAccessible::Dial,
                                      .minimum = 0,
                                      .maximum = kFarthest,
                                      .value = [this] { return wanted_.value_or(bearing_.value_or(0)); },
                                      .text = [this] { return Description(); },
                                      .on_set = [this](double bearing) { Want(TurnedBearing(bearing, 0)); },
                                      .on_step = [this](int steps) { TurnBy(steps); }});
}

void CompassRose::SetAntennas(std::vector<Antenna> antennas) {
  if (antennas == antennas_) return;
  antennas_ = std::move(antennas);
  std::vector<BearingRange> ranges;
  for (const Antenna& antenna : antennas_) ranges.push_back(antenna.range);
  arcs_ = PlaceArcs(ranges);
  update();
}

void CompassRose::SetBearing(std::optional<double> bearing) {
  if (bearing == bearing_) return;
  bearing_ = bearing;
  accessible_->Announce();
  update();
}

void CompassRose::SetWanted(std::optional<double> bearing) {
  if (bearing == wanted_) return;
  wanted_ = bearing;
  accessible_->Announce();
  update();
}

void CompassRose::Want(std::optional<double> bearing) {
  SetWanted(bearing);
  if (on_wanted) on_wanted(bearing);
}

void CompassRose::Ask() {
  if (wanted_ && on_ask) on_ask(TurnedBearing(*wanted_, 0));
}

void CompassRose::TurnBy(int degrees) {
  Want(TurnedBearing(wanted_.value_or(bearing_.value_or(0)), degrees));
}

/// What a screen reader reads: "90 degrees, not sent, antenna Two; last bearing 45 degrees, antenna One".
QString CompassRose::Description() const {
  const auto told = [this](double bearing) {
    QStringList parts{tr("%1 degrees").arg(bearing)};
    for (const Antenna& antenna : antennas_) {
      if (antenna.range.Holds(bearing)) parts << tr("antenna %1").arg(antenna.name);
    }
    return parts.join(", ");
  };
  const QString last = bearing_ ? tr("last bearing %1").arg(told(*bearing_)) : tr("no bearing yet");
  return wanted_ ? tr("%1, not sent; %2").arg(told(*wanted_), last) : last;
}

QSize CompassRose::sizeHint() const {
  return (QSizeF(kUsualEms, kUsualEms) * Em(*this)).toSize();
}

QSize CompassRose::minimumSizeHint() const {
  return (QSizeF(kSmallestEms, kSmallestEms) * Em(*this)).toSize();
}

void CompassRose::DragTo(QPointF point) {
  const QPointF place = point - QRectF(rect()).center();
  if (std::hypot(place.x(), place.y()) >= face().hub) Want(BearingOf({place.x(), place.y()}));
}

void CompassRose::GiveUp() {
  if (!std::exchange(dragging_, false)) return;
  Want(before_drag_);
}

void CompassRose::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return GiveUp();
  const QPointF place = event->position() - QRectF(rect()).center();
  const double distance = std::hypot(place.x(), place.y());
  if (distance < face().hub || distance > face().outer) return;
  before_drag_ = wanted_;
  dragging_ = true;
  DragTo(event->position());
}

void CompassRose::mouseMoveEvent(QMouseEvent* event) {
  if (!dragging_) return;
  if (!(event->buttons() & Qt::LeftButton)) return GiveUp();
  DragTo(event->position());
}

void CompassRose::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && std::exchange(dragging_, false)) Ask();
}

void CompassRose::keyPressEvent(QKeyEvent* event) {
  const auto row = std::find_if(kKeys.begin(), kKeys.end(), [&](const KeyRow& r) { return r.key == event->key(); });
  if (event->modifiers() & ~Qt::KeypadModifier) return QWidget::keyPressEvent(event);
  if (row != kKeys.end()) return TurnBy(row->degrees);
  if (event->key() == Qt::Key_Home) return Want(0);
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    if (!event->isAutoRepeat()) Ask();
    return;
  }
  if (event->key() != Qt::Key_Escape) return QWidget::keyPressEvent(event);
  return dragging_ ? GiveUp() : Want(std::nullopt);
}

bool CompassRose::event(QEvent* event) {
  if (event->type() == QEvent::UngrabMouse) GiveUp();
  return QWidget::event(event);
}

void CompassRose::focusOutEvent(QFocusEvent* event) {
  GiveUp();
  update();
  QWidget::focusOutEvent(event);
}

void CompassRose::hideEvent(QHideEvent* event) {
  GiveUp();
  QWidget::hideEvent(event);
}

void CompassRose::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) updateGeometry();
  if (event->type() == QEvent::EnabledChange && !isEnabled()) GiveUp();
  QWidget::changeEvent(event);
}

CompassRose::Face CompassRose::face() const {
  const double em = Em(*this);
  const double outer = std::min(width(), height()) / 2.0 - 1;
  Face face{.outer = outer, .rim = outer - kLabelEms * em, .lane = 0, .hub = 0, .small = ScaledFont(*this, kSmallText)};
  face.hub = std::min(kHubEms * em, face.rim / 3);
  int lanes = 1;
  for (const auto& arc : arcs_) lanes = std::max(lanes, arc ? arc->lane + 1 : 1);
  face.lane = std::min(kLaneEms * em, (face.rim * (1 - kTick) - face.hub) / lanes);
  return face;
}

void CompassRose::paintEvent(QPaintEvent*) {
  const Theme& theme = appearance_.theme();
  const Face face = this->face();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(QRectF(rect()).center());
  painter.setFont(face.small);
  PaintFace(painter, face);
  for (std::size_t i = 0; i < arcs_.size(); ++i) PaintArc(painter, face, i);
  const double thick = std::max(2.0, face.rim / 40);
  if (bearing_) PaintNeedle(painter, face, *bearing_, QPen(theme.accent, thick, Qt::SolidLine, Qt::FlatCap));
  if (wanted_ && wanted_ != bearing_)
    PaintNeedle(painter, face, *wanted_, QPen(theme.ink, thick * 0.7, Qt::DashLine, Qt::FlatCap));
  PaintNumber(painter, face);
}

void CompassRose::PaintFace(QPainter& painter, const Face& face) const {
  const Theme& theme = appearance_.theme();
  painter.setBrush(theme.background);
  painter.setPen(QPen(theme.edge, theme.edge_width));
  painter.drawEllipse(QPointF(), face.rim, face.rim);
  for (int degrees = 0; degrees < 360; degrees += kTickDegrees) {
    const bool major = degrees % kLabelDegrees == 0;
    painter.setPen(QPen(theme.quiet_ink, major ? 2 : 1));
    painter.drawLine(At(degrees, face.rim * (1 - kTick)), At(degrees, face.rim));
    if (!major) continue;
    painter.setPen(degrees % 90 == 0 ? theme.ink : theme.quiet_ink);
    DrawCentred(painter, At(degrees, (face.rim + face.outer) / 2), CompassLabel(degrees));
  }
  if (!hasFocus()) return;
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(theme.focus, 2));
  painter.drawEllipse(QPointF(), face.outer, face.outer);
}

void CompassRose::PaintArc(QPainter& painter, const Face& face, std::size_t index) const {
  if (!arcs_[index]) return;
  const Theme& theme = appearance_.theme();
  const RoseArc& arc = *arcs_[index];
  const Antenna& antenna = antennas_[index];
  const double radius = face.rim * (1 - kTick) - (arc.lane + 0.5) * face.lane;
  const double half = face.lane * kLaneFill / 2;
  const auto circle = [](double r) { return QRectF(-r, -r, 2 * r, 2 * r); };
  QPainterPath path;  // Qt counts angles against the clock, from the right
  path.arcMoveTo(circle(radius + half), 90 - arc.from);
  path.arcTo(circle(radius + half), 90 - arc.from, -arc.span);
  path.arcTo(circle(radius - half), 90 - arc.from - arc.span, arc.span);
  path.closeSubpath();
  const QColor color = ArcColor(theme, index);
  painter.setPen(QPen(color, antenna.lit ? 2 : theme.edge_width));
  painter.setBrush(antenna.lit ? color : ArcGround(theme, color));
  painter.drawPath(path);
  const QFontMetricsF metrics(face.small);
  const double length = arc.span / 180 * M_PI * radius;
  if (2 * half < metrics.ascent() || length < 1.5 * metrics.horizontalAdvance(antenna.name)) return;
  const bool on_color = antenna.lit && Contrast(theme.panel, color) > Contrast(theme.ink, color);
  painter.setPen(on_color ? theme.panel : theme.ink);
  const double middle = arc.from + arc.span / 2;
  const bool lower = middle > 90 && middle < 270;  // along the arc, and never upside down
  painter.save();
  painter.translate(At(middle, radius));
  painter.rotate(lower ? middle - 180 : middle);
  DrawCentred(painter, {}, antenna.name);
  painter.restore();
}

void CompassRose::PaintNeedle(QPainter& painter, const Face& face, double bearing, const QPen& pen) const {
  const double tip = face.rim * (1 - kTick / 2);
  painter.setPen(pen);
  painter.drawLine(At(bearing, face.hub), At(bearing, tip * (1 - kHeadShare / 2)));
  painter.setPen(Qt::NoPen);
  painter.setBrush(pen.color());
  constexpr double kHeadDegrees = 3.5;
  const double foot = tip * (1 - kHeadShare);
  painter.drawPolygon(QPolygonF{At(bearing, tip), At(bearing - kHeadDegrees, foot), At(bearing + kHeadDegrees, foot)});
}

/// The dashed needle's bearing while there is one, else the last.
void CompassRose::PaintNumber(QPainter& painter, const Face& face) const {
  const Theme& theme = appearance_.theme();
  painter.setBrush(theme.panel);
  painter.setPen(QPen(theme.edge, theme.edge_width));
  painter.drawEllipse(QPointF(), face.hub, face.hub);
  const auto shown = wanted_ ? wanted_ : bearing_;
  QFont font = ScaledFont(*this, kLargeText);
  font.setPixelSize(std::min(font.pixelSize(), std::max(6, static_cast<int>(face.hub * 0.8))));
  painter.setFont(font);
  painter.setPen(wanted_ && wanted_ != bearing_ ? theme.ink : theme.accent);
  DrawCentred(painter, {}, shown ? QString("%1°").arg(static_cast<int>(*shown), 3, 10, QChar('0')) : tr("–"));
}

}  // namespace kvx::widgets
