#include "widgets/meter_dial.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>

#include "widgets/accessible_number.h"
#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

using std::chrono_literals::operator""ms;

constexpr auto kFrame = 35ms;

constexpr double kHalfAngle = 52;  // degrees to each side of upright
constexpr double kLabelSize = 0.86;
constexpr double kMeterRadius = 0.8;  // of the scale's
constexpr double kNeedleFoot = 0.64;
constexpr double kInnerEnd = 0.46;  // how high above the centre the ends of the meter's scale stand, and a little less
constexpr double kUsualWidth = 24;  // in the size of the text
constexpr double kUsualHeight = 11.5;
constexpr double kSmallestWidth = 11;
constexpr double kSmallestHeight = 6;

double RadiansOf(double sweep) {
  return (2 * sweep - 1) * kHalfAngle * std::numbers::pi / 180;
}

/// The part of an arc from one share of the sweep to another.
QPainterPath Arc(QPointF centre, double radius, double from, double to) {
  const QRectF circle(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius);
  const auto degrees = [](double sweep) { return 90 - (2 * sweep - 1) * kHalfAngle; };
  QPainterPath path;
  path.arcMoveTo(circle, degrees(from));
  path.arcTo(circle, degrees(from), degrees(to) - degrees(from));
  return path;
}

/// How high above the centre a text of that width may begin, clear of the needle's foot and of the meter's scale.
double TextTop(double radius, double half_width) {
  const double foot = radius * kNeedleFoot;
  const bool between = half_width < foot * std::sin(RadiansOf(1));
  return between ? std::sqrt(foot * foot - half_width * half_width) : radius * kInnerEnd * kMeterRadius;
}

}  // namespace

/// The dial's measures in the room that it has.
struct MeterDial::Face {
  double em;
  QFont label_font;
  QPointF centre;  ///< of all arcs, below the visible dial
  double radius;   ///< of the scale
  double text;     ///< the text's upper edge, so far above the centre

  QPointF At(double sweep, double distance) const {
    const double angle = RadiansOf(sweep);
    return centre + QPointF(std::sin(angle), -std::cos(angle)) * distance;
  }
};

MeterDial::MeterDial(const Appearance& appearance, QWidget* parent)
    : QWidget(parent),
      appearance_(appearance),
      accessible_(new AccessibleNumber(*this, {.role = QAccessible::Dial,
                                               .minimum = 0,
                                               .maximum = 100,
                                               .value = [this] { return std::round(100 * needle_.target()); },
                                               .text = [this] { return QString(text_).replace(" · ", ", "); },
                                               .on_set = [](double) {},
                                               .on_step = [](int) {}})) {
  setAccessibleName(tr("S-meter"));
  setToolTip(tr("S-meter, and below it the selected meter in percent of its scale"));
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  frames_.setInterval(kFrame);
  connect(&frames_, &QTimer::timeout, this, [this] {
    needle_.Advance(kFrame);
    meter_.Advance(kFrame);
    if (needle_.settled() && meter_.settled()) frames_.stop();
    update();
  });
  connect(&appearance, &Appearance::Changed, this, qOverload<>(&QWidget::update));
  SetSMeter(0, 0);
}

void MeterDial::SetSMeter(int value, int full_scale) {
  s_text_ = QString::fromStdString(SText(value, full_scale));
  needle_.SetTarget(SSweep(value, full_scale));
  Follow();
}

void MeterDial::SetMeter(const QString& caption, int value, int full_scale) {
  meter_text_ = caption.isEmpty() ? QString() : QString("%1 %2").arg(caption).arg(value);
  meter_.SetTarget(ShareOf(value, full_scale));
  Follow();
}

void MeterDial::SetGliding(bool gliding) {
  glides_ = gliding;
  if (!glides_) Settle();
}

void MeterDial::Follow() {
  const QString text = meter_text_.isEmpty() ? s_text_ : s_text_ + " · " + meter_text_;
  const bool other_text = text != text_;
  text_ = text;
  if (needle_.settled() && meter_.settled()) {
    if (other_text) update();
  } else if (glides_ && isVisible() && style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0) {
    if (!frames_.isActive()) frames_.start();
    if (other_text) update();
  } else {
    Settle();
  }
  if (other_text) accessible_->Announce();
}

void MeterDial::Settle() {
  frames_.stop();
  needle_.Settle();
  meter_.Settle();
  update();
}

void MeterDial::hideEvent(QHideEvent* event) {
  Settle();
  QWidget::hideEvent(event);
}

void MeterDial::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) updateGeometry();
  QWidget::changeEvent(event);
}

QSize MeterDial::sizeHint() const {
  return (QSizeF(kUsualWidth, kUsualHeight) * Em(*this)).toSize();
}

QSize MeterDial::minimumSizeHint() const {
  return (QSizeF(kSmallestWidth, kSmallestHeight) * Em(*this)).toSize();
}

