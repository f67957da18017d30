#include "widgets/spectrum_view.h"

#include <QElapsedTimer>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>

#include "widgets/accessible_number.h"
#include "widgets/painting.h"
#include "widgets/spectrum_columns.h"
#include "widgets/tone_pointer.h"
#include "widgets/trace_raster.h"

namespace kvx::widgets {
namespace {

constexpr double kSmallText = 0.86;
constexpr float kNothing = -300;    // dB, below every display
constexpr double kThick = 1.4;      // pixels of a trace
constexpr double kLabelEvery = 5;   // heights of text between frequencies
constexpr int kThresholdStep = 10;  // a key
constexpr double kSmallestWidth = 14;
constexpr double kSmallestHeight = 7;
constexpr double kUsualWidth = 50;
constexpr double kUsualHeight = 16;
constexpr double kHighestHertz = 24000;

PixelArea AreaOf(QImage& image, int height) {
  return {reinterpret_cast<std::uint32_t*>(image.bits()), image.width(), height};
}

const std::uint32_t* PixelsOf(const QImage& image) {
  return reinterpret_cast<const std::uint32_t*>(image.constBits());
}

}  // namespace

SpectrumView::SpectrumView(const Appearance& appearance, QWidget* parent)
    : QWidget(parent),
      appearance_(appearance),
      pointer_(new TonePointer(*this)),
      accessible_(new AccessibleNumber(*this, {.role = QAccessible::Slider,
                                               .minimum = 0,
                                               .maximum = kHighestHertz,
                                               .smallest_step = 1,
                                               .value = [this] { return pointer_->marker(); },
                                               .text = [this] { return Reading(); },
                                               .on_set =
                                                   [this](double hertz) {
                                                     if (pointer_->on_move) pointer_->on_move(hertz);
                                                   },
                                               .on_step = [this](int steps) { pointer_->Step(steps); }})) {
  setAccessibleName(tr("Spectrum"));
  setAccessibleDescription(
      tr("Left and Right move the marker, Page Up and Page Down by more; Up and Down move the threshold; plus and "
         "minus zoom"));
  setAttribute(Qt::WA_OpaquePaintEvent);
  pointer_->is_elsewhere = [this](double x, double y) { return handle().contains(x, y); };
  connect(&appearance, &Appearance::Changed, this, [this] {
    stale_ = true;
    updateGeometry();
    update();
  });
}

void SpectrumView::Show(const SpectrumScene& scene) {
  if (scene == scene_) return;
  const bool moved = scene.marker != scene_.marker;
  SpectrumScene as_drawn = scene;
  as_drawn.marker = scene_.marker;
  as_drawn.centre = scene_.centre;
  as_drawn.threshold = scene_.threshold;
  stale_ = stale_ || as_drawn != scene_;
  scene_ = scene;
  pointer_->SetMarker(scene.marker);
  pointer_->SetHighest(scene.highest);
  pointer_->SetScale(tones());
  if (moved) accessible_->Announce();
  update();
}

void SpectrumView::SetTraces(std::span<const float> levels, std::span<const float> second, double bin_hertz) {
  trace_.assign(levels.begin(), levels.end());
  second_.assign(second.begin(), second.end());
  bin_hertz_ = bin_hertz;
  update();
}

void SpectrumView::SetFlags(std::vector<ToneFlag> flags) {
  if (flags == flags_) return;
  flags_ = std::move(flags);
  update();
}

double SpectrumView::plot_height() const {
  const double row = QFontMetricsF(ScaledFont(*this, kSmallText)).height() + 0.4 * Em(*this);
  return std::max(std::round(height() - row), 1.0);
}

ToneScale SpectrumView::tones() const {
  return {scene_.from, scene_.to, static_cast<double>(width())};
}

LevelScale SpectrumView::levels(double height) const {
  const double half = scene_.per_division * LevelScale::kDivisions / 2;
  return {scene_.difference ? half : scene_.reference, scene_.per_division, height};
}

QRectF SpectrumView::handle() const {
  const double side = 0.9 * Em(*this);
  const double y = ThresholdY(scene_.threshold, plot_height());
  return {width() - side, y - side / 2, side, side};
}

QString SpectrumView::Reading() const {
  const ToneLevel strongest = StrongestTone(trace_, bin_hertz_, scene_.from, scene_.to);
  const QString marker = tr("marker %1 Hz").arg(std::lround(pointer_->marker()));
  if (trace_.empty()) return marker;
  return tr("%1, strongest tone %2 Hz at %3 dB")
      .arg(marker)
      .arg(std::lround(strongest.hertz))
      .arg(std::lround(strongest.decibels));
}

QSize SpectrumView::sizeHint() const {
  return (QSizeF(kUsualWidth, kUsualHeight) * Em(*this)).toSize();
}

QSize SpectrumView::minimumSizeHint() const {
  return (QSizeF(kSmallestWidth, kSmallestHeight) * Em(*this)).toSize();
}

bool SpectrumView::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* help = static_cast<QHelpEvent*>(event);
  const double hertz = tones().HertzAt(help->pos().x());
  QString text = tr("%1 Hz").arg(std::lround(hertz));
  if (!trace_.empty()) {
    const double reach = tones().hertz_per_pixel();
    const ToneLevel here = StrongestTone(trace_, bin_hertz_, hertz - reach, hertz + reach);
    text += tr(", %1 dB").arg(std::lround(here.decibels));
  }
  QToolTip::showText(help->globalPos(),
                     text + "\n" + tr("A click puts the decoder there; the wheel zooms, with Shift it moves"), this);
  return true;
}

