#include "widgets/band_chart.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>
#include <cmath>

#include "widgets/accessible_number.h"
#include "widgets/painting.h"

namespace kvx::widgets {
namespace {

constexpr double kRadius = 8;
constexpr double kSmallText = 0.82;
constexpr double kTint = 0.18;
constexpr double kReadable = 4.5;
constexpr double kRing = 2;  // pixels at the edge that are the frame's and the focus ring's
constexpr int kPageSteps = 10;
constexpr int kLeastLetters = 4;  // an elided text with fewer tells nothing
constexpr double kUsualWidth = 48;
constexpr double kUsualHeight = 5.6;
constexpr double kSmallestWidth = 12;
constexpr double kSmallestHeight = 4.2;
constexpr double kHighestKhz = 1e9;

/// "CW,RTTY,Data" as "CW · RTTY · Data".
QString Spaced(QString text) {
  return text.replace(',', " · ").simplified();
}

/// The text, or as much of it as tells something; empty where that has no room.
QString Fitted(const QString& text, const QFontMetricsF& metrics, double room) {
  if (metrics.horizontalAdvance(text) <= room) return text;
  const QString elided = metrics.elidedText(text, Qt::ElideRight, room);
  return elided.size() > kLeastLetters ? elided : QString();
}

ChartSegment CutTo(ChartSegment segment, Frequency from, Frequency to) {
  segment.from = std::max(segment.from, from);
  segment.to = std::min(segment.to, to);
  segment.text = Spaced(segment.text);
  return segment;
}

bool Continues(const ChartSegment& first, const ChartSegment& second) {
  return first.to == second.from && first.color == second.color && first.text == second.text;
}

}  // namespace

/// The rows of the chart, from top to bottom.
struct BandChart::Rows {
  QFont small;
  QRectF frame;
  QRectF body;
  QRectF stripe;
  QRectF ticks;
  double mark;  ///< height of a note's mark
};

QColor ChartColor(const Theme& theme, ChartSegment::Color color) {
  switch (color) {
    case ChartSegment::Color::kCw:
      return theme.blue;
    case ChartSegment::Color::kData:
      return theme.green;
    case ChartSegment::Color::kPhone:
      return theme.amber;
    case ChartSegment::Color::kMixed:
      return theme.quiet_ink;
    // Red itself is the cursor's.
    case ChartSegment::Color::kSpecial:
      return Mixed(theme.blue, theme.red, 0.5);
  }
  return theme.quiet_ink;
}

QColor ChartGround(const Theme& theme, ChartSegment::Color color) {
  // As much colour as the text on it bears: grounds chosen by the operator may leave little.
  for (double tint = kTint; tint > 0.01; tint -= 0.02) {
    const QColor ground = Mixed(theme.panel, ChartColor(theme, color), tint);
    if (Contrast(theme.ink, ground) >= kReadable) return ground;
  }
  return theme.panel;
}

BandChart::BandChart(const Appearance& appearance, QWidget* parent)
    : QWidget(parent),
      appearance_(appearance),
      accessible_(
          new AccessibleNumber(*this, {.role = QAccessible::Slider,
                                       .minimum = 0,
                                       .maximum = kHighestKhz,
                                       .smallest_step = 0.01,
                                       .value = [this] { return static_cast<double>(cursor_.tens_of_hz()) / 100; },
                                       .text = [this] { return Description(cursor_, ", "); },
                                       .on_set =
                                           [this](double khz) {
                                             const double bounded = std::clamp(khz, 0.0, kHighestKhz);
                                             Tune(Frequency::FromHz(std::llround(bounded * 100) * 10));
                                           },
                                       .on_step = [this](int steps) { Tune(scale().Stepped(cursor_, steps)); }})) {
  setAccessibleName(tr("Band chart"));
  setAccessibleDescription(
      tr("Left and Right tune, Page Up and Page Down by larger steps, Home and End to the limits"));
  setFocusPolicy(Qt::StrongFocus);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  connect(&appearance, &Appearance::Changed, this, qOverload<>(&QWidget::update));
}

void BandChart::ChartLines(Frequency from, Frequency to, std::vector<ChartSegment> segments) {
  if (from == from_ && to == to_ && segments == told_) return;
  from_ = from;
  to_ = to;
  told_ = std::move(segments);
  segments_.clear();
  notes_.clear();
  for (const ChartSegment& told : told_) {
    ChartSegment cut = CutTo(told, from, to);
    if (cut.from >= cut.to) continue;
    if (cut.note) {
      notes_.push_back(std::move(cut));
    } else if (!segments_.empty() && Continues(segments_.back(), cut)) {
      segments_.back().to = cut.to;
    } else {
      segments_.push_back(std::move(cut));
    }
  }
  std::stable_sort(notes_.begin(), notes_.end(), [](const auto& a, const auto& b) { return a.from < b.from; });
  update();
}

void BandChart::SetCursor(Frequency frequency) {
  if (frequency == cursor_) return;
  cursor_ = frequency;
  accessible_->Announce();
  update();
}

/// Asks for the frequency and shows it until the owner says otherwise, so that held keys add up.
void BandChart::Tune(Frequency frequency) {
  if (scale().empty()) return;
  frequency = std::clamp(frequency, from_, to_);
  if (frequency == cursor_) return;
  SetCursor(frequency);
  if (on_tune) on_tune(frequency);
}

ChartScale BandChart::scale() const {
  return {from_, to_, static_cast<double>(width())};
}

const ChartSegment* BandChart::At(Frequency frequency) const {
  const ChartSegment* found = nullptr;
  for (const auto* list : {&notes_, &segments_}) {
    for (const ChartSegment& segment : *list) {
      if (frequency < segment.from || frequency >= segment.to) continue;
      if (found == nullptr || segment.to - segment.from < found->to - found->from) found = &segment;
    }
  }
  return found;
}

QString BandChart::Description(Frequency frequency, const QString& separator) const {
  const QString khz = tr("%1 kHz").arg(QString::fromStdString(KhzText(frequency)));
  const ChartSegment* segment = At(frequency);
  return segment == nullptr || segment->text.isEmpty() ? khz : khz + separator + segment->text;
}

QSize BandChart::sizeHint() const {
  return (QSizeF(kUsualWidth, kUsualHeight) * Em(*this)).toSize();
}

QSize BandChart::minimumSizeHint() const {
  return (QSizeF(kSmallestWidth, kSmallestHeight) * Em(*this)).toSize();
}

bool BandChart::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* help = static_cast<QHelpEvent*>(event);
  const QString hint = tr("Click or drag to tune; Left / Right, Page Up / Page Down, Home / End");
  const QString text = scale().empty() ? tr("Band chart") : Description(scale().FrequencyAt(help->pos().x()), " · ");
  QToolTip::showText(help->globalPos(), text + "\n" + hint, this);
  return true;
}