MeterDial::Face MeterDial::face() const {
  Face face{.em = Em(*this), .label_font = ScaledFont(*this, kLabelSize), .centre = {}, .radius = 0, .text = 0};
  const QFontMetricsF labels(face.label_font);
  const QFontMetricsF metrics(font());
  const double above = labels.height() + 0.25 * face.em;
  const double beside = labels.horizontalAdvance("+60") + 0.3 * face.em;
  // Room for the longest text, so that the dial stays as it is while the text changes.
  const double half_text = metrics.horizontalAdvance("S9+60 · COMP 255") / 2;
  const auto below = [&](double radius) { return radius - TextTop(radius, half_text) + metrics.height(); };
  const double deep = 1 - kNeedleFoot * std::cos(RadiansOf(1));
  double fits = 1;
  double too_large = std::max((width() - 2 * beside) / (2 * std::sin(RadiansOf(1))), 1.0);
  for (int i = 0; i < 12; ++i) {
    const double radius = i == 0 ? too_large : (fits + too_large) / 2;
    (above + std::max(deep * radius, below(radius)) <= height() ? fits : too_large) = radius;
  }
  face.radius = fits;
  face.text = TextTop(fits, half_text);
  const double used = above + std::max(deep * fits, below(fits));
  face.centre = QPointF(width() / 2.0, (height() - used) / 2 + above + fits);
  return face;
}

void MeterDial::PaintScale(QPainter& painter, const Face& face) const {
  const Theme& theme = appearance_.theme();
  const double thick = std::max(0.15 * face.em, 1.5);
  const auto pen = [&](double sweep) {
    return QPen(sweep > kNineSweep ? theme.red : theme.ink, thick, Qt::SolidLine, Qt::FlatCap);
  };
  painter.setBrush(Qt::NoBrush);
  painter.setPen(pen(0));
  painter.drawPath(Arc(face.centre, face.radius, 0, kNineSweep));
  painter.setPen(pen(1));
  painter.drawPath(Arc(face.centre, face.radius, kNineSweep, 1));
  painter.setFont(face.label_font);
  const QFontMetricsF metrics(face.label_font);
  for (const MeterMark& mark : SMarks()) {
    painter.setPen(pen(mark.sweep));
    painter.drawLine(face.At(mark.sweep, face.radius), face.At(mark.sweep, face.radius - 0.65 * face.em));
    const QString caption = QString::fromLatin1(mark.caption.data(), static_cast<qsizetype>(mark.caption.size()));
    const double length = metrics.horizontalAdvance(caption);
    // Labels stand on a circle, a little farther out the more they lean, so that wide ones clear the arc.
    const double lean = std::abs(std::sin(RadiansOf(mark.sweep)));
    const QPointF middle = face.At(mark.sweep, face.radius + 0.75 * face.em + lean * length * 0.4);
    painter.drawText(QRectF(middle.x() - length, middle.y() - face.em, 2 * length, 2 * face.em), Qt::AlignCenter,
                     caption);
  }
}

/// The selected meter: a quiet bar along a track of its own.
void MeterDial::PaintMeter(QPainter& painter, const Face& face) const {
  const Theme& theme = appearance_.theme();
  const double thick = std::max(0.22 * face.em, 2.0);
  const double radius = face.radius * kMeterRadius;
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Mixed(theme.panel, theme.quiet_ink, 0.3), thick, Qt::SolidLine, Qt::FlatCap));
  painter.drawPath(Arc(face.centre, radius, 0, 1));
  if (meter_.position() > 0) {
    painter.setPen(QPen(theme.quiet_ink, thick, Qt::SolidLine, Qt::FlatCap));
    painter.drawPath(Arc(face.centre, radius, 0, meter_.position()));
  }
  painter.setPen(QPen(theme.quiet_ink, 1));
  for (const double share : {0.0, 0.25, 0.5, 0.75, 1.0}) {
    painter.drawLine(face.At(share, radius - thick / 2), face.At(share, radius + thick));
  }
}

void MeterDial::PaintNeedle(QPainter& painter, const Face& face) const {
  const double thick = std::max(0.2 * face.em, 2.0);
  painter.setPen(QPen(appearance_.theme().accent, thick, Qt::SolidLine, Qt::RoundCap));
  const double sweep = needle_.position();
  painter.drawLine(face.At(sweep, face.radius * kNeedleFoot), face.At(sweep, face.radius - 0.25 * face.em));
}

void MeterDial::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const Face dial = face();
  PaintMeter(painter, dial);
  PaintScale(painter, dial);
  PaintNeedle(painter, dial);
  painter.setFont(font());
  painter.setPen(appearance_.theme().quiet_ink);
  const double top = dial.centre.y() - dial.text;
  const QFontMetricsF metrics(font());
  painter.drawText(QRectF(0, top, width(), metrics.height()), Qt::AlignCenter,
                   metrics.elidedText(text_, Qt::ElideRight, width()));
}

}  // namespace kvx::widgets