void SpectrumView::mousePressEvent(QMouseEvent* event) {
  held_ = event->button() == Qt::LeftButton && handle().contains(event->position());
  if (!held_) event->ignore();
}

void SpectrumView::mouseMoveEvent(QMouseEvent* event) {
  if (held_) SetThreshold(ThresholdAt(event->position().y(), plot_height()));
}

void SpectrumView::mouseReleaseEvent(QMouseEvent*) {
  held_ = false;
}

void SpectrumView::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Up) return SetThreshold(scene_.threshold - kThresholdStep);
  if (event->key() == Qt::Key_Down) return SetThreshold(scene_.threshold + kThresholdStep);
  QWidget::keyPressEvent(event);
}

void SpectrumView::SetThreshold(int threshold) {
  scene_.threshold = std::clamp(threshold, 0, kThresholdSteps);
  update();
  if (on_threshold) on_threshold(scene_.threshold);
}

void SpectrumView::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) {
    stale_ = true;
    updateGeometry();
  }
  QWidget::changeEvent(event);
}

void SpectrumView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  stale_ = true;
  pointer_->SetScale(tones());
}

void SpectrumView::MakePictures() {
  const double ratio = devicePixelRatioF();
  const QSize size = (QSizeF(this->size()) * ratio).toSize();
  if (!stale_ && above_.size() == size) return;
  stale_ = false;
  colors_ = MakeDisplayColors(appearance_.theme(), scene_.grid, scene_.ground, scene_.plain);
  above_ = QImage(size, QImage::Format_RGB32);
  below_ = QImage(size, QImage::Format_RGB32);
  for (QImage* image : {&above_, &below_}) {
    image->setDevicePixelRatio(ratio);
    image->fill(image == &above_ ? colors_.ground : colors_.below);
    QPainter painter(image);
    PaintGrid(painter);
  }
  picture_ = above_.copy();
  ground_.Reset();
}

void SpectrumView::PaintGrid(QPainter& painter) const {
  const double em = Em(*this);
  const double bottom = plot_height();
  const QFont small = ScaledFont(*this, kSmallText);
  const QFontMetricsF metrics(small);
  painter.setFont(small);
  painter.fillRect(QRectF(0, bottom, width(), height() - bottom), colors_.ground);
  const std::vector<GridLine> across = LevelLines(levels(bottom), 1.3 * metrics.height());
  const std::vector<GridLine> along = ToneLines(tones(), kLabelEvery * metrics.height());
  for (const GridLine& line : across) painter.fillRect(QRectF(0, std::round(line.at), width(), 1), colors_.grid);
  for (const GridLine& line : along) painter.fillRect(QRectF(std::round(line.at), 0, 1, bottom + 1), colors_.grid);
  painter.fillRect(QRectF(0, bottom, width(), 1), colors_.grid);
  painter.setPen(colors_.text);
  for (const GridLine& line : across) {
    if (line.at + metrics.height() < bottom)
      painter.drawText(QPointF(0.5 * em, line.at + metrics.ascent() + 1), QString::fromStdString(line.label));
  }
  for (const GridLine& line : along) {
    const QString label = QString::fromStdString(line.label);
    const double left = std::max(line.at - metrics.horizontalAdvance(label) / 2, 0.5 * em);
    if (left + metrics.horizontalAdvance(label) < width() - 0.3 * em)
      painter.drawText(QPointF(left, bottom + 0.15 * em + metrics.ascent()), label);
  }
}