void BandChart::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return event->ignore();
  if (scale().empty()) return;
  dragged_to_ = scale().FrequencyAt(event->position().x());
  Tune(*dragged_to_);
}

void BandChart::mouseMoveEvent(QMouseEvent* event) {
  if (!dragged_to_ || !(event->buttons() & Qt::LeftButton)) return;
  const Frequency frequency = scale().FrequencyAt(event->position().x());
  // The rig's answers may move the cursor meanwhile: only a move of the pointer counts.
  if (frequency == *dragged_to_) return;
  dragged_to_ = frequency;
  Tune(frequency);
}

void BandChart::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) dragged_to_.reset();
}

void BandChart::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left:
      return Tune(scale().Stepped(cursor_, -1));
    case Qt::Key_Right:
      return Tune(scale().Stepped(cursor_, 1));
    case Qt::Key_PageDown:
      return Tune(scale().Stepped(cursor_, -kPageSteps));
    case Qt::Key_PageUp:
      return Tune(scale().Stepped(cursor_, kPageSteps));
    case Qt::Key_Home:
      return Tune(from_);
    case Qt::Key_End:
      return Tune(to_);
    default:
      QWidget::keyPressEvent(event);
  }
}

void BandChart::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) updateGeometry();
  QWidget::changeEvent(event);
}

BandChart::Rows BandChart::rows() const {
  const double em = Em(*this);
  Rows rows{.small = ScaledFont(*this, kSmallText), .frame = {}, .body = {}, .stripe = {}, .ticks = {}, .mark = 0};
  const double below = QFontMetricsF(rows.small).height() + 0.5 * em;
  const double stripe = std::max(std::round(0.28 * em), 2.0);
  const double body = std::max(std::round(height() - below - stripe), 1.0);
  rows.frame = QRectF(0, 0, width(), height());
  const double top = appearance_.theme().edge_width;
  rows.body = QRectF(0, top, width(), body - top);
  rows.stripe = QRectF(0, body, width(), stripe);
  rows.ticks = QRectF(0, body + stripe, width(), height() - body - stripe);
  rows.mark = std::max(std::round(0.25 * em), 2.0);
  return rows;
}

void BandChart::PaintSegments(QPainter& painter, const Rows& rows, const ChartScale& scale) const {
  const Theme& theme = appearance_.theme();
  for (const ChartSegment& segment : segments_) {
    const double left = std::round(scale.XOf(segment.from));
    const double right = std::max(std::round(scale.XOf(segment.to)), left + 1);
    painter.fillRect(QRectF(left, rows.body.top(), right - left, rows.body.height()),
                     ChartGround(theme, segment.color));
    painter.fillRect(QRectF(left, rows.stripe.top(), right - left, rows.stripe.height()),
                     ChartColor(theme, segment.color));
    // A fine line, so that neighbours of one colour stay two.
    if (left > 0) painter.fillRect(QRectF(left, 0, 1, rows.stripe.bottom()), theme.panel);
  }
}