void SpectrumView::PaintTraces() {
  const double ratio = devicePixelRatioF();
  const int rows = std::min(static_cast<int>(std::lround(plot_height() * ratio)), picture_.height());
  const ToneScale scale(scene_.from, scene_.to, picture_.width());
  const LevelScale level = levels(rows);
  const auto thick = static_cast<float>(kThick * ratio);
  const auto to_heights = [&](std::span<const float> values, std::vector<float>& heights) {
    heights.clear();
    if (values.empty()) return;
    ToColumns(values, bin_hertz_, scale, kNothing, heights);
    for (float& height : heights) height = static_cast<float>(level.YOf(height));
  };
  to_heights(trace_, first_heights_);
  to_heights(second_, second_heights_);
  const PixelArea area = AreaOf(picture_, rows);
  ground_.Paint(area, PixelsOf(above_), PixelsOf(scene_.difference ? above_ : below_), first_heights_, second_heights_,
                thick);
  PaintCurve(area, first_heights_, colors_.trace.rgb(), thick);
  PaintCurve(area, second_heights_, colors_.second.rgb(), thick);
}

void SpectrumView::PaintMarks(QPainter& painter) const {
  const double bottom = plot_height();
  const ToneScale scale = tones();
  const double em = Em(*this);
  const auto vertical = [&](double hertz, int thick, const QColor& color) {
    const int x = static_cast<int>(std::lround(std::clamp(scale.XOf(hertz) - thick / 2.0, -9.0, width() + 9.0)));
    painter.fillRect(QRect(x, 0, thick, static_cast<int>(bottom)), color);
  };
  vertical(scene_.centre, 1, colors_.centre);
  vertical(pointer_->marker(), 2, colors_.marker);
  const double y = std::round(ThresholdY(scene_.threshold, bottom));
  const int dash = std::max(static_cast<int>(0.35 * em), 2);
  std::vector<QRect> dashes;
  for (int x = 0; x < width(); x += 2 * dash)
    dashes.emplace_back(x, static_cast<int>(std::min(y, bottom - 2)), dash, 2);
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors_.threshold);
  painter.drawRects(dashes.data(), static_cast<int>(dashes.size()));
  const QRectF grip = handle();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.drawPolygon(QPolygonF({grip.topRight(), QPointF(grip.left(), y), grip.bottomRight()}));
}

/// Each signal's dot and callsign above it; a text that has no room beside the one before is left out.
void SpectrumView::PaintFlags(QPainter& painter) const {
  const double em = Em(*this);
  const QFont small = ScaledFont(*this, kSmallText);
  const QFontMetricsF metrics(small);
  painter.setFont(small);
  std::vector<const ToneFlag*> sorted;
  for (const ToneFlag& flag : flags_) sorted.push_back(&flag);
  std::sort(sorted.begin(), sorted.end(), [](const auto* a, const auto* b) { return a->hertz < b->hertz; });
  double taken = 3.5 * em;  // the levels' labels
  for (const ToneFlag* flag : sorted) {
    const double x = tones().XOf(flag->hertz);
    if (x < 0 || x > width()) continue;
    painter.setPen(Qt::NoPen);
    painter.setBrush(flag->color);
    const double dot = 0.5 * em;
    painter.drawEllipse(QPointF(x, 0.8 * em), dot / 2, dot / 2);
    const double text = metrics.horizontalAdvance(flag->text);
    const double left = std::min(x + dot, width() - text - em);
    if (flag->text.isEmpty() || left < taken) continue;
    painter.setPen(appearance_.theme().name == "contrast" ? colors_.trace : colors_.text);
    painter.drawText(QPointF(left, 0.8 * em + metrics.ascent() / 2 - 1), flag->text);
    taken = left + text + 0.5 * em;
  }
}

void SpectrumView::paintEvent(QPaintEvent*) {
  QElapsedTimer taken;
  taken.start();
  MakePictures();
  PaintTraces();
  QPainter painter(this);
  painter.drawImage(QPointF(0, 0), picture_);
  PaintMarks(painter);
  PaintFlags(painter);
  PaintDisplayEdge(painter, appearance_.theme(), rect(), hasFocus());
  painter.end();
  if (on_painted) on_painted(static_cast<double>(taken.nsecsElapsed()) / 1e6);
}

}  // namespace kvx::widgets