void BandChart::PaintTexts(QPainter& painter, const Rows& rows, const ChartScale& scale) const {
  painter.setFont(font());
  painter.setPen(appearance_.theme().ink);
  const QFontMetricsF metrics(font());
  // The notes' texts have a line of their own above.
  const double notes = notes_.empty() ? 0 : rows.mark + QFontMetricsF(rows.small).height();
  const double above = rows.body.height() - notes >= metrics.height() ? notes : rows.mark;
  for (const ChartSegment& segment : segments_) {
    const double left = scale.XOf(segment.from);
    const double room = scale.XOf(segment.to) - left;
    painter.drawText(QRectF(left, rows.body.top() + above, room, rows.body.height() - above), Qt::AlignCenter,
                     Fitted(segment.text, metrics, room - 0.8 * Em(*this)));
  }
}

void BandChart::PaintNotes(QPainter& painter, const Rows& rows, const ChartScale& scale) const {
  const Theme& theme = appearance_.theme();
  const double em = Em(*this);
  const QFontMetricsF metrics(rows.small);
  std::vector<NoteSpan> spans;
  std::vector<QString> texts;
  for (const ChartSegment& note : notes_) {
    const std::string text = note.text.toStdString();
    texts.push_back(QString::fromStdString(std::string(ShortNote(text))));
    const double left = scale.XOf(note.from);
    spans.push_back({left, std::max(scale.XOf(note.to), left + rows.mark), metrics.horizontalAdvance(texts.back())});
  }
  const bool room = rows.body.height() >= rows.mark + metrics.height() + QFontMetricsF(font()).height();
  const auto places = PlaceNotes(spans, scale.width() - 0.3 * em, 0.6 * em);
  painter.setFont(rows.small);
  for (std::size_t i = 0; i < spans.size(); ++i) {
    painter.fillRect(QRectF(spans[i].from, rows.body.top(), spans[i].to - spans[i].from, rows.mark), theme.ink);
    if (!room || !places[i]) continue;
    painter.setPen(theme.ink);
    painter.drawText(QPointF(*places[i], rows.body.top() + rows.mark + metrics.ascent()), texts[i]);
  }
}

void BandChart::PaintTicks(QPainter& painter, const Rows& rows, const ChartScale& scale) const {
  const Theme& theme = appearance_.theme();
  const double em = Em(*this);
  const double margin = 0.4 * em;
  const QFontMetricsF metrics(rows.small);
  const auto measure = [&](const std::string& text) { return metrics.horizontalAdvance(QString::fromStdString(text)); };
  painter.setFont(rows.small);
  painter.setPen(theme.quiet_ink);
  for (const ChartTick& tick : Ticks(scale, measure)) {
    const double length = tick.major ? 0.35 * em : 0.18 * em;
    painter.fillRect(QRectF(std::round(tick.x), rows.ticks.top(), 1, length), theme.quiet_ink);
    if (tick.label.empty()) continue;
    const double width = measure(tick.label);
    const double left = std::clamp(tick.label_left, margin, std::max(scale.width() - margin - width, margin));
    painter.drawText(QPointF(left, rows.ticks.top() + 0.35 * em + metrics.ascent()),
                     QString::fromStdString(tick.label));
  }
}

void BandChart::PaintCursor(QPainter& painter, const Rows& rows, const ChartScale& scale) const {
  const double em = Em(*this);
  const double x = scale.XOf(cursor_);
  const QColor red = appearance_.theme().red;
  if (x >= 0 && x <= scale.width()) {
    const double thick = std::max(std::round(0.15 * em), 2.0);
    const double left = std::clamp(std::round(x - thick / 2), kRing, scale.width() - kRing - thick);
    painter.fillRect(QRectF(left, 0, thick, rows.stripe.bottom() + 0.2 * em), red);
    return;
  }
  // Beyond the limits a triangle at the edge points to where it is.
  const double edge = x < 0 ? 0.3 * em : scale.width() - 0.3 * em;
  const double inward = x < 0 ? edge + 0.8 * em : edge - 0.8 * em;
  const double middle = rows.body.center().y();
  painter.setPen(Qt::NoPen);
  painter.setBrush(red);
  painter.drawPolygon(
      QPolygonF({QPointF(edge, middle), QPointF(inward, middle - 0.6 * em), QPointF(inward, middle + 0.6 * em)}));
}

void BandChart::paintEvent(QPaintEvent*) {
  const Theme& theme = appearance_.theme();
  const Rows chart = rows();
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  QPainterPath outline;
  outline.addRoundedRect(chart.frame, kRadius, kRadius);
  painter.setClipPath(outline);
  painter.fillRect(chart.frame, theme.panel);
  if (!scale().empty()) {
    PaintSegments(painter, chart, scale());
    PaintTicks(painter, chart, scale());
    PaintCursor(painter, chart, scale());  // below the texts, so that it never hides a letter
    PaintTexts(painter, chart, scale());
    PaintNotes(painter, chart, scale());
  }
  painter.setClipping(false);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(theme.edge, theme.edge_width));
  const double half = theme.edge_width / 2.0;
  painter.drawRoundedRect(chart.frame.adjusted(half, half, -half, -half), kRadius, kRadius);
  if (hasFocus()) PaintFocusRing(painter, theme, chart.frame, kRadius);
}

}  // namespace kvx::widgets
